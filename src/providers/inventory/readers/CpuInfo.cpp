// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/CpuInfo.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <span>

#include "providers/inventory/readers/CpuList.h"
#include "providers/inventory/readers/NameValue.h"

namespace brv {

namespace {

// What is taken from the file, under whichever name a platform prints it.
enum Field : std::uint8_t {
  kModelName,
  kPart,
  kVendor,
  kFamily,
  kModelNumber,
  kArchitecture,
  kVariant,
  kStepping,
  kMicrocode,
  kCurrentMhz,
  kMaxMhz,
  kFlags,
  kFields
};

struct Key {
  std::string_view name;
  Field field;
};

struct Platform {
  std::span<const Key> keys;
  std::span<const std::string_view> flags;
  std::string_view numberKey;
};

constexpr Key kX86Keys[] = {{"model name", kModelName}, {"vendor_id", kVendor},
                            {"cpu family", kFamily},    {"model", kModelNumber},
                            {"stepping", kStepping},    {"microcode", kMicrocode},
                            {"cpu MHz", kCurrentMhz},   {"flags", kFlags}};
constexpr Key kArmKeys[] = {{"model name", kModelName},   {"CPU part", kPart},
                            {"CPU implementer", kVendor}, {"CPU architecture", kArchitecture},
                            {"CPU variant", kVariant},    {"CPU revision", kStepping},
                            {"Features", kFlags}};
// "cpu : POWER9 (architected), altivec supported" is the model and the only flag.
constexpr Key kPowerKeys[] = {{"cpu", kModelName},
                              {"cpu", kFlags},
                              {"revision", kStepping},
                              {"clock", kCurrentMhz},
                              {"clock", kMaxMhz}};
constexpr Key kS390Keys[] = {{"vendor_id", kVendor},
                             {"features", kFlags},
                             {"cpu MHz dynamic", kCurrentMhz},
                             {"cpu MHz static", kMaxMhz}};

constexpr std::string_view kX86Flags[] = {
    "lm",      "ht",       "nx",           "vmx",         "svm",  "hypervisor",
    "aes",     "sha_ni",   "rdrand",       "sse4_2",      "avx",  "avx2",
    "avx512f", "amx_tile", "constant_tsc", "nonstop_tsc", "smep", "smap"};
constexpr std::string_view kArmFlags[] = {"fp",    "asimd",   "aes", "sha2",
                                          "crc32", "atomics", "sve", "sve2"};
constexpr std::string_view kPowerFlags[] = {"altivec"};
constexpr std::string_view kS390Flags[] = {"vx", "vxe", "vxe2", "dflt", "sort", "te", "sie"};

// In the order of CpuPlatform.
constexpr Platform kPlatforms[] = {{kX86Keys, kX86Flags, "processor"},
                                   {kArmKeys, kArmFlags, "processor"},
                                   {kPowerKeys, kPowerFlags, "processor"},
                                   {kS390Keys, kS390Flags, "cpu number"},
                                   {{}, {}, "processor"}};

struct RawCpu {
  std::uint32_t number = 0;
  std::array<std::string_view, kFields> field;

  void fillFrom(const RawCpu& other) {
    for (std::size_t i = 0; i < kFields; ++i)
      if (field[i].empty()) field[i] = other.field[i];
  }
};

bool readCpuNumber(std::string_view text, std::uint32_t& out) {
  std::uint64_t number = 0;
  if (!readNumber(text, number) || number >= kMostCpus) return false;
  out = static_cast<std::uint32_t>(number);
  return true;
}

// Collects what the lines say, common and per processor.
class Collector {
 public:
  explicit Collector(CpuPlatform platform)
      : m_platform(kPlatforms[static_cast<std::size_t>(platform)]),
        m_s390(platform == CpuPlatform::kS390) {}

  // False for an odd line.
  bool add(std::string_view text) {
    if (trimmed(text).empty()) {
      m_target = &m_common;
      return true;
    }
    NameValue line;
    if (!line.split(text, ':')) return false;
    if (line.name == m_platform.numberKey) return begin(line.value);
    if (m_s390 && line.name.starts_with("processor ")) return addS390(line);
    // The kernel's word for what it does not know.
    if (m_target == nullptr || line.value == "unknown") return true;
    for (const Key& key : m_platform.keys)
      if (key.name == line.name && m_target->field[key.field].empty())
        m_target->field[key.field] = line.value;
    return true;
  }

  // By ascending number, each number once, with what is common to all.
  std::vector<RawCpu> finish() {
    const auto number = [](const RawCpu& a, const RawCpu& b) { return a.number < b.number; };
    std::stable_sort(m_cpus.begin(), m_cpus.end(), number);
    std::size_t count = 0;
    for (const RawCpu& cpu : m_cpus) {
      if (count > 0 && m_cpus[count - 1].number == cpu.number)
        m_cpus[count - 1].fillFrom(cpu);
      else
        m_cpus[count++] = cpu;
    }
    m_cpus.resize(count);
    for (RawCpu& cpu : m_cpus) cpu.fillFrom(m_common);
    return std::move(m_cpus);
  }

 private:
  // What follows an odd number belongs to nobody until the block ends.
  bool begin(std::string_view number) {
    RawCpu cpu;
    m_target = nullptr;
    if (!readCpuNumber(number, cpu.number)) return false;
    m_target = &m_cpus.emplace_back(cpu);
    return true;
  }

  // "processor 0: version = 00,  identification = 0A1B2C,  machine = 8561"
  bool addS390(const NameValue& line) {
    RawCpu cpu;
    if (!readCpuNumber(line.name.substr(line.name.find(' ')), cpu.number)) return false;
    for (std::string_view rest = line.value; !rest.empty();) {
      const std::string_view part = rest.substr(0, rest.find(','));
      rest.remove_prefix(std::min(rest.size(), part.size() + 1));
      NameValue item;
      if (!item.split(part, '=')) return false;
      if (item.name == "version") cpu.field[kStepping] = item.value;
      if (item.name == "machine") cpu.field[kModelName] = item.value;
    }
    // The vector may move: these lines stand in the common part.
    m_target = &m_common;
    m_cpus.push_back(cpu);
    return true;
  }

  const Platform& m_platform;
  bool m_s390;
  RawCpu m_common;
  std::vector<RawCpu> m_cpus;
  RawCpu* m_target = &m_common;
};

std::optional<std::uint32_t> number(std::string_view text) {
  std::uint64_t value = 0;
  if (!readNumber(text, value) || value > std::numeric_limits<std::uint32_t>::max()) return {};
  return static_cast<std::uint32_t>(value);
}

// "2596.120", "2200.000000MHz" or, with a scale of 1000, "2.60GHz". In whole numbers: the functions
// for others would bring the mathematics library into every run.
std::optional<std::uint32_t> megahertz(std::string_view text, std::string_view unit,
                                       std::uint64_t scale = 1) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
  constexpr std::uint64_t kOne = 1'000'000;
  text = trimmed(text);
  const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  const auto whole = numberUpTo(kMost, text.substr(0, digits));
  if (!whole) return {};
  text.remove_prefix(digits);
  std::uint64_t fraction = 0;
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    for (std::uint64_t place = kOne / 10; !text.empty() && isDigit(text[0]); place /= 10) {
      fraction += place * static_cast<std::uint64_t>(text[0] - '0');
      text.remove_prefix(1);
    }
  }
  if (!text.empty() && trimmed(text) != unit) return {};
  const std::uint64_t rounded = ((*whole * kOne + fraction) * scale + kOne / 2) / kOne;
  if (rounded < 1 || rounded > kMost) return {};
  return static_cast<std::uint32_t>(rounded);
}

// The number before "GHz" in what follows the "@" of an x86 model name.
std::optional<std::uint32_t> namedMegahertz(std::string_view model) {
  const std::size_t at = model.find('@');
  if (at == std::string_view::npos) return {};
  model.remove_prefix(at + 1);
  const std::size_t unit = model.find("GHz");
  if (unit == std::string_view::npos) return {};
  return megahertz(model.substr(0, unit), "", 1000);
}

// Arm Limited's table of who makes processors (MIDR_EL1.Implementer), as the kernel names them in
// arch/arm64/include/asm/cputype.h.
std::string_view armImplementer(std::string_view text) {
  struct Row {
    unsigned number;
    std::string_view name;
  };
  constexpr Row kRows[] = {{0x41, "ARM"},     {0x42, "Broadcom"},  {0x43, "Cavium"},
                           {0x46, "Fujitsu"}, {0x48, "HiSilicon"}, {0x4e, "NVIDIA"},
                           {0x50, "APM"},     {0x51, "Qualcomm"},  {0x56, "Marvell"},
                           {0x61, "Apple"},   {0x70, "Phytium"},   {0xc0, "Ampere"}};
  if (!text.starts_with("0x")) return text;
  unsigned number = 0;
  const char* end = text.data() + text.size();
  const auto [behind, error] = std::from_chars(text.data() + 2, end, number, 16);
  if (error != std::errc() || behind != end) return text;
  for (const Row& row : kRows)
    if (row.number == number) return row.name;
  return text;
}

std::string joined(std::string_view first, std::string_view a, std::string_view second = "",
                   std::string_view b = "") {
  std::string text(first);
  return text.append(a).append(second).append(b);
}

// What is said by one text on one platform and made of several on another.
void describe(const RawCpu& raw, CpuPlatform platform, Cpu& cpu) {
  const auto& field = raw.field;
  cpu.model = field[kModelName];
  cpu.manufacturer = field[kVendor];
  switch (platform) {
    case CpuPlatform::kX86:
      cpu.family = number(field[kFamily]);
      cpu.modelNumber = number(field[kModelNumber]);
      if (cpu.family && cpu.modelNumber)
        cpu.familyDescription =
            joined("x86 family ", field[kFamily], " model ", field[kModelNumber]);
      cpu.maxMhz = namedMegahertz(field[kModelName]);
      break;
    case CpuPlatform::kArm:
      if (cpu.model.empty() && !field[kPart].empty()) cpu.model = joined("part ", field[kPart]);
      cpu.manufacturer = armImplementer(field[kVendor]);
      if (!field[kArchitecture].empty() && !field[kVariant].empty())
        cpu.familyDescription =
            joined("ARM architecture ", field[kArchitecture], " variant ", field[kVariant]);
      break;
    case CpuPlatform::kPower:
      cpu.model = trimmed(field[kModelName].substr(0, field[kModelName].find(',')));
      cpu.manufacturer = "IBM";
      cpu.familyDescription = "POWER";
      break;
    case CpuPlatform::kS390:
      if (!cpu.model.empty()) cpu.model = joined("machine ", field[kModelName]);
      cpu.familyDescription = "z/Architecture";
      break;
    case CpuPlatform::kOther:
      break;
  }
}

std::vector<std::string_view> selectFlags(std::string_view text,
                                          std::span<const std::string_view> wanted) {
  std::uint32_t found = 0;
  for (FieldScanner words(text); !words.atEnd();) {
    const auto word = std::find(wanted.begin(), wanted.end(), words.word());
    if (word != wanted.end()) found |= 1U << (word - wanted.begin());
  }
  std::vector<std::string_view> flags;
  for (std::size_t i = 0; i < wanted.size(); ++i)
    if ((found >> i & 1U) != 0) flags.push_back(wanted[i]);
  return flags;
}

}  // namespace

CpuPlatform cpuPlatform(std::string_view machine) {
  struct Row {
    std::string_view prefix;
    CpuPlatform platform;
  };
  constexpr Row kRows[] = {{"x86_64", CpuPlatform::kX86},
                           {"aarch64", CpuPlatform::kArm},
                           {"arm", CpuPlatform::kArm},
                           {"ppc", CpuPlatform::kPower},
                           {"s390", CpuPlatform::kS390}};
  for (const Row& row : kRows)
    if (machine.starts_with(row.prefix)) return row.platform;
  // i386 to i686
  const bool x86 = machine.size() == 4 && machine[0] == 'i' && machine.ends_with("86");
  return x86 ? CpuPlatform::kX86 : CpuPlatform::kOther;
}

bool Cpu::hasFlag(std::string_view flag) const {
  return std::find(flags.begin(), flags.end(), flag) != flags.end();
}

std::vector<Cpu> readCpuInfo(std::string_view text, CpuPlatform platform, OddLines& odd) {
  Collector collector(platform);
  for (LineScanner lines(text); lines.next();)
    if (!collector.add(lines.line())) odd.push_back(lines.number());

  const Platform& how = kPlatforms[static_cast<std::size_t>(platform)];
  const std::vector<RawCpu> raws = collector.finish();
  std::vector<Cpu> cpus;
  cpus.reserve(raws.size());
  std::string_view flagsText;
  for (const RawCpu& raw : raws) {
    Cpu cpu;
    cpu.number = raw.number;
    describe(raw, platform, cpu);
    cpu.stepping = raw.field[kStepping];
    cpu.microcode = raw.field[kMicrocode];
    cpu.currentMhz = megahertz(raw.field[kCurrentMhz], "MHz");
    if (!cpu.maxMhz) cpu.maxMhz = megahertz(raw.field[kMaxMhz], "MHz");
    // Processors mostly have the flags, a kilobyte or two, of the one before.
    const bool same = !cpus.empty() && raw.field[kFlags] == flagsText;
    cpu.flags = same ? cpus.back().flags : selectFlags(raw.field[kFlags], how.flags);
    flagsText = raw.field[kFlags];
    cpu.tellsFlags = !flagsText.empty();
    cpus.push_back(std::move(cpu));
  }
  return cpus;
}

const Cpu* findCpu(const std::vector<Cpu>& cpus, std::uint32_t number) {
  const auto cpu = std::lower_bound(
      cpus.begin(), cpus.end(), number,
      [](const Cpu& candidate, std::uint32_t wanted) { return candidate.number < wanted; });
  return cpu != cpus.end() && cpu->number == number ? &*cpu : nullptr;
}

}  // namespace brv
