// SPDX-License-Identifier: Apache-2.0
// The table of a program without the providers of guests, to be measured against.
#include "broker/CmpiBroker_ProviderInfo.h"

extern "C" {
CMPIInstanceMI* BRV_MetricProvider_Create_InstanceMI(const CMPIBroker*, const CMPIContext*,
                                                     CMPIStatus*);
CMPIInstanceMI* BRV_OLMODDataProvider_Create_InstanceMI(const CMPIBroker*, const CMPIContext*,
                                                        CMPIStatus*);
}

namespace brv {

namespace {
constexpr const char* kMetrics[] = {"BRV_MetricValue", "BRV_MetricDefinition", nullptr};
constexpr const char* kInventory[] = {"BRV_OLMODComputerSystem", nullptr};
}  // namespace

constexpr CmpiBroker_ProviderInfo CMPI_BROKER_PROVIDER_LIST[] = {
    {kMetrics, "root/cimv2", "BRV_MetricProvider", "BRV_MetricProvider",
     CmpiBroker_ProviderInfo::kInstanceProvider, BRV_MetricProvider_Create_InstanceMI, nullptr,
     nullptr},
    {kInventory, "root/cimv2", "BRV_OLMODDataProvider", "BRV_OLMODDataProvider",
     CmpiBroker_ProviderInfo::kInstanceProvider, BRV_OLMODDataProvider_Create_InstanceMI, nullptr,
     nullptr},
    {},
};

}  // namespace brv
