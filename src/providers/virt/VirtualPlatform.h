// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

#include "cmpi/CmpiObjects.h"
#include "providers/MetricDefinitions.h"
#include "providers/virt/detect/CmpiVirtualizationDetector.h"

namespace brv {

/// What the pair of providers of one platform has of its own, beside its data source.
struct VirtualPlatform {
  const char* name;
  /// Why its providers refuse to work on the host; null when they are in charge.
  const char* (*refusal)(const CmpiVirtualizationDetector& detector);
  const char* metricProvider;     ///< name in the provider table
  const char* inventoryProvider;  ///< likewise
  const char* definitionClass;
  const char* valueClass;
  /// The kinds of figures that its metric provider defines, ended by MetricDefinitionId_::End. A
  /// source may know fewer of them.
  const MetricDefinitionId_* ids;
  const char* unreadableHint;  ///< what to look at when the data source cannot be read

  static const VirtualPlatform kVMware;
  static const VirtualPlatform kKVM;
  static const VirtualPlatform kXen;
  static const VirtualPlatform kAmazon;
  static const VirtualPlatform kHitachiLPAR;
};

/// Code 7 with the platform's words, after a trace at level 2, on a host of another one.
CmpiStatus requirePlatform(const VirtualPlatform& platform,
                           const CmpiVirtualizationDetector& detector);

/// Tells on an instance of capabilities whether the data source of the platform can be read.
void setDataSourceStatus(const VirtualPlatform& platform, bool readable,
                         CmpiInstance& capabilities);

}  // namespace brv
