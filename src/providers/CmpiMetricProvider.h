// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "providers/CmpiBaseProvider.h"
#include "providers/CmpiList.h"
#include "providers/MetricDefinitions.h"

namespace brv {

/// Which figure a property of an inventory instance is. A table of them ends with a null name.
struct PropertyMapping_t {
  const char* name;
  MetricDefinitionId_ id;
};

/// Base of the providers of metric definitions and values.
class CmpiMetricProvider : public CmpiBaseProvider {
 public:
  CmpiMetricProvider(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiBaseProvider(broker, context) {}

  /// Whether `id` is in a list that ends with MetricDefinitionId_::End.
  static bool containsID(const MetricDefinitionId_* list, MetricDefinitionId_ id);

 protected:
  /// The definitions of all figures that the provider can report.
  virtual void enumMDefInstances(const CmpiContext& context, CmpiList& out) = 0;
  /// All current values.
  virtual void enumMValueInstances(const CmpiContext& context, CmpiList& out) = 0;
  virtual void enumProvCapInstances(const CmpiContext& context, CmpiList& out) = 0;

  /// Appends the capabilities for values and for definitions.
  virtual void createProvCapInstances(CmpiList& out, const char* providerName);
  /// The same, and then the caller's own.
  virtual void createProvCapInstances(CmpiList& out, const char* providerName,
                                      const CmpiList& more);
  /// The name by which values refer to the element; `defaultName` when the instance has none.
  static std::string getMeasuredElementName(const CmpiInstance& element, const char* defaultName);
  /// Appends a value for every row whose property `source` has. A null `measuredElement` is one
  /// that is not known.
  static void createMetricValue(const CmpiInstance& source, const PropertyMapping_t* mapping,
                                const char* measuredElement, CmpiList& out);
};

}  // namespace brv
