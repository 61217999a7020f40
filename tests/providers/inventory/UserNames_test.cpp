// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/UserNames.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <stdexcept>

#include "runtime/Descriptor.h"
#include "support/RunProgram.h"

namespace brv {
namespace {

constexpr std::chrono::seconds kLong{30};

// Answers with its own count of questions, so that an answer from memory shows.
class Directory : public NameService {
 public:
  std::string canonicalName(const std::string&) override { return ""; }
  std::string addressName(const std::string&) override { return ""; }
  std::string userName(uid_t user) override {
    ++m_asked;
    switch (user) {
      case 404:
        return "";
      case 500:
        throw std::runtime_error("down");
      case 501:
        return std::string(5'000, 'x');
      case 502:
        ::_exit(1);
      case 503:
        for (;;) ::pause();
      default:
        return "user" + std::to_string(user) + '.' + std::to_string(m_asked);
    }
  }

 private:
  int m_asked = 0;
};

class UserNamesTest : public testing::Test {
 protected:
  UserNamesTest() {
    m_folder.write("etc/passwd", "root:x:0:0::/:\n+\nbroken\nann:x:7:7::/:\nother:x:7:7::/:\n");
  }
  // On a busy machine a killed child may end a moment later.
  ~UserNamesTest() override {
    int tries = 0;
    while (::waitpid(-1, nullptr, WNOHANG) >= 0 && ++tries < 5'000) ::usleep(1'000);
    EXPECT_LT(tries, 5'000) << "a child is left";
  }

  test::TemporaryFolder m_folder;
  HostFiles m_files{m_folder.path()};
  Directory m_directory;
};

TEST_F(UserNamesTest, TheFileComesFirstAndAnswersAreRemembered) {
  UserNames names(m_files, &m_directory, kLong);
  const std::pair<std::uint32_t, const char*> kCases[] = {
      {0, "root"},    {7, "ann"}, {8, "user8.1"}, {404, ""},  {500, ""},
      {8, "user8.1"}, {501, ""},  {404, ""},      {7, "ann"}, {4294967295U, "user4294967295.5"}};
  for (const auto& [user, name] : kCases) EXPECT_EQ(names.find(user), name) << user;

  UserNames alone(m_files, nullptr);
  EXPECT_EQ(alone.find(7), "ann");
  EXPECT_EQ(alone.find(8), "");
  UserNames noFile(HostFiles("/nowhere"), &m_directory, kLong);
  EXPECT_EQ(noFile.find(0), "user0.1");
}

TEST_F(UserNamesTest, AServiceThatFailsIsAskedNoMore) {
  for (const std::uint32_t fatal : {502U, 503U}) {
    UserNames names(m_files, &m_directory, fatal == 502 ? kLong : std::chrono::milliseconds(150));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(names.find(8), "user8.1");
    EXPECT_EQ(names.find(fatal), "");
    EXPECT_EQ(names.find(9), "");
    EXPECT_EQ(names.find(8), "user8.1");
    EXPECT_EQ(names.find(7), "ann");
    EXPECT_LT(std::chrono::steady_clock::now() - start, kLong / 2);
  }
}

// Whoever reads the output of a program waits until nobody can write to it any more.
TEST_F(UserNamesTest, TheChildHoldsNoPipeOpen) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  const Descriptor reader(ends[0]);
  Descriptor writer(ends[1]);
  UserNames names(m_files, &m_directory, kLong);
  EXPECT_EQ(names.find(8), "user8.1");
  writer.close();
  char byte = 0;
  ASSERT_EQ(::fcntl(reader.get(), F_SETFL, O_NONBLOCK), 0);
  EXPECT_EQ(::read(reader.get(), &byte, 1), 0);
}

}  // namespace
}  // namespace brv
