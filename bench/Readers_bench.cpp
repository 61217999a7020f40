// SPDX-License-Identifier: Apache-2.0
// The readers of kernel files on large hosts. The count is that of devices; time per item should
// not depend on it.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "providers/readers/DiskStats.h"
#include "providers/readers/MountTable.h"
#include "providers/readers/NetDev.h"
#include "providers/readers/ProcStat.h"

namespace {

using namespace brv;

template <class Line>
std::string lines(std::int64_t count, Line line) {
  std::string text;
  for (std::int64_t i = 0; i < count; ++i) text += line(std::to_string(i)) + '\n';
  return text;
}

template <class Read>
void run(benchmark::State& state, const std::string& text, Read read) {
  for (auto _ : state) {
    OddLines odd;
    benchmark::DoNotOptimize(read(text, odd));
    if (!odd.empty()) state.SkipWithError("odd lines");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

// A reader that looks at the interrupt line's thousands of numbers, or copies the line, shows here:
// it is four fifths of the text.
void procStat(benchmark::State& state) {
  std::string text = "cpu  1 2 3 4 5 6 7 8 0 0\n" + lines(state.range(0), [](const std::string& n) {
                       return "cpu" + n + " 58123 2143 19123 888123 981 0 291 17 0 0";
                     });
  text += "intr 5812345678";
  for (std::int64_t i = 0; i < 100 * state.range(0); ++i) text += " 81";
  text += "\nctxt 91234567890\n";
  run(state, text, readProcStat);
}
BENCHMARK(procStat)->Arg(16)->Arg(1024);

// A general scanner (sscanf and its like) in place of the one by hand costs ten times as much.
void diskStats(benchmark::State& state) {
  run(state,
      lines(state.range(0),
            [](const std::string& n) {
              return " 253 " + n + " dm-" + n +
                     " 812345 1234 61234567 312345 912345 51234 81234567 712345 0 612345 1024690 0 "
                     "0 0 0 "
                     "8123 91234";
            }),
      readDiskStats);
}
BENCHMARK(diskStats)->Arg(100)->Arg(10000);

// The same, and a name copied for every interface.
void netDev(benchmark::State& state) {
  run(state,
      lines(state.range(0),
            [](const std::string& n) {
              return "veth" + n +
                     ": 912345678901 812345678 0 0 0 0 0 12 712345678901 612345678 0 0 0 0 0 0";
            }),
      readNetDev);
}
BENCHMARK(netDev)->Arg(100)->Arg(10000);

// One allocation per field instead of one per table.
void mountTable(benchmark::State& state) {
  run(state,
      lines(state.range(0),
            [](const std::string& n) {
              return "/dev/mapper/vg-lv" + n + " /srv/vol\\040umes/" + n +
                     " xfs rw,relatime,noquota 0 0";
            }),
      readMountTable);
}
BENCHMARK(mountTable)->Arg(100)->Arg(10000);

}  // namespace
