// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cmpi/cmpi.h"

namespace brv {

/// One row of the provider table. All texts live as long as the process.
struct CmpiBroker_ProviderInfo {
  enum Type : std::uint32_t {
    kInstanceProvider = 2,
    kAssociationProvider = 4,
    kMethodProvider = 8,
  };

  const char* const* classes;  ///< names of the CIM classes served, ended by null
  const char* nameSpace;       ///< the one namespace served
  const char* providerName;    ///< names the entry points; null ends the table
  const char* module;          ///< the library is "lib<module>.so"
  std::uint32_t type;          ///< a set of Type bits
  // Factories of providers compiled into the program; null: looked up in the library.
  CMPICreateInstanceMI createInstanceMI;
  CMPICreateAssociationMI createAssociationMI;
  CMPICreateMethodMI createMethodMI;
};

/// The providers of the program, in the order in which they are listed, looked up and loaded. Only
/// the program links it; the manager is given a pointer to a table.
extern const CmpiBroker_ProviderInfo CMPI_BROKER_PROVIDER_LIST[];

}  // namespace brv
