// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/vmware/VMwareGuestAPI.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <mutex>

#include "providers/CapturedTrace.h"
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
  static std::string narrow(const UcText& text) { return ucToUtf8(text); }

  const HostFiles m_files;
};

// What a getter gives, as "value" or "-" when it fails; the out-parameter must stay as it was then.
template <class T>
std::string got(VMwareGuestAPI& api, bool (VMwareGuestAPI::*getter)(T*)) {
  T value = 77;
  if ((api.*getter)(&value)) return std::to_string(value);
  return value == 77 ? "-" : "overwritten";
}

std::string allFigures(VMwareGuestAPI& a) {
  using Api = VMwareGuestAPI;
  std::string all;
  for (const auto getter :
       {&Api::getCpuLimitMHz, &Api::getCpuReservationMHz, &Api::getHostNumCpuCores,
        &Api::getHostProcessorSpeed, &Api::getMemBalloonedMB, &Api::getMemLimitMB,
        &Api::getMemMappedMB, &Api::getMemReservationMB, &Api::getMemSwappedMB, &Api::getMemUsedMB})
    all += got(a, getter) + ' ';
  for (const auto getter :
       {&Api::getCpuStolenMs, &Api::getCpuUsedMs, &Api::getHostCpuUsedMs, &Api::getHostMemPhysMB,
        &Api::getHostMemSwappedMB, &Api::getHostMemUsedMB, &Api::getSessionID})
    all += got(a, getter) + ' ';
  return all;
}

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
            "4294967295 1201 1 2295 13 14 15 16 17 18 5000000003 5000000004 5000000005 5000000007 "
            "5000000008 5000000009 4004861987670969122 ");
  EXPECT_EQ(api.getMaxCPUCount(), 1U);
}

TEST_F(VMwareGuestAPITest, AFailingFunctionCostsItsOwnFigure) {
  VMwareGuestAPI api(m_files, libraries());
  ASSERT_TRUE(api.initialize());
  behave("GUEST_FAILS", "all");
  test::CapturedTrace trace(trace::kWarning);
  EXPECT_FALSE(api.updateInfo());
  EXPECT_EQ(narrow(api.getLastErrorInfo()), "error 3");
  EXPECT_EQ(api.lastUpdate().tv_sec, 0);
  EXPECT_EQ(allFigures(api), "- - - - - - - - - - - - - - - - - ");
  EXPECT_GE(api.getMaxCPUCount(), 1U);
  EXPECT_THAT(trace.take(), AllOf(HasSubstr("VMware Guest API: UpdateInfo failed: error 3\n"),
                                  HasSubstr("VMware Guest API: GetSessionID failed: error 4\n"),
                                  HasSubstr("VMware Guest API: GetMemUsedMB failed: error 4\n")));
}

TEST_F(VMwareGuestAPITest, BoundsTheErrorText) {
  VMwareGuestAPI api(m_files, libraries());
  ASSERT_TRUE(api.initialize());
  behave("GUEST_FAILS", "UpdateInfo");
  EXPECT_FALSE(api.updateInfo());
  for (const auto& [words, text] : {std::pair{std::string(9000, 'x'), std::string(255, 'x')},
                                    {"none", ""},
                                    {"no \xff", ""},
                                    {"\xc3\xbc %n%s", "\xc3\xbc %n%s"}}) {
    behave("GUEST_ERROR", words);
    test::CapturedTrace trace(trace::kError);
    EXPECT_EQ(narrow(api.getLastErrorInfo()), text);
    EXPECT_EQ(trace.take().find("Failed to convert 'no \xff' to BRV_UC") != std::string::npos,
              words.starts_with("no \xff"));
  }
}

TEST_F(VMwareGuestAPITest, OptionalFunctionsMayBeMissing) {
  VMwareGuestAPI api(m_files, libraries(GUEST_LIBRARY_BARE));
  test::CapturedTrace trace(trace::kWarning);
  ASSERT_TRUE(api.initialize());
  EXPECT_TRUE(api.updateInfo());
  EXPECT_EQ(allFigures(api), "- - - - - - - - - - - - - - - - 4004861987670969122 ");
  EXPECT_FALSE(api.readVMwareStatAPI());
  EXPECT_EQ(narrow(api.getLastErrorInfo()), "error 8");
  EXPECT_THAT(trace.take(),
              AllOf(HasSubstr("Failed to load function VMGuestLib_GetHostMemPhysFreeMB\n"),
                    HasSubstr("VMware Guest API: GetHostMemPhysMB is not loaded\n"),
                    HasSubstr("VMware Guest API: StatGet is not loaded\n")));
}

TEST_F(VMwareGuestAPITest, AnUnusableLibraryIsLeftAlone) {
  const struct {
    const char* library;
    const char* fails;
    const char* message;
  } kCases[] = {
      {GUEST_LIBRARY, "OpenHandle", "VMware Guest API: failed to open handle: error 2\n"},
      {GUEST_LIBRARY_BROKEN, "", "Failed to load context function VMGuestLib_OpenHandle\n"},
      {"libno-such-library.so", "",
       "Failed to load VMware Guest library: /nonexistent/libvmGuestLib.so or /dev/null\n"},
  };
  for (const auto& [library, fails, message] : kCases) {
    behave("GUEST_FAILS", fails);
    VMwareGuestAPI api(m_files, libraries(library));
    test::CapturedTrace trace(trace::kWarning);
    EXPECT_FALSE(api.initialize());
    EXPECT_THAT(trace.take(), HasSubstr(message));
    EXPECT_EQ(allFigures(api), "- - - - - - - - - - - - - - - - - ");
    EXPECT_FALSE(api.readVMwareStatAPI());
    EXPECT_TRUE(api.getLastErrorInfo().empty());
    behave("GUEST_FAILS", "");
    EXPECT_EQ(api.initialize(), library == std::string_view(GUEST_LIBRARY)) << "a later attempt";
  }
}

TEST_F(VMwareGuestAPITest, NothingIsLoadedBelowAHostRoot) {
  const test::TemporaryFolder host;
  const HostFiles files(host.path().string());
  VMwareGuestAPI api(files, {GUEST_LIBRARY, GUEST_LIBRARY, GUEST_LIBRARY});
  test::CapturedTrace trace(trace::kWarning);
  EXPECT_FALSE(api.initialize());
  EXPECT_THAT(trace.take(), HasSubstr("Failed to load VMware Guest library: "));
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
  const auto answer = [&](const char* category, const std::string& metrics) {
    answers.write(category, "<metrics>" + metrics + "</metrics>");
  };
  behave("GUEST_STATISTICS", answers.path().string());
  answer("session",
         R"(<metric name="uptime" type="uint64" units="us">1036293956</metric>
            <metric name="version">Acme Hypervisor 7.1</metric>
            <metric name="vm.cpu.contention.cpu" units="us">4500</metric>
            <metric name="guest.mem.swapOut" units="bytes">8192</metric>)");
  answer("resources", R"(<metric name="limit">-1</metric><metric name="reservation">0</metric>)");
  answer("listing", R"(<metric name="session"/><metric name="vscsi scsi0:0"/>
                       <metric name="vscsi scsi0:1"/><metric name="vnet 00:0c:29:11:22:33"/>)");
  answer("vscsi scsi0:1", R"(<metric name="num.reads">7</metric>
                             <metric name="latency.writes" units="us">12999</metric>)");
  answer("vnet 00:0c:29:11:22:33", R"(<metric name="size.tx" units="KB">3</metric>
                                      <metric name="size.rx" units="bytes">5</metric>)");
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
  using testing::Optional;
  EXPECT_THAT(all.uptime, Optional(1036U));
  EXPECT_EQ(api.getProductVersion(), "Acme Hypervisor 7.1");
  EXPECT_THAT(all.cpuContention, Optional(4U));
  EXPECT_THAT(all.kilobytesSwappedOut, Optional(8U));
  EXPECT_EQ(all.hostCores, std::nullopt);
  EXPECT_THAT(all.limit, Optional(VMwareStatistics::kUnlimited));
  EXPECT_THAT(all.reservation, Optional(0U));
  ASSERT_EQ(all.disks.size(), 2U);
  EXPECT_EQ(all.disks[0].reads, std::nullopt);
  EXPECT_THAT(all.disks[1].reads, Optional(7U));
  EXPECT_THAT(all.disks[1].writeTime, Optional(12U));
  ASSERT_EQ(all.cards.size(), 1U);
  EXPECT_THAT(all.cards[0].bytesTransmitted, Optional(3072U));
  EXPECT_THAT(all.cards[0].bytesReceived, Optional(5U));

  behave("GUEST_SIZE", "18446744073709551615");
  ASSERT_TRUE(api.readVMwareStatAPI());
  EXPECT_TRUE(api.statistics().disks.empty() && api.getProductVersion().empty());
}

// By the dynamic loader's own search, which is fixed when a process starts.
TEST(GuestLibrarySearch, FindsALibraryOnTheLoadersPath) {
  const fs::path folder = fs::path(GUEST_LIBRARY).parent_path();
  const auto probed = test::runProgram(
      {.program = GUEST_PROBE, .environment = {"LD_LIBRARY_PATH=" + folder.string()}});
  EXPECT_EQ(probed.status, 0) << probed.error;
  EXPECT_EQ(probed.output, std::string(GUEST_LIBRARY) + "\n");
}

// The real library, where a package has brought it, says on any other host that it is no such
// guest.
TEST(GuestLibrarySearch, TheRealLibraryRefusesThisHost) {
  const fs::path real = "/usr/lib/x86_64-linux-gnu/libguestlib.so.0";
  if (!fs::exists(real)) GTEST_SKIP() << real << " is not installed";
  const test::TemporaryFolder folder;
  fs::create_symlink(real, folder.path() / "libvmGuestLib.so");
  const auto probed = test::runProgram(
      {.program = GUEST_PROBE, .environment = {"LD_LIBRARY_PATH=" + folder.path().string()}});
  EXPECT_EQ(probed.status, 1) << probed.error;
  EXPECT_EQ(probed.output, "\n");
  EXPECT_THAT(probed.error, HasSubstr("VMware Guest API: failed to open handle: "));
}

}  // namespace
}  // namespace brv
