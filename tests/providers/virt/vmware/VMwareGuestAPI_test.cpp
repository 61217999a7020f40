// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/vmware/VMwareGuestAPI.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <optional>
#include <tuple>

#include "providers/CapturedTrace.h"
#include "providers/virt/vmware/GuestDevices.h"
#include "support/RunProgram.h"

namespace brv {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class VMwareGuestAPITest : public testing::Test {
 protected:
  ~VMwareGuestAPITest() override {
    for (const char* name : {"GUEST_FAILS", "GUEST_ERROR", "GUEST_STATISTICS", "GUEST_SIZE"})
      unsetenv(name);
  }
  static void behave(const char* name, const std::string& how) { setenv(name, how.c_str(), 1); }
  // Behind a file that is missing and one that is no library.
  static VMwareGuestAPI::Libraries libraries(const char* last = GUEST_LIBRARY) {
    return {"/nonexistent/libvmGuestLib.so", "/dev/null", last};
  }

  const HostFiles m_files;
};

// What a getter gives, as "value" or "-" when it fails; the out-parameter must stay as it was then.
template <class T>
std::string got(VMwareGuestAPI& api, bool (VMwareGuestAPI::*getter)(T*)) {
  T value = 77;
  if ((api.*getter)(&value)) return std::to_string(value);
  return value == 77 ? "-" : "overwritten";
}

template <class... T>
std::string figures(VMwareGuestAPI& api, bool (VMwareGuestAPI::*... getters)(T*)) {
  return ((got(api, getters) + ' ') + ...);
}

std::string allFigures(VMwareGuestAPI& api) {
  using A = VMwareGuestAPI;
  return figures(api, &A::getCpuLimitMHz, &A::getCpuReservationMHz, &A::getHostNumCpuCores,
                 &A::getHostProcessorSpeed, &A::getMemBalloonedMB, &A::getMemLimitMB,
                 &A::getMemMappedMB, &A::getMemReservationMB, &A::getMemSwappedMB, &A::getMemUsedMB,
                 &A::getCpuStolenMs, &A::getCpuUsedMs, &A::getHostCpuUsedMs, &A::getHostMemPhysMB,
                 &A::getHostMemSwappedMB, &A::getHostMemUsedMB, &A::getSessionID);
}

constexpr const char* kNoFigures = "- - - - - - - - - - - - - - - - ";  // but the session

TEST_F(VMwareGuestAPITest, GivesWhatEachFunctionTells) {
  VMwareGuestAPI api(m_files, libraries());
  test::CapturedTrace trace(trace::kError);
  ASSERT_TRUE(api.initialize());
  EXPECT_TRUE(api.initialize());
  EXPECT_THAT(trace.take(), Not(HasSubstr("Guest")));
  EXPECT_EQ(api.libraryPath(), GUEST_LIBRARY);
  EXPECT_EQ(api.lastUpdate().tv_sec, 0);
  const std::lock_guard<VMwareGuestAPI> guard(api);
  EXPECT_TRUE(api.updateInfo());
  EXPECT_NE(api.lastUpdate().tv_sec, 0);
  EXPECT_EQ(allFigures(api),
            "1836 459 1 2295 13 64 15 16 17 18 5000000003 5000000004 5000000005 131072 9 131000 "
            "4004861987670969122 ");
  EXPECT_EQ(api.getMaxCPUCount(), 1U);
}

TEST_F(VMwareGuestAPITest, AFailingFunctionCostsItsOwnFigure) {
  VMwareGuestAPI api(m_files, libraries());
  ASSERT_TRUE(api.initialize());
  behave("GUEST_FAILS", "all");
  test::CapturedTrace trace(trace::kWarning);
  EXPECT_FALSE(api.updateInfo());
  EXPECT_EQ(api.lastUpdate().tv_sec, 0);
  EXPECT_EQ(allFigures(api), kNoFigures + std::string("- "));
  EXPECT_GE(api.getMaxCPUCount(), 1U);
  const std::string traced = trace.take();
  for (const char* failed : {"UpdateInfo failed: error 3\n", "GetSessionID failed: error 4\n",
                             "GetMemUsedMB failed: error 4\n"})
    EXPECT_THAT(traced, HasSubstr(std::string("VMware Guest API: ") + failed));
  for (const auto& [words, text] : {std::pair{std::string(9000, 'x'), std::string(255, 'x')},
                                    {"none", ""},
                                    {"no \xff", ""},
                                    {"\xc3\xbc %n%s", "\xc3\xbc %n%s"}}) {
    behave("GUEST_ERROR", words);
    test::CapturedTrace converted(trace::kError);
    EXPECT_EQ(ucToUtf8(api.getLastErrorInfo()), text);
    EXPECT_EQ(converted.take().find("Failed to convert 'no \xff' to BRV_UC") != std::string::npos,
              words.starts_with("no \xff"));
  }
}

TEST_F(VMwareGuestAPITest, OptionalFunctionsMayBeMissing) {
  VMwareGuestAPI api(m_files, libraries(GUEST_LIBRARY_BARE));
  test::CapturedTrace trace(trace::kWarning);
  ASSERT_TRUE(api.initialize());
  EXPECT_TRUE(api.updateInfo());
  EXPECT_EQ(allFigures(api), kNoFigures + std::string("4004861987670969122 "));
  EXPECT_FALSE(api.readVMwareStatAPI());
  EXPECT_EQ(ucToUtf8(api.getLastErrorInfo()), "error 8");
  const std::string traced = trace.take();
  EXPECT_THAT(traced, HasSubstr("Failed to load function VMGuestLib_GetHostMemPhysFreeMB\n"));
  EXPECT_THAT(traced, HasSubstr("VMware Guest API: GetHostMemPhysMB is not loaded\n"));
}

TEST_F(VMwareGuestAPITest, AnUnusableLibraryIsLeftAlone) {
  for (const auto& [library, fails, message] :
       {std::tuple{GUEST_LIBRARY, "OpenHandle", "API: failed to open handle: error 2\n"},
        {GUEST_LIBRARY_BROKEN, "", "Failed to load context function VMGuestLib_OpenHandle\n"},
        {"libno-such.so", "",
         "Failed to load VMware Guest library: /nonexistent/libvmGuestLib.so or /dev/null\n"}}) {
    behave("GUEST_FAILS", fails);
    VMwareGuestAPI api(m_files, libraries(library));
    test::CapturedTrace trace(trace::kWarning);
    EXPECT_FALSE(api.initialize());
    EXPECT_THAT(trace.take(), HasSubstr(message));
    EXPECT_EQ(allFigures(api), kNoFigures + std::string("- "));
    EXPECT_FALSE(api.readVMwareStatAPI());
    EXPECT_TRUE(api.getLastErrorInfo().empty());
    behave("GUEST_FAILS", "");
    EXPECT_EQ(api.initialize(), library == std::string_view(GUEST_LIBRARY)) << "a later attempt";
  }
  // None is loaded below a host root.
  const test::TemporaryFolder host;
  const HostFiles files(host.path().string());
  EXPECT_FALSE(VMwareGuestAPI(files, {GUEST_LIBRARY, "/-", "/-"}).initialize());
}

TEST_F(VMwareGuestAPITest, TheLockFailsInsteadOfWaitingForItsHolder) {
  VMwareGuestAPI api(m_files, libraries());
  test::CapturedTrace trace(trace::kError);
  api.lock();
  api.lock();
  api.unlock();
  api.unlock();
  EXPECT_THAT(trace.take(), AllOf(HasSubstr("Failed to lock mutex (ThrMtxLock() ret = 35)\n"),
                                  HasSubstr("Failed to unlock mutex (ThrMtxUnlock() ret = 1)\n")));
}

TEST_F(VMwareGuestAPITest, AsksForEachCategory) {
  const test::TemporaryFolder answers;
  behave("GUEST_STATISTICS", answers.path().string());
  answers.write("session", R"(<m><metric name="version">Acme Hypervisor 7.1</metric></m>)");
  answers.write("resources", R"(<m><metric name="limit">-1</metric></m>)");
  answers.write("listing",
                R"(<m><metric name="vscsi scsi0:0"/><metric name="vscsi scsi0:1"/></m>)");
  answers.write("vscsi scsi0:1", R"(<m><metric name="num.reads">7</metric></m>)");
  VMwareGuestAPI api(m_files, libraries());
  ASSERT_TRUE(api.initialize());
  test::CapturedTrace trace(trace::kWarning);
  for (int pass = 0; pass < 2; ++pass) ASSERT_TRUE(api.readVMwareStatAPI());
  EXPECT_THAT(trace.take(),
              AllOf(HasSubstr("VMware Guest API: GuestLib_StatGet() failed - error 10\n"),
                    HasSubstr("Failed to call StatGet() for category host\n"),
                    HasSubstr("parameter tools.guestlib.enableHostInfo = TRUE"),
                    HasSubstr("Failed to call StatGet() for category vscsi scsi0:0\n"),
                    HasSubstr("readVMwareStatSDK(): No value found for guest.mem.swapIn!\n")));
  const VMwareStatistics& all = api.statistics();
  EXPECT_EQ(api.getProductVersion(), "Acme Hypervisor 7.1");
  EXPECT_EQ(all.limit, VMwareStatistics::kUnlimited);
  ASSERT_EQ(all.disks.size(), 2U);
  EXPECT_EQ(all.disks[0].reads, std::nullopt);
  EXPECT_EQ(all.disks[1].reads, 7U);
  behave("GUEST_SIZE", "18446744073709551615");
  ASSERT_TRUE(api.readVMwareStatAPI());
  EXPECT_TRUE(api.statistics().disks.empty() && api.getProductVersion().empty());
}

// By the dynamic loader's own search, which is fixed when a process starts. The real library, where
// a package has brought it, says on any other host that it is no such guest.
TEST(GuestLibrarySearch, FindsALibraryOnTheLoadersPath) {
  const auto probe = [](const fs::path& folder) {
    return test::runProgram(
        {.program = GUEST_PROBE, .environment = {"LD_LIBRARY_PATH=" + folder.string()}});
  };
  const auto own = probe(fs::path(GUEST_LIBRARY).parent_path());
  EXPECT_EQ(own.status, 0) << own.error;
  EXPECT_EQ(own.output, std::string(GUEST_LIBRARY) + "\n");
  const fs::path real = "/usr/lib/x86_64-linux-gnu/libguestlib.so.0";
  if (!fs::exists(real)) GTEST_SKIP() << real << " is not installed";
  const test::TemporaryFolder folder;
  fs::create_symlink(real, folder.path() / "libvmGuestLib.so");
  const auto refused = probe(folder.path());
  EXPECT_EQ(refused.status, 1) << refused.error;
  EXPECT_EQ(refused.output, "\n");
  EXPECT_THAT(refused.error, HasSubstr("VMware Guest API: failed to open handle: "));
}

// The second controller's adapter comes after those of ATA disks, and 10 after 9.
TEST(GuestDevices, NamesDisksByTheirVirtualController) {
  const test::TemporaryFolder host;
  host.write("sys/class/scsi_host/host0/proc_name", "ata_piix\n");
  host.write("sys/class/scsi_host/host2/proc_name", "vmw_pvscsi\n");
  host.write("sys/class/scsi_host/host9/proc_name", "ahci\n");
  host.write("sys/class/scsi_host/host10/proc_name", "mptspi\n");
  const fs::path disk = "sys/devices/pci0000:00/0000:00:10.0/host2/target2:0:1/2:0:1:0";
  host.write((disk / "block/sdb/size").string(), "2048\n");
  fs::create_directories(host.path() / "sys/bus/scsi/devices");
  fs::create_symlink("../../../.." / disk, host.path() / "sys/bus/scsi/devices/2:0:1:0");
  host.write("sys/bus/scsi/devices/10:0:15:0/block/sdaa/size", "");
  host.write("sys/bus/scsi/devices/2:0:3:0/block/sr0/size", "");
  const HostFiles files(host.path().string());
  const std::pair<const char*, const char*> kDisks[] = {
      {"scsi0:1", "sdb"},  {"scsi1:15", "sdaa"}, {"scsi0:2", ""},  {"scsi0:3", ""}, {"scsi2:0", ""},
      {"sata0:1", ""},     {"scsi0:1x", ""},     {"scsi-1:1", ""}, {"scsi0", ""},   {"", ""},
      {"scsi0:1/../1", ""}};
  for (const auto& [id, device] : kDisks) EXPECT_EQ(get_disk_name(id, files), device) << id;
}

TEST(GuestDevices, InstalledMemoryIsThatOfTheBlocksElseOfTheKernel) {
  const test::TemporaryFolder host;
  const HostFiles files(host.path().string());
  EXPECT_EQ(installedMemoryMB(files), std::nullopt);
  host.write("proc/meminfo",
             "MemTotal: 2097152 kB\nMemFree: 1 kB\nBuffers: 1 kB\nCached: 1 kB\n"
             "SwapTotal: 0 kB\nSwapFree: 0 kB\nMapped: 0 kB\n");
  EXPECT_EQ(installedMemoryMB(files), 2048U);
  for (const char* name : {"memory0", "memory31", "memory32", "memory_x", "power"})
    fs::create_directories(host.path() / "sys/devices/system/memory" / name);
  for (const auto& [size, megabytes] :
       {std::pair{"8000000\n", 384U}, {"x", 2048U}, {"1", 2048U}, {"ffffffffffffffff", 2048U}}) {
    host.write("sys/devices/system/memory/block_size_bytes", size);
    EXPECT_EQ(installedMemoryMB(files), megabytes) << size;
  }
}

}  // namespace
}  // namespace brv
