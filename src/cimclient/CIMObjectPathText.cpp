// SPDX-License-Identifier: Apache-2.0
#include "cimclient/CIMObjectPathText.h"

#include <algorithm>

#include "cimclient/CIMTypeNames.h"
#include "runtime/Ascii.h"

namespace brv {

namespace {

using Key = CIMObjectPathText::Key;

// What a class, a key and a namespace cannot hold, since it would end them in the text.
bool isName(std::string_view text, std::string_view forbidden) {
  return !text.empty() && text.find_first_of(forbidden) == std::string_view::npos;
}

// An integer or a decimal number with an optional exponent.
bool isNumber(std::string_view text) {
  const auto digits = [&text] {
    const std::size_t count = static_cast<std::size_t>(
        std::find_if_not(text.begin(), text.end(), isDigit) - text.begin());
    text.remove_prefix(count);
    return count != 0;
  };
  const auto skip = [&text](std::string_view any) {
    const bool there = !text.empty() && any.find(text[0]) != std::string_view::npos;
    if (there) text.remove_prefix(1);
    return there;
  };
  skip("+-");
  const bool whole = digits();
  const bool fraction = skip(".") && digits();
  if (!whole && !fraction) return false;
  if (skip("eE")) {
    skip("+-");
    if (!digits()) return false;
  }
  return text.empty();
}

bool isTruth(std::string_view text) {
  return equalsIgnoringCase(text, "TRUE") || equalsIgnoringCase(text, "FALSE");
}

void appendValue(std::string& out, const Key& key) {
  if (key.kind == Key::Kind::kNumeric && isNumber(key.value)) {
    out += key.value;
  } else if (key.kind == Key::Kind::kBoolean && isTruth(key.value)) {
    out += equalsIgnoringCase(key.value, "TRUE") ? "TRUE" : "FALSE";
  } else {
    out += '"';
    for (const char c : key.value) {
      if (c == '"' || c == '\\') out += '\\';
      out += c;
    }
    out += '"';
  }
}

// Reads the quoted or bare value at the front of `text` and takes it off.
bool readValue(std::string_view& text, Key& key) {
  if (!text.starts_with('"')) {
    const std::string_view bare = text.substr(0, text.find(','));
    text.remove_prefix(bare.size());
    key.value = bare;
    key.kind = isTruth(bare) ? Key::Kind::kBoolean : Key::Kind::kNumeric;
    return key.kind == Key::Kind::kBoolean || isNumber(bare);
  }
  for (std::size_t at = 1; at < text.size(); ++at) {
    if (text[at] == '"') {
      text.remove_prefix(at + 1);
      return true;
    }
    if (text[at] == '\\') ++at;
    if (at < text.size()) key.value += text[at];
  }
  return false;
}

}  // namespace

std::string CIMObjectPathText::toText() const {
  std::string out;
  if (!host.empty()) out += "//" + host + '/';
  out += nameSpace;
  if (!out.empty()) out += ':';
  out += className;
  char separator = '.';
  for (const Key& key : keys) {
    if (keys.size() > 1 || !key.name.empty()) {
      out += separator;
      out += key.name;
    }
    out += '=';
    appendValue(out, key);
    separator = ',';
  }
  return out;
}

std::optional<CIMObjectPathText> CIMObjectPathText::fromText(std::string_view text) {
  CIMObjectPathText path;
  if (text.starts_with("//")) {
    const std::size_t slash = text.find('/', 2);
    if (slash == std::string_view::npos || slash == 2) return std::nullopt;
    path.host = text.substr(2, slash - 2);
    text.remove_prefix(slash + 1);
  }
  // A colon behind the class belongs to a key; a dot may also stand in the namespace.
  const std::size_t colon = text.find_first_of(":=\"");
  if (colon != std::string_view::npos && text[colon] == ':') {
    path.nameSpace = text.substr(0, colon);
    text.remove_prefix(colon + 1);
  } else if (!path.host.empty()) {
    return std::nullopt;
  }
  const std::size_t end = std::min(text.find_first_of(".="), text.size());
  path.className = text.substr(0, end);
  text.remove_prefix(end);
  if (!isName(path.className, "/:,\" \"")) return std::nullopt;

  const bool unnamed = text.starts_with('=');
  for (char separator = unnamed ? '=' : '.'; !text.empty(); separator = ',') {
    if (text[0] != separator || (unnamed && !path.keys.empty())) return std::nullopt;
    text.remove_prefix(1);
    Key key;
    if (!unnamed) {
      const std::size_t equals = std::min(text.find('='), text.size());
      key.name = text.substr(0, equals);
      if (equals == text.size() || !isName(key.name, ",\"")) return std::nullopt;
      text.remove_prefix(equals + 1);
    }
    if (!readValue(text, key)) return std::nullopt;
    path.keys.push_back(std::move(key));
  }
  return path;
}

}  // namespace brv
