// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/vmware/VMwareStatistics.h"

#include <gmock/gmock.h>

#include "providers/CapturedTrace.h"

namespace brv {
namespace {

using Figure = VMwareStatistics::Figure;
using testing::HasSubstr;
using testing::Not;

TEST(VMwareStatistics, ConvertsByTheUnitGiven) {
  const struct {
    const char* metric;
    Figure kilobytes;
  } kAnswers[] = {
      {R"(<metric name="size.reads" type="uint64" units="KB">70</metric>)", 70},
      {R"(<metric name="size.reads" units="bytes"> 71680
          </metric>)",
       70},
      {R"(<metric><name>size.reads</name><unit>MB</unit><property>2</property></metric>)", 2048},
      {R"(<a><metric name="size.reads" units="KB"><value>&#49;2</value></metric></a>)", 12},
      {R"(<metric name="size.readsx" units="KB">1</metric>)", {}},
      {R"(<other name="size.reads" units="KB">1</other>)", {}},
      {R"(<metric name="size.reads">70</metric>)", {}},
      {R"(<metric name="size.reads" units="us">70</metric>)", {}},
      {R"(<metric name="size.reads" units="KB">-1</metric>)", {}},
      {R"(<metric name="size.reads" units="KB">7O</metric>)", {}},
      {R"(<metric name="size.reads" units="MB">18446744073709551615</metric>)", {}},
      {R"(<metric name="size.reads" units="KB"/>)", {}},
  };
  for (const auto& [metric, kilobytes] : kAnswers) {
    VMwareStatistics::Disk disk;
    disk.id = "scsi0:4";
    test::CapturedTrace trace(trace::kWarning);
    readDiskStatistics("<metrics>" + std::string(metric) + "</metrics>", disk);
    EXPECT_EQ(disk.kilobytesRead, kilobytes) << metric;
    const auto said =
        HasSubstr("readVMwareStatAPI(): No value found for size.reads of VDISK scsi0:4\n");
    if (kilobytes)
      EXPECT_THAT(trace.take(), Not(said));
    else
      EXPECT_THAT(trace.take(), said);
  }
}

TEST(VMwareStatistics, UntrustedAnswersGiveNothing) {
  const std::string good = R"(<metric name="limit">5</metric>)";
  const auto inside = [&good](int levels) {
    std::string nested = good;
    while (levels-- > 0) nested.insert(0, "<a>").append("</a>");
    return nested;
  };
  const struct {
    std::string answer;
    Figure limit;
  } kAnswers[] = {
      {good, 5},
      {good + std::string(3, '\0'), 5},
      {R"(<metric name="limit">-1</metric>)", VMwareStatistics::kUnlimited},
      {inside(63), 5},
      {inside(64), {}},
      {"<!DOCTYPE metrics [<!ENTITY a 'b'>]>" + good, {}},
      {"<metrics>" + good + std::string(1024 * 1024, ' ') + "</metrics>", {}},
      {"<metrics>" + good, {}},
      {std::string("<met\0rics>", 10) + good, {}},
      {std::string(100, '\0'), {}},
      {"", {}},
  };
  for (const auto& [answer, limit] : kAnswers) {
    VMwareStatistics all;
    test::CapturedTrace trace(trace::kWarning);
    readResourceStatistics(answer, all);
    EXPECT_EQ(all.limit, limit) << answer.substr(0, 60);
    EXPECT_THAT(trace.take(), HasSubstr("readVMwareStatAPI(): No value found for reservation!\n"));
  }
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
    VMwareStatistics all;
    test::CapturedTrace trace(trace::kWarning);
    addListedDevices(listing + "last" + after, all);
    ASSERT_EQ(all.disks.size(), 2U) << listing;
    EXPECT_EQ(all.disks[1].category, "vscsi scsi0:1");
    ASSERT_EQ(all.cards.size(), 1U);
    EXPECT_EQ(all.cards[0].category, "vnet 00:0C:29:00:0a:01");
    EXPECT_EQ(all.cards[0].address, "00:0c:29:00:0a:01");
    const std::string said = trace.take();
    EXPECT_THAT(said, HasSubstr("Length of VDISK device id exceeds max. size 31, ignored!\n"));
    EXPECT_THAT(said, HasSubstr("Length of network id (MAC address) exceeds max. size, ignored!!"));
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
    for (unsigned i = 0; i < cards; ++i)
      listing += "vnet 00:0c:29:00:00:" + std::to_string(10 + i) + "\n";
    VMwareStatistics all;
    test::CapturedTrace trace(trace::kWarning);
    addListedDevices(listing, all);
    EXPECT_EQ(all.disks.size(), std::min(disks, 256U));
    EXPECT_EQ(all.cards.size(), disks < 512 ? std::min(cards, 32U) : 0);
    const std::string said = trace.take();
    EXPECT_THAT(said, HasSubstr(message));
    EXPECT_EQ(said.empty(), *message == '\0');
  }
}

}  // namespace
}  // namespace brv
