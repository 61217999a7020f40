// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/vmware/VMwareStatistics.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <tuple>

#include "providers/CapturedTrace.h"

namespace brv {
namespace {

using Figure = VMwareStatistics::Figure;
using testing::HasSubstr;

TEST(VMwareStatistics, ConvertsByTheUnitGiven) {
  for (const auto& [metric, kilobytes] :
       {std::pair{R"(<metric name="size.reads" type="uint64" units="KB">70</metric>)", Figure{70}},
        {"<metric name='size.reads' units='bytes'> 71680\n </metric>", 70},
        {"<metric><name>size.reads</name><unit>MB</unit><property>2</property></metric>", 2048},
        {"<a><metric name='size.reads' units='KB'><value>&#49;2</value></metric></a>", 12},
        {"<metric name='size.readsx' units='KB'>1</metric>", {}},
        {"<other name='size.reads' units='KB'>1</other>", {}},
        {"<metric name='size.reads'>70</metric>", {}},
        {"<metric name='size.reads' units='us'>70</metric>", {}},
        {"<metric name='size.reads' units='KB'>-1</metric>", {}},
        {"<metric name='size.reads' units='KB'>7O</metric>", {}},
        {"<metric name='size.reads' units='MB'>18446744073709551615</metric>", {}},
        {"<metric name='size.reads' units='KB'/>", {}}}) {
    VMwareStatistics::Disk disk;
    disk.id = "scsi0:4";
    test::CapturedTrace trace(trace::kWarning);
    readDiskStatistics("<metrics>" + std::string(metric) + "</metrics>", disk);
    EXPECT_EQ(disk.kilobytesRead, kilobytes) << metric;
    constexpr const char* kMissed =
        "readVMwareStatAPI(): No value found for size.reads of VDISK scsi0:4\n";
    EXPECT_EQ(trace.take().find(kMissed) == std::string::npos, kilobytes.has_value());
  }
}

TEST(VMwareStatistics, UntrustedAnswersGiveNothing) {
  const std::string good = R"(<metric name="limit">5</metric>)";
  std::string deepest = good;
  for (int level = 0; level < 63; ++level) deepest.insert(0, "<a>").append("</a>");
  for (const auto& [answer, limit] :
       {std::pair{good, Figure{5}},
        {good + std::string(3, '\0'), 5},
        {R"(<metric name="limit">-1</metric>)", VMwareStatistics::kUnlimited},
        {deepest, 5},
        {"<a>" + deepest + "</a>", {}},
        {"<!DOCTYPE metrics [<!ENTITY a 'b'>]>" + good, {}},
        {"<metrics>" + good + std::string(1024 * 1024, ' ') + "</metrics>", {}},
        {"<metrics>" + good, {}},
        {std::string("<met\0rics>", 10) + good, {}},
        {"", {}}}) {
    VMwareStatistics all;
    test::CapturedTrace trace(trace::kWarning);
    readResourceStatistics(answer, all);
    EXPECT_EQ(all.limit, limit) << answer.substr(0, 60);
    EXPECT_THAT(trace.take(), HasSubstr("readVMwareStatAPI(): No value found for reservation!\n"));
  }
}

// The devices of a listing, and what the trace says of it.
VMwareStatistics devices(const std::string& listing, std::string& traced) {
  VMwareStatistics all;
  test::CapturedTrace trace(trace::kWarning);
  addListedDevices(listing, all);
  traced = trace.take();
  return all;
}

TEST(VMwareStatistics, ListedDevicesHaveUsableNamesAndNoDoubles) {
  for (const auto& [before, between, after] :
       {std::tuple{R"(<m><metric name=")", R"("/><metric name=")", R"("/></m>)"},
        {"<m><metric><name>", "</name></metric><metric><name>", "</name></metric></m>"},
        {"session\n", "\n", ""}}) {
    std::string listing = before;
    for (const char* name :
         {"host", "vnet 00:0C:29:00:0a:01", "vscsi scsi0:0", "vscsi scsi0:0", "vscsi", "vscsi a b",
          "vscsi scsi0:0;", "vscsi scsi00000000000000000000000000:0", "vnet 00:0c:29:00:0a:01",
          "vnet 00:0c:29:00:0a:0g", "vnet 00:0c:29:00:0a:01:02", "vscsi scsi0:1"})
      listing.append(name).append(between);
    std::string traced;
    const VMwareStatistics all = devices(listing + "last" + after, traced);
    ASSERT_EQ(all.disks.size(), 2U) << listing;
    EXPECT_EQ(all.disks[1].category, "vscsi scsi0:1");
    ASSERT_EQ(all.cards.size(), 1U);
    EXPECT_EQ(all.cards[0].category, "vnet 00:0C:29:00:0a:01");
    EXPECT_EQ(all.cards[0].address, "00:0c:29:00:0a:01");
    EXPECT_THAT(traced, HasSubstr("Length of VDISK device id exceeds max. size 31, ignored!\n"));
    EXPECT_THAT(traced, HasSubstr("network id (MAC address) exceeds max. size, ignored!!"));
  }
}

TEST(VMwareStatistics, BeyondTheMaximaEntriesAreDropped) {
  for (const auto& [disks, cards, message] :
       {std::tuple{256U, 32U, ""},
        {257U, 1U, "readVMwareStatAPI(): Exceeded max. number of virtual disks in VM!\n"},
        {1U, 40U, "readVMwareStatAPI(): Exceeded max. number of network cards in VM!\n"},
        {600U, 1U, "Max. number of StatGet() categories reached. Stopping data collection.\n"}}) {
    std::string listing;
    for (unsigned i = 0; i < disks; ++i) listing += "vscsi scsi0:" + std::to_string(i) + "\n";
    for (unsigned i = 10; i < 10 + cards; ++i)
      listing += "vnet 00:0c:29:00:00:" + std::to_string(i) + "\n";
    std::string traced;
    const VMwareStatistics all = devices(listing, traced);
    EXPECT_EQ(all.disks.size(), std::min(disks, 256U));
    EXPECT_EQ(all.cards.size(), disks < 512 ? std::min(cards, 32U) : 0);
    EXPECT_THAT(traced, HasSubstr(message));
    EXPECT_EQ(traced.empty(), *message == '\0');
  }
}

}  // namespace
}  // namespace brv
