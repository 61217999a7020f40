// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Provider.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_ProviderManager.h"
#include "support/RunProgram.h"

namespace brv {
namespace {

constexpr const char* kClasses[] = {"Some_Class", nullptr};

class ProviderTest : public testing::Test {
 protected:
  CmpiBroker_ProviderManager m_manager{nullptr};
  CmpiBroker_Broker m_broker{m_manager};
};

std::string whatIsThrown(const std::function<void()>& code) {
  try {
    code();
  } catch (const CmpiBroker_Exception& exception) {
    return exception.what();
  }
  return "(nothing)";
}

TEST_F(ProviderTest, RowsAreChecked) {
  const auto row = [](const char* name, const char* module, std::uint32_t type) {
    return CmpiBroker_ProviderInfo{kClasses, "root/x", name, module, type, {}, {}, {}};
  };
  const struct {
    CmpiBroker_ProviderInfo row;
    const char* message;
  } kCases[] = {
      {row("P", "m", 2), "(nothing)"},
      {row("P", "m", 8), "(nothing)"},
      {row(nullptr, "m", 2), "Invalid provider data: missing provider name"},
      {row("P", nullptr, 2), "P: invalid provider data: missing module info"},
      {row("P", "m", 0), "P: Unsupported provider type"},
      {row("P", "m", 0x11), "P: Unsupported provider type"},
  };
  for (const auto& c : kCases)
    EXPECT_EQ(whatIsThrown([&] { CmpiBroker_Provider provider(&c.row, m_broker); }), c.message);
  EXPECT_EQ(whatIsThrown([&] { CmpiBroker_Provider provider(nullptr, m_broker); }),
            "Invalid provider data");
}

TEST_F(ProviderTest, TheSearchPathBeginsWithTheEnvironments) {
  const std::string usual =
      "/usr/local/lib64/sfcb:/usr/local/lib64:/usr/local/lib64/cmpi:/usr/lib64/sfcb:/usr/lib64:"
      "/usr/lib64/cmpi:/usr/local/lib/sfcb:/usr/local/lib:/usr/local/lib/cmpi:/usr/lib/sfcb:"
      "/usr/lib:/usr/lib/cmpi";
  ::unsetenv("LD_LIBRARY_PATH");
  EXPECT_EQ(CmpiBroker_Provider::buildLibrarySearchPath(), usual);
  ::setenv("LD_LIBRARY_PATH", "", 1);
  EXPECT_EQ(CmpiBroker_Provider::buildLibrarySearchPath(), usual);
  ::setenv("LD_LIBRARY_PATH", "/a:/b", 1);
  EXPECT_EQ(CmpiBroker_Provider::buildLibrarySearchPath(), "/a:/b:" + usual);
  ::unsetenv("LD_LIBRARY_PATH");
}

TEST_F(ProviderTest, StatusAndLibraryFollowLoadAndUnload) {
  using Provider = CmpiBroker_Provider;
  const char* const good = "Provider loaded successfully";
  const struct {
    const char* name;
    const char* behaviour;
    Provider::Status loaded;
    const char* details;
    bool openAfterLoad;
    bool openInTheEnd;
    Provider::Status unloaded;
  } kCases[] = {
      {"OSBase_NFSProvider", "serve", Provider::kLoaded, good, true, false, Provider::kUnloaded},
      {"OSBase_NFSProvider", "refuse", Provider::kNotSupported, "not this host", false, false,
       Provider::kNotSupported},
      {"OSBase_NFSProvider", "fail", Provider::kFailed, "no luck", true, false,
       Provider::kUnloaded},
      // Its threads may still run: the library stays.
      {"OSBase_NFSProvider", "stay", Provider::kLoaded, good, true, true, Provider::kUnloaded},
      {"OSBase_ProcessorProvider", "serve", Provider::kLoaded, good, true, true, Provider::kLoaded},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(std::string(c.name) + " " + c.behaviour);
    const test::TemporaryFolder folder;
    const std::string module = std::string("cmpi") + c.name;
    const std::string file = folder.path() / ("lib" + module + ".so");
    std::filesystem::copy_file(PROVIDERS_BEHAVIOUR, file);
    ::setenv("LD_LIBRARY_PATH", folder.path().c_str(), 1);
    ::setenv(c.name, c.behaviour, 1);
    const CmpiBroker_ProviderInfo row{kClasses, "root/x", c.name, module.c_str(), 2, {}, {}, {}};
    const auto isOpen = [&file] {
      void* const handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
      if (handle != nullptr) ::dlclose(handle);
      return handle != nullptr;
    };
    auto provider = std::make_unique<CmpiBroker_Provider>(&row, m_broker);
    EXPECT_EQ(provider->status(), CmpiBroker_Provider::kUnloaded);
    EXPECT_EQ(provider->getStatusDetails(), "Provider unloaded");
    const char* const thrown = c.loaded == Provider::kLoaded ? "(nothing)" : c.details;
    testing::internal::CaptureStderr();
    EXPECT_EQ(whatIsThrown([&] { provider->load(); }),
              c.loaded == Provider::kNotSupported ? "(nothing)" : thrown);
    EXPECT_EQ(provider->status(), c.loaded);
    EXPECT_EQ(provider->getStatusDetails(), c.details);
    EXPECT_EQ(whatIsThrown([&] { provider->throwError(); }), thrown);
    EXPECT_EQ(isOpen(), c.openAfterLoad);
    EXPECT_EQ(provider->libraryPath(), c.openAfterLoad ? file : "");

    provider->unload();
    EXPECT_EQ(provider->status(), c.unloaded);
    EXPECT_EQ(isOpen(), c.openInTheEnd);
    if (c.loaded == Provider::kLoaded) {
      EXPECT_EQ(whatIsThrown([&] { provider->load(); }), "(nothing)");
      EXPECT_EQ(provider->status(), c.loaded);
    }
    provider.reset();
    EXPECT_EQ(isOpen(), c.openInTheEnd);
    testing::internal::GetCapturedStderr();
    ::unsetenv("LD_LIBRARY_PATH");
  }
}

}  // namespace
}  // namespace brv
