// SPDX-License-Identifier: Apache-2.0
#include "runtime/LibraryLoader.h"

#include <gtest/gtest.h>

#include <string>

#include "support/RunProgram.h"

namespace brv {
namespace {

TEST(LibraryLoader, AnswersWithACodeAndTracesTheReason) {
  const test::TemporaryFolder folder;
  const std::string noLibrary = folder.write("libno.so", "no library");
  void* handle = nullptr;
  void* address = nullptr;

  testing::internal::CaptureStderr();
  EXPECT_EQ(LibraryLoader::open(noLibrary, handle), LibraryLoader::kOpenFailed);
  EXPECT_EQ(handle, nullptr);
  EXPECT_NE(testing::internal::GetCapturedStderr().find(noLibrary), std::string::npos);

  ASSERT_EQ(LibraryLoader::open("libm.so.6", handle), LibraryLoader::kOk);
  EXPECT_EQ(LibraryLoader::symbol(handle, "cos", address), LibraryLoader::kOk);
  EXPECT_NE(address, nullptr);
  address = nullptr;
  testing::internal::CaptureStderr();
  EXPECT_EQ(LibraryLoader::symbol(handle, "no_such_symbol", address),
            LibraryLoader::kSymbolMissing);
  EXPECT_EQ(address, nullptr);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("no_such_symbol"), std::string::npos);
  EXPECT_EQ(LibraryLoader::close(handle), LibraryLoader::kOk);
}

}  // namespace
}  // namespace brv
