// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/MountOptions.h"

#include <algorithm>
#include <limits>

#include "providers/inventory/readers/FieldText.h"

namespace brv {

namespace {

enum class Kind { kLocal, kMemory, kNfs, kSmb, kOtherRemote };

Kind kindOf(std::string_view type) {
  static constexpr struct {
    std::string_view type;
    Kind kind;
  } kKinds[] = {{"nfs", Kind::kNfs},
                {"nfs4", Kind::kNfs},
                {"cifs", Kind::kSmb},
                {"smb3", Kind::kSmb},
                {"smbfs", Kind::kSmb},
                {"ceph", Kind::kOtherRemote},
                {"glusterfs", Kind::kOtherRemote},
                {"fuse.glusterfs", Kind::kOtherRemote},
                {"fuse.sshfs", Kind::kOtherRemote},
                {"lustre", Kind::kOtherRemote},
                {"beegfs", Kind::kOtherRemote},
                {"tmpfs", Kind::kMemory},
                {"ramfs", Kind::kMemory}};
  for (const auto& known : kKinds)
    if (known.type == type) return known.kind;
  return Kind::kLocal;
}

// How long the first option is: up to the comma that ends it. A quotation mark without a partner
// is a character like any other; `quotes` says whether there may be a pair of them ahead, so that
// the search for the partner does not go over the text again and again.
std::size_t optionSize(std::string_view options, bool& quotes) {
  std::size_t at = 0;
  while (at < options.size() && options[at] != ',') {
    if (options[at] == '"' && quotes) {
      const std::size_t partner = options.find('"', at + 1);
      quotes = partner != std::string_view::npos;
      if (quotes) at = partner;
    }
    ++at;
  }
  return at;
}

std::size_t count(std::string_view text, char c) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), c));
}

bool isSecret(std::string_view name) {
  for (const std::string_view secret : {"password", "password2", "pass", "secret", "credentials"})
    if (equalsIgnoringCase(name, secret)) return true;
  return false;
}

// Where the "=" of a secret stands, npos without one. Quotation marks of two options may look like
// a pair around what lies between them.
std::size_t findSecret(std::string_view option) {
  for (std::size_t at = 0; at < option.size();) {
    const std::size_t end = std::min(option.find(',', at), option.size());
    const std::string_view part = option.substr(at, end - at);
    const std::size_t equals = part.find('=');
    if (equals != std::string_view::npos && isSecret(trimmed(part.substr(0, equals))))
      return at + equals;
    at = end + 1;
  }
  return std::string_view::npos;
}

template <class Number>
void setNumber(std::optional<Number>& out, std::string_view text) {
  out.reset();
  if (const auto number = numberUpTo(std::numeric_limits<Number>::max(), text))
    out = static_cast<Number>(*number);
}

void setNfsOption(MountOptions& out, std::string_view name, std::string_view value) {
  if (name == "hard")
    out.hard = true;
  else if (name == "soft" || name == "softerr")
    out.hard = false;
  else if (name == "timeo")
    setNumber(out.timeout, value);
  else if (name == "retrans")
    setNumber(out.retransmissions, value);
  else if (name == "port")
    setNumber(out.port, value);
}

void setNetworkOption(MountOptions& out, std::string_view name, std::string_view value) {
  if (name == "rsize")
    setNumber(out.readSize, value);
  else if (name == "wsize")
    setNumber(out.writeSize, value);
  else if (name == "vers")
    out.version = value;
}

}  // namespace

Persistence persistenceOf(std::string_view fileSystemType) {
  switch (kindOf(fileSystemType)) {
    case Kind::kLocal:
      return Persistence::kPersistent;
    case Kind::kMemory:
      return Persistence::kTemporary;
    case Kind::kNfs:
    case Kind::kSmb:
    case Kind::kOtherRemote:
      break;
  }
  return Persistence::kExternal;
}

MountOptions readMountOptions(std::string_view options, std::string_view fileSystemType) {
  MountOptions out;
  const Kind kind = kindOf(fileSystemType);
  bool quotes = true;
  while (!options.empty()) {
    const std::size_t size = optionSize(options, quotes);
    std::string_view value = options.substr(0, size);
    options.remove_prefix(size == options.size() ? size : size + 1);
    const std::string_view name = cutField(value, '=');
    if (name == "ro") out.readOnly = true;
    if (name == "rw") out.readOnly = false;
    if (kind == Kind::kNfs) setNfsOption(out, name, value);
    if (kind == Kind::kNfs || kind == Kind::kSmb) setNetworkOption(out, name, value);
  }
  if (out.port == 0U) out.port.reset();
  return out;
}

std::string withoutSecrets(std::string_view options) {
  std::string out;
  out.reserve(options.size());
  // A mark pairs with the next one, wherever that is: the one without a partner is the last.
  const bool unbalanced = count(options, '"') % 2 != 0;
  if (unbalanced) options = options.substr(0, options.rfind('"'));
  bool quotes = true;
  while (!options.empty()) {
    std::size_t size = optionSize(options, quotes);
    const std::string_view option = options.substr(0, size);
    if (const std::size_t equals = findSecret(option); equals != std::string_view::npos) {
      while (options.substr(size, 2) == ",,")
        size += 2 + optionSize(options.substr(size + 2), quotes);
      // Never half of a pair, which would find a partner in what follows.
      const std::string_view head = option.substr(0, equals);
      if (count(head, '"') % 2 != 0)
        out.append(head.substr(0, head.rfind('"'))).append("\"***\"");
      else
        out.append(head).append("=***");
    } else {
      out.append(option);
    }
    options.remove_prefix(size);
    if (options.empty()) break;
    out.append(",");
    options.remove_prefix(1);
  }
  if (unbalanced) out.append("\"***");
  return out;
}

RemoteSource readRemoteSource(std::string_view device, std::string_view fileSystemType) {
  const Kind kind = kindOf(fileSystemType);
  if (kind == Kind::kLocal || kind == Kind::kMemory) return {};
  if (kind == Kind::kSmb) {
    if (!device.starts_with("//")) return {};
    const std::string_view source = device.substr(2);
    const std::size_t slash = std::min(source.find('/'), source.size());
    if (slash == 0) return {};
    return {source.substr(0, slash), source.substr(slash)};
  }
  bool brackets = false;
  for (std::size_t i = 0; i + 1 < device.size(); ++i) {
    if (device[i] == '[') brackets = true;
    if (device[i] == ']') brackets = false;
    if (!brackets && device[i] == ':' && device[i + 1] == '/') {
      if (i == 0) return {};
      return {device.substr(0, i), device.substr(i + 1)};
    }
  }
  return {};
}

}  // namespace brv
