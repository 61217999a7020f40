// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "providers/virt/CmpiVirtualMetricProvider.h"
#include "providers/virt/amazon/CmpiAmazonDataCollector.h"

namespace brv {

/// The metrics of an Amazon instance: what the guest knows by itself, and before that what the
/// metrics document of the metadata service tells, where there is one. Registered as
/// BRVAmazon_VirtualMetricProvider.
class CmpiAmazonVirtualMetricProvider : public CmpiVirtualMetricProvider {
 public:
  CmpiAmazonVirtualMetricProvider(const CmpiBroker& broker, const CmpiContext& context,
                                  InventoryHost host = InventoryHost::process());

  CmpiStatus initialize(const CmpiContext& context) override;

 protected:
  /// One that has asked nothing yet.
  virtual std::unique_ptr<CmpiAmazonDataCollector> openCollector() const;

  void createSource() override;
  const VirtualPlatform& platform() const override { return VirtualPlatform::kAmazon; }
  bool isSourceReadable() override;
  bool readFigures(VirtualFigures& figures) override;
  void enumProvCapInstances(const CmpiContext& context, CmpiList& out) override;
  /// Tells the version of the service's dialogue too.
  void getDataSourceStatus(bool readable, CmpiInstance& capabilities) const override;

 private:
  std::unique_ptr<CmpiAmazonDataCollector> m_collector;  // of the request, from createSource() on
};

}  // namespace brv
