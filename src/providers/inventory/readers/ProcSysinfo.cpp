// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/ProcSysinfo.h"

#include "providers/inventory/readers/NameValue.h"
#include "providers/readers/LineScanner.h"

namespace brv {

namespace {

struct Field {
  std::string_view name;
  std::string_view ProcSysinfo::*member;
};

constexpr Field kFields[] = {{"Manufacturer", &ProcSysinfo::manufacturer},
                             {"Type", &ProcSysinfo::type},
                             {"Model", &ProcSysinfo::model},
                             {"Sequence Code", &ProcSysinfo::sequenceCode},
                             {"LPAR Name", &ProcSysinfo::lparName},
                             {"LPAR UUID", &ProcSysinfo::lparUuid},
                             {"VM00 Control Program", &ProcSysinfo::vmControlProgram},
                             {"VM00 UUID", &ProcSysinfo::vmUuid}};

}  // namespace

ProcSysinfo readProcSysinfo(std::string_view text) {
  ProcSysinfo info;
  for (LineScanner lines(text); lines.next();) {
    NameValue line;
    if (!line.split(lines.line(), ':')) continue;
    for (const Field& field : kFields)
      if (line.name == field.name && (info.*field.member).empty()) info.*field.member = line.value;
  }
  return info;
}

}  // namespace brv
