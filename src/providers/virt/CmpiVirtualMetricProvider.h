// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include "providers/CmpiMetricProvider.h"
#include "providers/inventory/InventoryHost.h"
#include "providers/virt/VirtualFigures.h"
#include "providers/virt/VirtualPlatform.h"

namespace brv {

/// Base of the metric providers of virtual machines: figures of the guest and of its host, as far
/// as the platform lets the guest see them. A provider adds its platform and its data source, which
/// it makes in initialize() and asks in each request. A source that cannot be read is no failure:
/// there are no values then, and the capabilities tell so.
class CmpiVirtualMetricProvider : public CmpiMetricProvider {
 public:
  CmpiVirtualMetricProvider(const CmpiBroker& broker, const CmpiContext& context,
                            InventoryHost host)
      : CmpiBaseMI(broker, context), CmpiMetricProvider(broker, context), m_host(std::move(host)) {}

  /// Answers code 7 on a host of another platform.
  CmpiStatus initialize(const CmpiContext& context) override;
  /// A class other than those of the platform answers code 7.
  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override;

 protected:
  virtual const VirtualPlatform& platform() const = 0;
  /// On a host of the platform, before the first request. Throws a CmpiStatus when it has no
  /// source.
  virtual void createSource() {}
  /// Whether the data source can be read now.
  virtual bool isSourceReadable() = 0;
  /// What it tells now. False when it cannot be read.
  virtual bool readFigures(VirtualFigures& figures) = 0;
  const InventoryHost& host() const { return m_host; }

  void enumMDefInstances(const CmpiContext& context, CmpiList& out) override;
  void enumMValueInstances(const CmpiContext& context, CmpiList& out) override;
  void enumProvCapInstances(const CmpiContext& context, CmpiList& out) override;
  /// The values as instances of `className`: those of the guest, then those of its host.
  void enumMValInstances(const CmpiContext& context, const char* className, CmpiList& out);
  void enumVCSMValInstances(const VirtualFigures& figures, const char* className, CmpiList& out);
  void enumHCSMValInstances(const VirtualFigures& figures, const char* className, CmpiList& out);

  /// Appends the capabilities for definitions and for values, which name the metrics of guests and
  /// hosts.
  void createProvCapInstances(CmpiList& out, const char* providerName) override;
  void createProvCapInstances(CmpiList& out, const char* providerName,
                              const CmpiList& more) override;
  /// Sets the state of the data source on capabilities. Asked once for all instances of a request,
  /// because reading may mean to run a command.
  virtual void getDataSourceStatus(bool readable, CmpiInstance& capabilities) const;

 private:
  /// A value for each kind of figure of the platform that is about `element`; a trace for one whose
  /// input is missing.
  void createMetricValues(const VirtualFigures& figures, const char* className, const char* element,
                          CmpiList& out) const;

  const InventoryHost m_host;
};

}  // namespace brv
