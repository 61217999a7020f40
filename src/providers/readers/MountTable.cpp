// SPDX-License-Identifier: Apache-2.0
#include "providers/readers/MountTable.h"

#include <algorithm>
#include <array>

namespace brv {

namespace {

constexpr std::size_t kFields = 6;  // device, mount point, type, options and two numbers

// The byte that an escape at the beginning of `text` stands for; -1 when there is none. NUL is not
// unescaped, it would end the name.
int escapedByte(std::string_view text) {
  if (text.size() < 4 || text[0] != '\\') return -1;
  int byte = 0;
  for (const char digit : text.substr(1, 3)) {
    if (digit < '0' || digit > '7') return -1;
    byte = byte * 8 + (digit - '0');
  }
  return byte > 0 && byte <= 0xFF ? byte : -1;
}

// Writes the text without escapes to `out`, which has room for all of it; gives the place behind.
char* unescape(std::string_view text, char* out) {
  while (!text.empty()) {
    const int byte = escapedByte(text);
    *out++ = byte < 0 ? text.front() : static_cast<char>(byte);
    text.remove_prefix(byte < 0 ? 1 : 4);
  }
  return out;
}

// Appends the text with its end to `out`, which moves on behind it.
const char* store(std::string_view text, char*& out) {
  const char* begin = out;
  out = unescape(text, out);
  *out++ = '\0';
  return begin;
}

}  // namespace

MountTable readMountTable(std::string_view text, OddLines& odd) {
  MountTable table;
  // What follows a name in the text makes room for its end; only an empty device has nothing, and
  // the last line may lack its newline.
  table.storage = std::make_unique_for_overwrite<char[]>(text.size() + 1);
  char* out = table.storage.get();
  for (LineScanner lines(text); lines.next();) {
    FieldScanner fields(lines.line());
    std::array<std::string_view, kFields> field;
    std::size_t count = 0;
    while (count < kFields && !fields.atEnd()) field[count++] = fields.word();
    if (count == 0 || field[0].front() == '#') continue;
    // A mount without a device begins with the blank that follows its empty name.
    const bool noDevice = lines.line().front() == ' ' && count == kFields - 1;
    const std::size_t mountPoint = noDevice ? 0 : 1;
    if (count < mountPoint + 2) {
      odd.push_back(lines.number());
      continue;
    }
    const char* device = store(noDevice ? std::string_view() : field[0], out);
    const char* place = store(field[mountPoint], out);
    const char* type = store(field[mountPoint + 1], out);
    const std::string_view options = field[mountPoint + 2];
    table.mounts.push_back({device, place, type, {out, options.size()}});
    out = std::copy(options.begin(), options.end(), out);
  }
  return table;
}

std::string unescapedMountField(std::string_view field) {
  std::string text(field.size(), '\0');
  text.resize(static_cast<std::size_t>(unescape(field, text.data()) - text.data()));
  return text;
}

}  // namespace brv
