// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/kvmxen/CMetricsDisk.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <span>
#include <thread>
#include <tuple>

#include "providers/CapturedTrace.h"
#include "providers/virt/kvmxen/LoopDevice.h"
#include "providers/virt/kvmxen/MetricsDiskReader.h"
#include "support/InlineCalls.h"
#include "support/RunProgram.h"

namespace brv {
namespace {

using test::CapturedTrace;
using test::LoopDevice;
using testing::HasSubstr;

std::string number(std::uint32_t value) {
  std::string bytes;
  for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>(value >> shift & 0xFF);
  return bytes;
}
std::string header(std::uint32_t busy, std::uint32_t checksum, std::uint32_t length) {
  return "mvbd" + number(busy) + number(checksum) + number(length);
}
std::string text(std::size_t size) {
  std::string text;
  for (std::size_t i = 0; text.size() < size; ++i) text += std::to_string(i) + ' ';
  return text.substr(0, size);
}
// A disk with that document, of whole blocks of 4 KB.
std::string disk(const std::string& document) {
  std::string bytes = header(0, 77, static_cast<std::uint32_t>(document.size())) + document;
  bytes.resize((bytes.size() + 4095) / 4096 * 4096, '#');
  return bytes;
}

TEST(MetricsDiskReader, TakesOnlyWhatTheHostLeftAlone) {
  const std::string old = disk("old");
  const std::string fresh = header(0, 78, 5) + "fresh";
  const std::string busy = header(1, 78, 5) + "fre";
  const std::string huge = header(0, 79, UINT32_MAX);
  using States = std::vector<std::string>;  // of the disk, one a look, the last one for ever
  for (const auto& [states, expected, error, pauses] :
       {std::tuple{States{old}, "old", 0, 0},
        {{busy, busy, fresh}, "fresh", 0, 2},
        {{old, fresh}, "fresh", 0, 1},        // another checksum afterwards
        {{old, busy, fresh}, "fresh", 0, 1},  // busy afterwards
        {{huge, old}, "old", 0, 1},           // a header that was half written
        {{huge}, "", EFBIG, 0},
        {{header(0, 1, 100) + "short"}, "", ENODATA, 0},
        {{old, "xvbd"}, "", ENODATA, 0},
        {{"mvbd"}, "", ENODATA, 0},
        {{header(0, 1, 4) + std::string("a\0bc", 4)}, "a", 0, 0}}) {
    std::size_t looks = 0;
    int paused = 0;
    MetricsDiskReader reader(
        [&looks, &all = states](std::span<char> to, off_t at) {
          const std::string& bytes = all[std::min(looks++, all.size() - 1)];
          const auto from = std::min(static_cast<std::size_t>(at), bytes.size());
          return static_cast<ssize_t>(bytes.copy(to.data(), to.size(), from));
        },
        MetricsDiskReader::kBlock, [&] { ++paused; });
    std::string document = "before";
    EXPECT_EQ(reader.read(document), error) << expected;
    EXPECT_EQ(document, expected) << expected;
    EXPECT_EQ(paused, pauses) << expected;
  }
}

// A host with the given block devices.
class MetricsDisk : public testing::Test {
 protected:
  void SetUp() override {
    if (::geteuid() != 0 || !LoopDevice(std::string(4096, '\0')).attached())
      GTEST_SKIP() << "needs root and loop devices";
    m_folder.write("dev/.keep", "");
  }
  void add(const std::string& name, dev_t device) const {
    m_folder.write("sys/block/" + name + "/dev", "");
    const auto path = m_folder.path() / "dev" / name;
    ASSERT_EQ(::mknod(path.c_str(), S_IFBLK | 0600, device), 0);
  }
  bool read(BoundedCalls& calls) {
    const HostFiles files(m_folder.path());
    return CMetricsDisk(files, CommandRunner::process(), calls).ReadMetrics(document);
  }
  bool read() {
    test::InlineCalls calls;
    return read(calls);
  }

  test::TemporaryFolder m_folder;
  std::string document;
};

TEST_F(MetricsDisk, IsReadWholeWhateverItsSize) {
  for (const std::size_t size : {0U, 1U, 2'032U, 2'033U, 4'080U, 4'081U, 200'000U})
    for (const std::uint32_t block : {512U, 4096U}) {
      const LoopDevice loop(disk(text(size)), block);
      add("mvb" + std::to_string(size) + '-' + std::to_string(block), loop.number());
      EXPECT_TRUE(read() && document == text(size)) << size << ": " << document.size() << " bytes";
      std::filesystem::remove_all(m_folder.path() / "sys/block");
    }
}

TEST_F(MetricsDisk, IsFoundAmongOthers) {
  const LoopDevice right(disk("figures"));
  const LoopDevice other("mvbe" + std::string(4092, '\0'));
  const LoopDevice later(disk("later"));
  add("a-unattached", LoopDevice::unattached());
  add("b-other", other.number());
  add("c-no-driver", makedev(4000, 0));
  add("d-right", right.number());
  add("e-later", later.number());
  m_folder.write("sys/block/no-node/dev", "");
  m_folder.write("sys/block/a-file/dev", "");
  m_folder.write("dev/a-file", disk("file"));
  CapturedTrace trace(trace::kWarning);
  ForkedCalls calls("");
  EXPECT_TRUE(read(calls));
  EXPECT_EQ(document, "figures");
  test::InlineCalls silent({"/dev/d-right"});
  EXPECT_TRUE(read(silent));
  EXPECT_EQ(document, "later");
  // One without a medium is not asked.
  m_folder.write("proc/partitions", "major minor  #blocks  name\n\n   7  1  4 d-right\n");
  EXPECT_FALSE(read(silent));
  m_folder.write("proc/partitions", "major minor  #blocks  name\n\n   7  1  4 e-later\n");
  EXPECT_TRUE(read());
  EXPECT_EQ(document, "later");
  EXPECT_EQ(trace.take(), "");
}

TEST_F(MetricsDisk, IsNoneThatIsInUse) {
  const LoopDevice loop(disk("figures"));
  add("vda", loop.number());
  m_folder.write("proc/swaps", "Filename Type\n/dev/vdaa partition 1 0 -2\n");
  m_folder.write("sys/fs/ext4/vdb/marker", "");
  std::filesystem::create_directories(m_folder.path() / "sys/block/vda/holders");
  EXPECT_TRUE(read());
  for (const char* mark : {"sys/fs/ext4/vda/x", "sys/fs/xfs/vda/x", "sys/fs/f2fs/vda/x",
                           "sys/block/vda/vda1/x", "sys/block/vda/holders/dm-0/x", "proc/swaps"}) {
    m_folder.write(mark, "Filename Type\n/dev/vda partition 1 0 -2\n");
    test::InlineCalls calls;
    EXPECT_FALSE(read(calls)) << mark;
    EXPECT_EQ(calls.calls, 0) << mark;
    const auto path = m_folder.path() / mark;
    std::filesystem::remove_all(path.filename() == "x" ? path.parent_path() : path);
  }
  EXPECT_TRUE(read());
}

TEST_F(MetricsDisk, ThatIsBrokenIsTold) {
  const LoopDevice loop(disk(text(6'000)).substr(0, 4'096));
  add("mvb", loop.number());
  for (const char* told : {"OS[061]: `No data available'\n", "OS[027]: `File too large'\n"}) {
    CapturedTrace trace(trace::kError);
    EXPECT_FALSE(read());
    EXPECT_EQ(document, "");
    const std::string text = trace.take();
    EXPECT_THAT(text, HasSubstr("ERROR (CMetricsDisk.cpp/"));
    EXPECT_THAT(text, HasSubstr(std::string("): Can't read /dev/mvb: ") + told));
    loop.write(header(0, 1, UINT32_MAX), 0);
  }
  CapturedTrace trace(trace::kWarning);
  std::filesystem::remove_all(m_folder.path() / "sys");
  EXPECT_FALSE(read());
  EXPECT_THAT(trace.take(), HasSubstr("): Opening /sys/block failed: OS[002]: `No such file"));
}

// Its host never ends writing, as everybody can say who may write to a disk.
TEST_F(MetricsDisk, ThatIsBusyForEverIsGivenUp) {
  const LoopDevice busy(header(1, 1, 4) + std::string(4080, '#'));
  const LoopDevice right(disk("figures"));
  add("a-busy", busy.number());
  CapturedTrace trace(trace::kWarning);
  ForkedCalls calls("");
  EXPECT_FALSE(read(calls));
  EXPECT_THAT(trace.take(), HasSubstr("/dev/a-busy gives no answer"));
  add("b-right", right.number());
  EXPECT_TRUE(read(calls));
  EXPECT_EQ(document, "figures");
}

TEST_F(MetricsDisk, ThatTheGuestCannotWriteComesFirst) {
  const LoopDevice forged(disk("forged"));
  constexpr bool kReadOnly = true;
  const LoopDevice broken(disk(text(6'000)).substr(0, 4'096), 512, kReadOnly);
  const LoopDevice real(disk("real"), 512, kReadOnly);
  add("a-forged", forged.number());
  add("b-broken", broken.number());
  add("c-real", real.number());
  CapturedTrace trace(trace::kError);
  EXPECT_TRUE(read());
  EXPECT_EQ(document, "real");
  EXPECT_THAT(trace.take(), HasSubstr("Can't read /dev/b-broken"));
}

// Documents of one letter each: a mixture would show.
TEST_F(MetricsDisk, IsReadWhileItsHostWrites) {
  constexpr std::uint32_t kSize = 100'000;
  const LoopDevice loop(header(0, 0, kSize) + std::string(kSize + 2'336, 'A'));
  add("mvb", loop.number());
  std::atomic<bool> stop{false};
  std::thread host([&] {
    for (std::uint32_t i = 1; !stop; ++i) {
      loop.write(number(1), 4);
      loop.write(std::string(kSize, static_cast<char>('A' + i % 26)), 16);
      loop.write(header(1, i, kSize), 0);
      loop.write(number(0), 4);
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  });
  for (int i = 0; i < 20; ++i) {
    EXPECT_TRUE(read());
    EXPECT_EQ(document.size(), kSize);
    EXPECT_EQ(document.find_first_not_of(document[0]), std::string::npos);
  }
  stop = true;
  host.join();
}

TEST(DumpCommand, GivesWhatItPrintsOrNothing) {
  const test::TemporaryFolder folder;
  const std::filesystem::path path = folder.path() / "dump";
  for (const auto& [script, document, failure] :
       {std::tuple{"printf '<a>\\n</a>'", "<a>\n</a>\n", ""},
        {"printf '<a>'; exit 3", "", "Pclose() on "},
        {"", "", ""},
        {"exec cat /dev/zero", "", "Pclose() on "},
        {"none", "", "Popen() on "}}) {
    folder.write("dump", std::string("#!/bin/sh\n") + script + '\n');
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    if (script == std::string("none")) std::filesystem::remove(path);
    const HostFiles files;
    HostCommandRunner runner(files);
    CMetricsDisk disk(files, runner, BoundedCalls::process(), path);
    CapturedTrace trace(trace::kWarning);
    std::string output = "before";
    EXPECT_EQ(disk.ExecVmDumpMetrics(output), *document != '\0') << script;
    EXPECT_EQ(output, document);
    const std::string traced = trace.take();
    EXPECT_THAT(traced, HasSubstr(*failure ? failure + path.string() + " failed\n" : ""));
    EXPECT_EQ(traced.empty(), *failure == '\0') << traced;
  }
}

}  // namespace
}  // namespace brv
