// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cmpi/CmpiObjects.h"
#include "providers/readers/ValueText.h"

namespace brv {

/// Sets the properties of an instance by the rules of the inventory: in the order of the calls, and
/// what is not known is absent instead of empty or 0. In classes of many instances an absent
/// property is a NULL of its type, so that the columns of a table stand; in those of one instance
/// it is left out.
class PropertyWriter {
 public:
  enum class Absent : std::uint8_t { kLeftOut, kNull };

  explicit PropertyWriter(Absent absent) : m_absent(absent) {}

  /// From now on the properties of this instance are set.
  void begin(const CmpiInstance& instance) { m_instance = instance; }
  CmpiInstance& instance() { return *m_instance; }

  /// For keys and names that join with others or with the metrics (cleanName()). Empty: absent.
  void name(const char* property, std::string_view text);
  /// For other texts (cleanText()). Nothing left: absent.
  void text(const char* property, std::string_view text, std::size_t limit = kLongestText);
  template <class Number>
  void number(const char* property, const std::optional<Number>& value) {
    if (value)
      m_instance->setProperty(property, CmpiData(*value));
    else
      absent(property, CmpiData(Number{}).type());
  }
  void boolean(const char* property, std::optional<bool> value);
  /// Microseconds since the epoch. After the year 9999: absent.
  void moment(const char* property, std::optional<std::int64_t> microseconds);
  /// uint16[]. No elements: absent.
  void numbers(const char* property, std::span<const std::uint16_t> values);
  /// string[], each cleaned; elements may be empty. No elements: absent.
  void texts(const char* property, std::span<const std::string_view> values);
  void texts(const char* property, const std::vector<std::string>& values);
  /// string[] of names that join with others, with "," for ";", which joins elements.
  void names(const char* property, const std::vector<std::string>& values);

 private:
  void absent(const char* property, CMPIType type);
  void set(const char* property, std::string_view clean);

  const Absent m_absent;
  std::optional<CmpiInstance> m_instance;
  std::string m_clean;
  std::string m_text;  // with its end
};

/// Microseconds from whole seconds, where they fit into the 63 bits of a moment.
std::optional<std::int64_t> momentOfSeconds(std::optional<std::uint64_t> seconds);

}  // namespace brv
