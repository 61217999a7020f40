// SPDX-License-Identifier: Apache-2.0
#include "cimobject/List.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace brv {
namespace {

struct Counted {
  Counted(std::string& log, char name) : m_log(log), m_name(name) {}
  ~Counted() { m_log += m_name; }
  std::string& m_log;
  char m_name;
};

TEST(ListTest, EachElementIsDeletedOnceByWhoOwnsItLast) {
  std::string log;
  {
    List<Counted> list;
    list.emplace(log, 'a');
    list.add(new Counted(log, 'b'));
    list.add(std::make_unique<Counted>(log, 'c'));
    list.add(List<Counted>::Owner());
    ASSERT_EQ(list.size(), 3U);

    List<Counted> other;
    other.emplace(log, 'd');
    other.moveAll(list);
    EXPECT_TRUE(list.empty());
    std::string order;
    for (const Counted& element : other) order += element.m_name;
    EXPECT_EQ(order, "dabc");

    const std::unique_ptr<Counted> last = other.takeLast();
    EXPECT_EQ(other.takeFirst()->m_name, 'd');
    EXPECT_EQ(log, "d");
    EXPECT_EQ(last->m_name, 'c');
    EXPECT_FALSE(List<Counted>().takeLast());
  }
  EXPECT_EQ(log.size(), 4U);
  EXPECT_EQ(log.find_first_not_of("abcd"), std::string::npos);
}

}  // namespace
}  // namespace brv
