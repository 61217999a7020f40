// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "providers/ObjectFiltersReader.h"

namespace brv {

/// The rules by which an administrator keeps file systems and disks out of every enumeration.
///
/// One rule is one line; what follows the colon are patterns of MatchString:
///
///     Filesystem: device(/dev/*) type(ext?)
///     Filesystem[-]: mount(/boot)
///
/// A file system is left out when a rule marked [-] matches it, or when there are rules and none
/// without [-] matches. So a file of [-] rules only leaves out everything. A keyword with a capital
/// letter compares with regard to case, one in lower case without.
class ObjectFilters {
 public:
  enum PropertyKey : std::uint32_t {
    kDevice = 1,
    kMount = 2,
    kType = 3,
    kNoValue = 4,    ///< a keyword without a value
    kNoKeyword = 5,  ///< none of the above; ends ALIASES
  };
  struct Alias {
    const char* keyword;
    PropertyKey key;
  };
  static const Alias ALIASES[];

  /// A rule, or the file system that rules are held against.
  class Properties {
   public:
    void Add(PropertyKey key, std::string_view value, bool ignoreCase);
    /// The first value of that key, or null.
    const char* Get(PropertyKey key) const;
    void Clear() { m_entries.clear(); }
    bool empty() const { return m_entries.empty(); }
    /// Whether every pattern of this rule matches every value of that key the candidate has. A key
    /// that the candidate lacks is not tested.
    bool Match(const Properties& candidate) const;

    bool exclusion() const { return m_exclusion; }
    void setExclusion(bool exclusion) { m_exclusion = exclusion; }

   private:
    struct Entry {
      PropertyKey key;
      bool ignoreCase;
      std::string value;
    };
    std::vector<Entry> m_entries;
    bool m_exclusion = false;
  };

  /// While one lives, a missing rule file is looked for once. Otherwise every question looks for it
  /// again, which ten thousand disks would pay for. At its end rules that have left out all there
  /// was so far are traced, once.
  class Enumeration {
   public:
    Enumeration();
    ~Enumeration();
    Enumeration(const Enumeration&) = delete;
    Enumeration& operator=(const Enumeration&) = delete;
  };

  /// Reads the process's rule file.
  ObjectFilters() : ObjectFilters(sDEFAULT_READER()) {}
  explicit ObjectFilters(ObjectFiltersReader* reader) : m_reader(reader) {}

  /// 1 when the process's rules leave the file system out, else 0. Null: not known.
  static int SkipFileSystem(const char* device, const char* mount, const char* type);
  static ObjectFiltersReader* sDEFAULT_READER();

  /// Not owned; null means no rules.
  void SetReader(ObjectFiltersReader* reader) { m_reader = reader; }
  /// Appends the rules of the reader. Faulty lines are passed over with a trace; false only when
  /// there is nothing to read.
  bool LoadFilter();
  /// Whether to keep the candidate. Loads the rules unless a load succeeded before.
  bool MatchFilter(const Properties& candidate);
  /// Takes all rules away.
  void Clear() { m_rules.clear(); }

  static void RebuildFileSystemProperties(Properties& properties, const char* device,
                                          const char* mount, const char* type);
  /// Takes one keyword(value) off the front of `text`; one character when there is no keyword, so
  /// that stray characters between items are passed over. `value` holds at most 255 bytes and is
  /// empty unless one of the three keys is returned.
  static PropertyKey ParseFileSystemObject(std::string_view& text, std::string& value,
                                           bool& ignoreCase);

 private:
  /// Whether there are rules, loaded now if need be.
  bool hasRules();
  /// False for a faulty line.
  bool parseLine(std::string_view line, int number);
  void traceEmptiness();

  bool m_loaded = false;
  bool m_missing = false;
  bool m_enumerating = false;
  bool m_toldEmptiness = false;
  bool m_leftOut = false;
  bool m_kept = false;
  std::vector<Properties> m_rules;
  ObjectFiltersReader* m_reader;
};

}  // namespace brv
