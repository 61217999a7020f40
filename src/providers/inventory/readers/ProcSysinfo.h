// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace brv {

/// /proc/sysinfo of s390x (Linux arch/s390/kernel/sysinfo.c): the machine, the logical partition
/// and the z/VM guest that the host runs in.
///
///     Manufacturer:         IBM
///     Type:                 3906
///     LPAR Name:            LP07
///     VM00 Control Program: z/VM    7.2.0
///
/// Views into the text, trimmed; empty: not there. Each level of the hypervisors has lines of its
/// own, that of VM00 being the one right below the host. Values are padded inside too.
struct ProcSysinfo {
  std::string_view manufacturer;
  std::string_view type;
  std::string_view model;
  std::string_view sequenceCode;  ///< the serial number of the machine
  std::string_view lparName;
  std::string_view lparUuid;
  std::string_view vmControlProgram;
  std::string_view vmUuid;
};

/// Lines without a colon are headings or rubbish and passed over. Of lines with one name the first
/// that has a value counts.
ProcSysinfo readProcSysinfo(std::string_view text);

}  // namespace brv
