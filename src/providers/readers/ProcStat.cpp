// SPDX-License-Identifier: Apache-2.0
#include "providers/readers/ProcStat.h"

#include <array>
#include <limits>

namespace brv {

namespace {

constexpr std::uint64_t kMostTicks = std::numeric_limits<std::uint64_t>::max() / 10;

// How many columns stand in the line, of which at most eight are read. What follows (guest times)
// is part of the user times already.
std::size_t readTimes(FieldScanner& fields, CpuTimes& times, bool& odd) {
  std::array<std::uint64_t, 8> ticks{};
  const std::size_t columns = fields.numbers(ticks);
  odd = fields.odd() || !sumWithin(kMostTicks, ticks);
  times = {ticks[0], ticks[1], ticks[2], ticks[3], ticks[4], ticks[5], ticks[6], std::nullopt};
  if (columns == ticks.size()) times.steal = ticks[7];
  return columns;
}

bool readTotal(FieldScanner& fields, ProcStat& stat) {
  CpuTimes times;
  bool odd = false;
  const std::size_t columns = readTimes(fields, times, odd);
  if (odd) return false;
  stat.totalTooShort = columns < 6;
  if (!stat.totalTooShort) stat.total = times;
  return true;
}

// A processor is good for five columns, one less than all of them together.
bool readProcessor(std::string_view number, FieldScanner& fields, ProcStat& stat) {
  ProcStat::Processor processor{};
  bool odd = false;
  if (!readNumber(number, processor.number)) return false;
  if (readTimes(fields, processor.times, odd) < 5 || odd) return false;
  stat.processors.push_back(processor);
  return true;
}

// Of the interrupt line only the first number counts; it may go on for a hundred kilobytes.
bool readCounter(FieldScanner& fields, std::uint64_t& counter) {
  std::uint64_t value = 0;
  if (fields.numbers({&value, 1}) != 1) return false;
  counter = value;
  return true;
}

}  // namespace

ProcStat readProcStat(std::string_view text, OddLines& odd) {
  constexpr std::string_view kCpu = "cpu";
  ProcStat stat;
  for (LineScanner lines(text); lines.next();) {
    FieldScanner fields(lines.line());
    if (lines.line().starts_with(kCpu)) {
      ++stat.cpuLines;
      const std::string_view name = fields.word();
      const bool good = name == kCpu ? readTotal(fields, stat)
                                     : readProcessor(name.substr(kCpu.size()), fields, stat);
      if (!good) odd.push_back(lines.number());
      continue;
    }
    if (!lines.line().starts_with('c') && !lines.line().starts_with('i')) continue;
    const std::string_view name = fields.word();
    std::uint64_t* counter = name == "ctxt"   ? &stat.contextSwitches
                             : name == "intr" ? &stat.interrupts
                                              : nullptr;
    if (counter != nullptr && !readCounter(fields, *counter)) odd.push_back(lines.number());
  }
  return stat;
}

}  // namespace brv
