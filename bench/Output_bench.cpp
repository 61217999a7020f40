// SPDX-License-Identifier: Apache-2.0
// Printing the results of a large host: 130,000 metric values. Time per item should be a fraction
// of a microsecond in every layout.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "cimb/CommandLine.h"
#include "cimb/PrintObjects.h"
#include "cimobject/CIMObject.h"
#include "cimobject/CIMUtil.h"
#include "cimobject/List.h"

namespace {

using namespace brv;

constexpr std::int64_t kValues = 130000;

List<CIMObject> values() {
  const Text names[] = {Text("CreationClassName"), Text("MetricDefinitionId"), Text("MetricValue"),
                        Text("TimeStamp"), Text("MeasuredElementName")};
  const Text string("string");
  const Text dateTime("datetime");
  const Text className("BRV_MetricValue");
  const Text definition("Disk.KBytesTransfered");
  List<CIMObject> list;
  for (std::int64_t i = 0; i < kValues; ++i) {
    auto object = std::make_unique<CIMObject>();
    object->reserve(5);
    object->Add(names[0], className, string);
    object->Add(names[1], definition, string);
    object->Add(names[2], Text(std::to_string(71234567 + i)), string);
    object->Add(names[3], Text("20261121081530.123456+060"), dateTime);
    object->Add(names[4], Text("dm-" + std::to_string(i / 5)), string);
    list.add(std::move(object));
  }
  return list;
}

// A write per line instead of one per 64 KiB, or a formatted print per property, doubles these.
void print(benchmark::State& state, std::int32_t flags, CIMObject::DumpOptions options) {
  const List<CIMObject> list = values();
  g_params.flags = flags;
  g_params.dumpOptions = options;
  std::FILE* const stream = std::fopen("/dev/null", "w");
  for (auto _ : state)
    if (PrintObjects(list, stream) != 0) state.SkipWithError("cannot write");
  std::fclose(stream);
  state.SetItemsProcessed(state.iterations() * kValues);
}
BENCHMARK_CAPTURE(print, plain, 0, 0);
BENCHMARK_CAPTURE(print, table, kFlagTree | kFlagTable, CIMObject::kEscape);
BENCHMARK_CAPTURE(print, tree, kFlagTree, CIMObject::kEscape);
BENCHMARK_CAPTURE(print, flat, kFlagTree, CIMObject::kEscape | CIMObject::kFlat);
BENCHMARK_CAPTURE(print, json, kFlagJSON, CIMObject::kEscape);

// Asking the zone for every time stamp instead of once a second costs ten times as much.
void dateTimeText(benchmark::State& state) {
  std::int64_t moment = 1'795'000'000'000'000;
  CIMUtil::TextBuffer text;
  for (auto _ : state) {
    CIMUtil::MicrosecondsToCIMDateTime(text, moment, false);
    benchmark::DoNotOptimize(text);
    moment += 3;
  }
}
BENCHMARK(dateTimeText);

}  // namespace
