// SPDX-License-Identifier: Apache-2.0
// Which standard headers bring which others differs from one release of a C++ library to the next:
// a file that lives on what another header happens to include builds on one of them only.
#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

using Names = std::set<std::string, std::less<>>;

struct Header {
  // The first one is what a file is told to include, the others do as well.
  std::string_view names;
  // Names below std::, and after "|" those without it. One of a family stands for all of it.
  std::string_view declares;
};

// What libraries have stopped to bring along, or may. Left out is what every library must have in
// each header that has use for it: std::size_t, std::move, std::pair.
constexpr Header kHeaders[] = {
    {"algorithm",
     "ranges adjacent_find all_of any_of binary_search clamp copy copy_if copy_n count count_if "
     "equal equal_range fill fill_n find find_if find_if_not for_each generate includes is_sorted "
     "lower_bound max max_element min min_element minmax mismatch none_of nth_element partition "
     "remove_if replace reverse rotate search sort stable_sort transform unique upper_bound"},
    {"array", "array to_array"},
    {"atomic", "atomic"},
    {"bit", "bit_cast bit_ceil bit_floor bit_width countl_zero countr_zero endian popcount"},
    {"cerrno errno.h", "|errno"},
    {"charconv", "chars_format from_chars to_chars"},
    {"chrono", "chrono"},
    {"climits limits.h", "|CHAR_BIT INT_MAX INT_MIN IOV_MAX LONG_MAX LONG_MIN PATH_MAX UINT_MAX"},
    {"cmath math.h", "ceil fabs floor fmod isfinite isinf isnan lround llround pow round trunc"},
    {"csignal signal.h", "raise sig_atomic_t signal"},
    {"cstdarg stdarg.h", "va_list |va_list va_start va_end va_copy va_arg"},
    {"cstddef stddef.h", "byte max_align_t nullptr_t ptrdiff_t |offsetof ptrdiff_t"},
    {"cstdint stdint.h inttypes.h", "|uint32_t"},
    {"cstdio stdio.h",
     "FILE fclose fflush fopen fprintf fputs fread fwrite printf puts snprintf vsnprintf "
     "|FILE stderr stdin stdout"},
    {"cstdlib stdlib.h",
     "abort atexit calloc exit free getenv malloc quick_exit realloc strtol strtoll strtoul "
     "strtoull strtod"},
    {"cstring string.h",
     "memchr memcmp memcpy memmove memset strchr strcmp strerror strlen strncmp strrchr strstr"},
    {"exception stdexcept",
     "current_exception exception exception_ptr rethrow_exception terminate"},
    {"filesystem", "filesystem"},
    {"fstream", "fstream ifstream ofstream"},
    {"functional", "bind equal_to function greater hash invoke less plus ref"},
    {"initializer_list", "initializer_list"},
    {"iterator",
     "advance back_inserter distance inserter istreambuf_iterator make_move_iterator next prev "
     "ssize"},
    {"limits", "numeric_limits"},
    {"map", "map multimap"},
    {"memory",
     "addressof construct_at destroy_at make_shared make_unique shared_ptr unique_ptr weak_ptr"},
    {"mutex", "call_once lock_guard mutex once_flag scoped_lock unique_lock"},
    {"new", "align_val_t bad_alloc launder nothrow"},
    {"numeric", "accumulate gcd iota lcm reduce"},
    {"optional", "nullopt optional"},
    {"set", "multiset set"},
    {"span", "as_bytes as_writable_bytes span"},
    {"sstream", "istringstream ostringstream stringstream"},
    {"stdexcept",
     "domain_error invalid_argument length_error logic_error out_of_range runtime_error"},
    {"string", "stoi stoul stoull string to_string"},
    {"string_view string", "string_view"},
    {"thread", "jthread thread this_thread"},
    {"tuple map functional", "make_tuple tie tuple"},
    {"type_traits",
     "common_type_t conditional_t decay_t enable_if_t invoke_result_t is_same is_same_v "
     "is_signed_v is_unsigned_v make_signed_t make_unsigned_t remove_cvref_t remove_reference_t "
     "underlying_type_t"},
    {"unordered_map", "unordered_map"},
    {"unordered_set", "unordered_set"},
    {"utility", "as_const cmp_greater cmp_less declval exchange in_range index_sequence"},
    {"variant", "get_if holds_alternative monostate variant visit"},
    {"vector", "vector"},
};

std::vector<std::string> words(std::string_view text) {
  std::istringstream in{std::string(text)};
  return {std::istream_iterator<std::string>(in), {}};
}

// A name as written in a program ("std::vector", "errno") with the row that declares it.
std::map<std::string, const Header*, std::less<>> declarations() {
  std::map<std::string, const Header*, std::less<>> all;
  for (const Header& header : kHeaders) {
    const std::size_t bar = header.declares.find('|');
    for (const auto& name : words(header.declares.substr(0, bar))) all["std::" + name] = &header;
    if (bar == std::string_view::npos) continue;
    for (const auto& name : words(header.declares.substr(bar + 1))) all[name] = &header;
  }
  return all;
}

// uint32_t, int_fast8_t, uintptr_t and their like.
bool isFixedWidth(std::string_view name) {
  if (name.starts_with("std::")) name.remove_prefix(5);
  if (name.starts_with('u')) name.remove_prefix(1);
  if (!name.starts_with("int") || !name.ends_with("_t")) return false;
  name = name.substr(3, name.size() - 5);
  for (const std::string_view kind : {"_fast", "_least"})
    if (name.starts_with(kind)) name.remove_prefix(kind.size());
  return name == "8" || name == "16" || name == "32" || name == "64" || name == "ptr" ||
         name == "max";
}

const Header* declaring(std::string_view name) {
  static const auto all = declarations();
  const auto found = all.find(isFixedWidth(name)                 ? "uint32_t"
                              : name.starts_with("std::atomic_") ? "std::atomic"
                                                                 : name);
  return found == all.end() ? nullptr : found->second;
}

bool isPartOfName(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

// Where the text, comment or character literal that starts at `at` ends; `at` when none does.
std::size_t pastNoCode(std::string_view code, std::size_t at) {
  const auto past = [&](std::string_view end, std::size_t from) {
    const std::size_t found = code.find(end, from);
    return found == std::string_view::npos ? code.size() : found + end.size();
  };
  const std::string_view rest = code.substr(at);
  if (rest.starts_with("//")) return past("\n", at);
  if (rest.starts_with("/*")) return past("*/", at + 2);
  if (rest.starts_with("R\"")) {
    const std::string_view mark = rest.substr(2, rest.find('(') - 2);
    return past(')' + std::string(mark) + '"', at);
  }
  if (rest.front() != '"' && rest.front() != '\'') return at;
  for (std::size_t i = at + 1; i < code.size(); ++i) {
    if (code[i] == '\\')
      ++i;
    else if (code[i] == code[at])
      return i + 1;
  }
  return code.size();
}

// The names of a program: "std::" with the next one, others alone. 1'000 is no name.
Names namesIn(std::string_view code) {
  Names names;
  std::size_t i = 0;
  while (i < code.size()) {
    if (const std::size_t past = pastNoCode(code, i); past != i) {
      i = past;
      continue;
    }
    const std::size_t start = i;
    const bool number = std::isdigit(static_cast<unsigned char>(code[i]));
    while (i < code.size() && (isPartOfName(code[i]) || (number && code[i] == '\''))) ++i;
    if (code.substr(start, i - start) == "std" && code.substr(i, 2) == "::")
      for (i += 2; i < code.size() && isPartOfName(code[i]);) ++i;
    if (i == start)
      ++i;
    else if (!number)
      names.emplace(code.substr(start, i - start));
  }
  return names;
}

struct File {
  std::string code;
  Names standard;  // <...>
  Names own;       // "..."
};

File parse(std::istream& in) {
  File file;
  for (std::string line; std::getline(in, line);) {
    constexpr std::string_view kInclude = "#include ";
    if (!line.starts_with(kInclude)) {
      file.code += line + '\n';
      continue;
    }
    const std::string_view rest = std::string_view(line).substr(kInclude.size());
    const std::string_view name = rest.substr(1, rest.find_last_of(">\"") - 1);
    (rest.front() == '<' ? file.standard : file.own).emplace(name);
  }
  return file;
}

// "std::uint32_t wants <cstdint>", a line each.
std::vector<std::string> missing(const File& file) {
  std::vector<std::string> result;
  std::map<const Header*, std::string> used;
  for (const std::string& name : namesIn(file.code))
    if (const Header* header = declaring(name)) used.emplace(header, name);
  for (const auto& [header, name] : used) {
    const std::vector<std::string> names = words(header->names);
    bool included = false;
    for (const std::string& one : names) included |= file.standard.contains(one);
    if (!included) result.push_back(name + " wants <" + names.front() + '>');
  }
  return result;
}

// The header that the file is the body or the test of: the two change together, so what that one
// includes counts for both.
std::optional<fs::path> ownHeader(const fs::path& path, const File& file) {
  std::string stem = path.stem().string();
  if (stem.ends_with("_test")) stem.resize(stem.size() - 5);
  for (const fs::path header : file.own)
    if (header.stem() == stem)
      for (const std::string_view root : {"src", "tests"})
        if (fs::exists(fs::path(BRV_HOUSE) / root / header))
          return fs::path(BRV_HOUSE) / root / header;
  return std::nullopt;
}

TEST(StandardHeaders, EachFileIncludesWhatItUses) {
  int files = 0;
  for (const std::string_view root : {"src", "tests", "bench", "fuzz", "examples"})
    for (const auto& entry : fs::recursive_directory_iterator(fs::path(BRV_HOUSE) / root)) {
      const std::string extension = entry.path().extension().string();
      if (extension != ".h" && extension != ".cpp" && extension != ".c") continue;
      ++files;
      std::ifstream source(entry.path());
      File file = parse(source);
      if (const auto header = ownHeader(entry.path(), file)) {
        std::ifstream in(*header);
        file.standard.merge(parse(in).standard);
      }
      for (const std::string& what : missing(file))
        ADD_FAILURE() << fs::relative(entry.path(), BRV_HOUSE).string() << ": " << what;
    }
  EXPECT_GT(files, 300);
}

TEST(StandardHeaders, NamesAndTheirHeaders) {
  const struct {
    std::string_view source;
    std::vector<std::string> missing;
  } kCases[] = {
      {"std::uint32_t a;\n", {"std::uint32_t wants <cstdint>"}},
      {"uint8_t a;\nuintptr_t b;\n", {"uint8_t wants <cstdint>"}},
      {"int_least16_t a;\n", {"int_least16_t wants <cstdint>"}},
      {"#include <stdint.h>\nuint8_t a;\n", {}},
      {"size_t interval_t; int print8_t;\n", {}},
      {"#include <vector>\nstd::vector<std::string> a;\n", {"std::string wants <string>"}},
      {"#include \"string\"\nstd::string a;\n", {"std::string wants <string>"}},
      {"#include <string>\nstd::string_view a;\n", {}},
      {"std::ranges::sort(a);\nb.find(c);\n", {"std::ranges wants <algorithm>"}},
      {"std::atomic_flag a;\n", {"std::atomic_flag wants <atomic>"}},
      {"// std::map\n/* std::set */ auto a = \"std::span \\\" errno\";\n", {}},
      {"char a = '\"'; int n = 1'000; if (errno) b('\\'');\n", {"errno wants <cerrno>"}},
      {"auto a = R\"x(\" std::map )x\"; std::set<int> b;\n", {"std::set wants <set>"}},
      {"errnot(); my::string a;\n", {}},
  };
  for (const auto& row : kCases) {
    std::istringstream in{std::string(row.source)};
    EXPECT_EQ(missing(parse(in)), row.missing) << row.source;
  }
}

}  // namespace
