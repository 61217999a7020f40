// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/amazon/AmazonAssociations.h"

#include <algorithm>
#include <iterator>

#include "runtime/Ascii.h"

namespace brv {

namespace {

constexpr std::string_view kComputerSystem = "BRV_OLMODComputerSystem";
constexpr std::string_view kGuest = "BRV_OLMODVirtualComputerSystem";
constexpr std::string_view kHost = "BRV_OLMODHostComputerSystem";
constexpr std::string_view kHostProcessor = "BRV_OLMODHostComputerSystemProcessor";
constexpr std::string_view kStorage = "BRV_OLMODVirtualStorage";
constexpr std::string_view kPort = "BRV_OLMODVirtualNetworkPort";

constexpr struct {
  std::string_view from;
  std::string_view to;
} kAssociations[] = {
    {kGuest, kHost},    {kHost, kGuest},         {kComputerSystem, kGuest},
    {kGuest, kStorage}, {kGuest, kPort},         {kStorage, kGuest},
    {kPort, kGuest},    {kHost, kHostProcessor}, {kHostProcessor, kHost},
};

}  // namespace

bool isAmazonAssociation(std::string_view className, std::string_view assocClass,
                         std::string_view resultClass) {
  if (!resultClass.empty() && !equalsIgnoringCase(resultClass, assocClass)) return false;
  return std::any_of(std::begin(kAssociations), std::end(kAssociations), [&](const auto& row) {
    return equalsIgnoringCase(row.from, className) && equalsIgnoringCase(row.to, assocClass);
  });
}

}  // namespace brv
