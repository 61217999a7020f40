// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/vmware/VMwareStatistics.h"

#include <algorithm>
#include <memory>
#include <span>

#include "providers/readers/LineScanner.h"
#include "providers/readers/ValueText.h"
#include "providers/virt/GuestCards.h"
#include "providers/virt/vmware/StatisticsTree.h"
#include "runtime/Ascii.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

using Figure = VMwareStatistics::Figure;

// What a figure is reported in, and the units that can be turned into it.
enum class In { kCount, kSetting, kBytes, kKilobytes, kMilliseconds, kSeconds };

struct Unit {
  std::string_view name;
  In in;
  std::uint64_t times;
  std::uint64_t dividedBy;
};
constexpr Unit kUnits[] = {
    {"bytes", In::kBytes, 1, 1},        {"KB", In::kBytes, 1024, 1},
    {"MB", In::kBytes, 1024 * 1024, 1}, {"bytes", In::kKilobytes, 1, 1024},
    {"KB", In::kKilobytes, 1, 1},       {"MB", In::kKilobytes, 1024, 1},
    {"us", In::kMilliseconds, 1, 1000}, {"ms", In::kMilliseconds, 1, 1},
    {"s", In::kMilliseconds, 1000, 1},  {"us", In::kSeconds, 1, 1'000'000},
    {"ms", In::kSeconds, 1, 1000},      {"s", In::kSeconds, 1, 1},
};

template <class Holder>
struct Statistic {
  const char* name;
  Figure Holder::*figure;
  In in;
  std::string_view unsaid = {};  // the unit of an answer that names none; empty: cannot be known
};
using All = VMwareStatistics;

constexpr Statistic<All> kSession[] = {
    {"uptime", &All::uptime, In::kSeconds, "us"},
    {"vm.cpu.contention.cpu", &All::cpuContention, In::kMilliseconds, "us"},
    {"vm.cpu.contention.mem", &All::memoryContention, In::kMilliseconds, "us"},
    {"guest.mem.swapIn", &All::kilobytesSwappedIn, In::kKilobytes, "KB"},
    {"guest.mem.swapOut", &All::kilobytesSwappedOut, In::kKilobytes, "KB"},
};
constexpr Statistic<All> kHost[] = {
    {"host.cpu.cores", &All::hostCores, In::kCount},
    {"host.cpu.threads", &All::hostThreads, In::kCount},
};
constexpr Statistic<All> kResources[] = {
    {"limit", &All::limit, In::kSetting},
    {"reservation", &All::reservation, In::kSetting},
};
constexpr Statistic<All::Disk> kDisk[] = {
    {"num.reads", &All::Disk::reads, In::kCount},
    {"num.writes", &All::Disk::writes, In::kCount},
    {"size.reads", &All::Disk::kilobytesRead, In::kKilobytes},
    {"size.writes", &All::Disk::kilobytesWritten, In::kKilobytes},
    {"latency.reads", &All::Disk::readTime, In::kMilliseconds},
    {"latency.writes", &All::Disk::writeTime, In::kMilliseconds},
};
constexpr Statistic<All::Card> kCard[] = {
    {"size.rx", &All::Card::bytesReceived, In::kBytes},
    {"size.tx", &All::Card::bytesTransmitted, In::kBytes},
};

Figure figureOf(const s_metric& metric, In in, std::string_view unsaid) {
  if (metric.value == "-1") return in == In::kSetting ? Figure(All::kUnlimited) : std::nullopt;
  std::uint64_t number = 0;
  if (!readNumber(metric.value, number)) return std::nullopt;
  if (in == In::kCount || in == In::kSetting) return number;
  const std::string_view name = metric.unit.empty() ? unsaid : std::string_view(metric.unit);
  const Unit* unit = std::ranges::find_if(
      kUnits, [&](const Unit& known) { return known.in == in && known.name == name; });
  if (unit == std::end(kUnits) || __builtin_mul_overflow(number, unit->times, &number))
    return std::nullopt;
  return number / unit->dividedBy;
}

// Calls `onMissing` with the name of each statistic that the answer lacks.
template <class Holder, std::size_t Size, class OnMissing>
void readStatistics(const StatisticsTree* tree, const Statistic<Holder> (&wanted)[Size],
                    Holder& into, OnMissing onMissing) {
  s_metric metric;
  for (const Statistic<Holder>& statistic : wanted) {
    Figure& figure = into.*statistic.figure;
    if (tree != nullptr && find_metric_VMware(statistic.name, *tree, &metric))
      figure = figureOf(metric, statistic.in, statistic.unsaid);
    if (!figure) onMissing(statistic.name);
  }
}

void traceMissing(const char* name) {
  BRV_TRACE(kWarning, "readVMwareStatAPI(): No value found for %s!\n", name);
}

// False beyond the maximum.
bool addDisk(const std::string& category, std::string id, VMwareStatistics& into) {
  if (id.size() > All::kLongestDisk) {
    BRV_TRACE(kWarning,
              "readVMwareStatAPI(): Length of VDISK device id exceeds max. size %d, ignored!\n",
              static_cast<int>(All::kLongestDisk));
    return true;
  }
  if (id.empty() || !std::ranges::all_of(id, isNameCharacter)) {
    BRV_TRACE(kWarning, "A virtual disk without a usable name is ignored\n");
    return true;
  }
  if (std::ranges::find(into.disks, id, &All::Disk::id) != into.disks.end()) return true;
  if (into.disks.size() == All::kMostDisks) {
    BRV_TRACE(kWarning, "readVMwareStatAPI(): Exceeded max. number of virtual disks in VM!\n");
    return false;
  }
  into.disks.emplace_back().category = category;
  into.disks.back().id = std::move(id);
  return true;
}

bool addCard(const std::string& category, std::string address, VMwareStatistics& into) {
  if (address.size() > All::kLongestAddress) {
    BRV_TRACE(kWarning,
              "readVMwareStatAPI(): Length of network id (MAC address) exceeds max. size, "
              "ignored!!\n");
    return true;
  }
  if (plainMacAddress(address).empty()) {
    BRV_TRACE(kWarning, "A network card without a MAC address is ignored\n");
    return true;
  }
  address = lowerCaseMacAddress(address);
  if (std::ranges::find(into.cards, address, &All::Card::address) != into.cards.end()) return true;
  if (into.cards.size() == All::kMostCards) {
    BRV_TRACE(kWarning, "readVMwareStatAPI(): Exceeded max. number of network cards in VM!\n");
    return false;
  }
  into.cards.emplace_back().category = category;
  into.cards.back().address = std::move(address);
  return true;
}

}  // namespace

void readSessionStatistics(std::string_view answer, VMwareStatistics& into) {
  const std::unique_ptr<StatisticsTree> tree = StatisticsTree::parse(answer);
  readStatistics(tree.get(), kSession, into, [](const char* name) {
    BRV_TRACE(kWarning, "readVMwareStatSDK(): No value found for %s!\n", name);
  });
  s_metric version;
  std::string storage;
  if (tree != nullptr && find_metric_VMware("version", *tree, &version))
    into.version = cleanText(version.value, storage);
}

void readHostStatistics(std::string_view answer, VMwareStatistics& into) {
  readStatistics(StatisticsTree::parse(answer).get(), kHost, into, traceMissing);
  if (!into.hostCores || !into.hostThreads) hintAtHostInfo();
}

void readResourceStatistics(std::string_view answer, VMwareStatistics& into) {
  readStatistics(StatisticsTree::parse(answer).get(), kResources, into, traceMissing);
}

void readDiskStatistics(std::string_view answer, VMwareStatistics::Disk& into) {
  readStatistics(StatisticsTree::parse(answer).get(), kDisk, into, [&into](const char* name) {
    BRV_TRACE(kWarning, "readVMwareStatAPI(): No value found for %s of VDISK %s\n", name,
              into.id.c_str());
  });
}

void readCardStatistics(std::string_view answer, VMwareStatistics::Card& into) {
  readStatistics(StatisticsTree::parse(answer).get(), kCard, into, traceMissing);
}

void hintAtHostInfo() {
  BRV_TRACE(kWarning,
            "Please check if parameter tools.guestlib.enableHostInfo = TRUE (see BRV note 7100106 "
            "or 7100107)\n");
}

void addListedDevices(std::string_view listing, VMwareStatistics& into) {
  constexpr std::size_t kMost = VMwareStatistics::kMostCategories;
  std::vector<std::string> names = StatisticsTree::names(listing, kMost + 1);
  if (names.size() > kMost) {
    BRV_TRACE(kWarning, "Max. number of StatGet() categories reached. Stopping data collection.\n");
    names.pop_back();
  }
  bool moreDisks = true;
  bool moreCards = true;
  for (const std::string& name : names) {
    FieldScanner words(name);
    const std::string_view kind = words.word();
    const std::string_view id = words.word();
    if (!words.atEnd()) continue;
    if (kind == "vscsi" && moreDisks) moreDisks = addDisk(name, std::string(id), into);
    if (kind == "vnet" && moreCards) moreCards = addCard(name, std::string(id), into);
  }
}

}  // namespace brv
