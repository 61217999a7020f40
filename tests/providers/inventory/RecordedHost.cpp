// SPDX-License-Identifier: Apache-2.0
#include "RecordedHost.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_ProviderManager.h"
#include "providers/inventory/CmpiOLMODDataProviderLinux.h"

namespace brv::test {

namespace fs = std::filesystem;

class RecordedHost::Network : public HostNetwork {
 public:
  int addresses(std::vector<InterfaceAddress>& out) override {
    out = m_addresses;
    return 0;
  }
  InterfaceDriver driver(const std::string& name) override { return m_drivers[name]; }

  void addAddress(const std::string& line) {
    std::istringstream words(line);
    InterfaceAddress address;
    words >> address.index >> address.text;
    const std::size_t slash = address.text.find('/');
    address.prefix = static_cast<std::uint8_t>(std::stoi(address.text.substr(slash + 1)));
    address.text.resize(slash);
    address.version6 = address.text.find(':') != std::string::npos;
    address.linkLocal = address.text.starts_with("fe80:");
    for (std::string word; words >> word;) {
      address.up |= word == "up";
      address.loopback |= word == "loopback";
    }
    m_addresses.push_back(std::move(address));
  }
  void addDriver(const std::string& line) {
    std::istringstream words(line);
    std::string interface;
    std::string member;
    words >> interface >> member >> std::ws;
    InterfaceDriver& driver = m_drivers[interface];
    std::getline(words, member == "permanentAddress"  ? driver.permanentAddress
                        : member == "version"         ? driver.version
                        : member == "firmwareVersion" ? driver.firmwareVersion
                                                      : driver.busInfo);
  }

 private:
  std::vector<InterfaceAddress> m_addresses;
  std::map<std::string, InterfaceDriver> m_drivers;
};

class RecordedHost::Names : public NameService {
 public:
  std::string canonicalName(const std::string& name) override { return find("canonical " + name); }
  std::string addressName(const std::string& address) override {
    return find("address " + address);
  }
  std::string userName(uid_t user) override { return find("user " + std::to_string(user)); }

  void add(const std::string& line) {
    const std::size_t answer = line.rfind(' ');
    m_answers[line.substr(0, answer)] = line.substr(answer + 1);
  }

 private:
  std::string find(const std::string& question) const {
    const auto found = m_answers.find(question);
    return found == m_answers.end() ? "" : found->second;
  }
  std::map<std::string, std::string> m_answers;
};

namespace {

std::string unescaped(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n') continue;
    if (text.substr(i, 2) == "\\x") {
      out += static_cast<char>(std::stoi(std::string(text.substr(i + 2, 2)), nullptr, 16));
      i += 3;
    } else {
      out += text[i];
    }
  }
  return out;
}

void setIdentity(HostIdentity& identity, const std::string& line) {
  const std::string value = line.substr(line.find('=') + 1);
  const std::string name = line.substr(0, line.find('='));
  if (name == "nodeName") identity.nodeName = value;
  if (name == "release") identity.release = value;
  if (name == "version") identity.version = value;
  if (name == "machine") identity.machine = value;
  if (name == "error") identity.error = value;
  if (name == "ticks") identity.ticks = std::stoull(value);
  if (name == "pageSize") identity.pageSize = std::stoull(value);
  if (name == "now") identity.now = std::stoll(value);
}

}  // namespace

static RecordedCommand recordedCommand(const std::string& end,
                                       const std::vector<std::string>& lines) {
  constexpr std::string_view kError = "2> ";
  RecordedCommand command;
  if (end == "late")
    command.end = CommandResult::End::kTimedOut;
  else if (end == "killed")
    command.end = CommandResult::End::kSignalled;
  command.status = end == "late" ? 0 : end == "killed" ? SIGKILL : std::stoi(end);
  for (const std::string& line : lines)
    if (line.starts_with(kError))
      command.lastError = line.substr(kError.size());
    else
      command.output += line + '\n';
  return command;
}

RecordedHost::RecordedHost(std::string_view text) {
  std::map<std::string, RecordedCommand> commands;
  std::set<std::string> silent;
  std::istringstream lines{std::string(text)};
  std::string line;
  while (std::getline(lines, line) && !line.starts_with("== ")) continue;
  while (lines) {
    std::istringstream head(line.substr(3));
    std::string kind;
    std::string first;
    std::string rest;
    head >> kind >> first >> std::ws;
    std::getline(head, rest);
    std::vector<std::string> body;
    std::string content;
    while (std::getline(lines, line) && !line.starts_with("== ")) {
      body.push_back(line);
      content += line + '\n';
    }
    const std::string path = root().string() + first;
    if (kind == "file" || kind == "bytes") {
      m_folder.write(first.substr(1), kind == "file" ? content : unescaped(content));
    } else if (kind == "line") {
      m_folder.write(first.substr(1), rest + '\n');
    } else if (kind == "link") {
      fs::create_directories(fs::path(path).parent_path());
      fs::create_symlink(rest, path);
    } else if (kind == "folder") {
      fs::create_directories(path);
    } else if (kind == "mode") {
      fs::permissions(root().string() + rest, fs::perms(std::stoi(first, nullptr, 8)));
    } else if (kind == "command") {
      commands[rest] = recordedCommand(first, body);
    } else if (kind == "addresses" || kind == "drivers") {
      if (m_network == nullptr) m_network = std::make_unique<Network>();
      for (const std::string& entry : body)
        kind == "addresses" ? m_network->addAddress(entry) : m_network->addDriver(entry);
    } else if (kind == "names") {
      m_names = std::make_unique<Names>();
      for (const std::string& entry : body) m_names->add(entry);
    } else if (kind == "cpuid") {
      for (const std::string& entry : body) {
        std::istringstream numbers(entry);
        std::uint32_t leaf = 0;
        CpuidLeaf answer;
        numbers >> std::hex >> leaf >> answer.eax >> answer.ebx >> answer.ecx >> answer.edx;
        m_cpuid[leaf] = answer;
      }
    } else if (kind == "amazon") {
      m_amazon = true;
    } else if (kind == "silent") {
      silent.insert(body.begin(), body.end());
    } else {
      EXPECT_EQ(kind, "identity");
      for (const std::string& entry : body) setIdentity(m_identity, entry);
    }
  }
  m_folder.write("etc/hostname", m_identity.nodeName + '\n');
  m_files = std::make_unique<HostFiles>(root());
  m_commands = std::make_unique<RecordedCommands>(std::move(commands));
  m_calls = std::make_unique<InlineCalls>(std::move(silent));
}

RecordedHost::~RecordedHost() = default;

InventoryHost RecordedHost::host() const {
  return {*m_files,
          *m_commands,
          *m_calls,
          m_network.get(),
          m_names.get(),
          m_identity,
          [this]() -> const CmpiVirtualizationDetector& { return detector(); }};
}

const CmpiVirtualizationDetector& RecordedHost::detector() const {
  if (m_detector == nullptr) {
    VirtHost host(
        *m_files,
        [this](std::uint32_t leaf) {
          const auto found = m_cpuid.find(leaf);
          return found == m_cpuid.end() ? CpuidLeaf() : found->second;
        },
        [this](std::string_view, const MetadataLimits&) {
          if (!m_amazon) return MetadataAnswer();
          return MetadataAnswer{MetadataAnswer::End::kAnswered, 200, true, ""};
        });
    m_detector = std::make_unique<CmpiVirtualizationDetector>(host);
  }
  return *m_detector;
}

namespace {

const RecordedHost* s_reported = nullptr;

class Reporter : public CmpiOLMODDataProviderLinux {
 public:
  Reporter(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context),
        CmpiOLMODDataProviderLinux(broker, context, s_reported->host()) {}
};

}  // namespace

List<CIMObject> RecordedHost::objects(const std::string& className) const {
  const char* const classes[] = {className.c_str(), nullptr};
  const CmpiBroker_ProviderInfo table[] = {
      {classes, "root/cimv2", "P", "none", CmpiBroker_ProviderInfo::kInstanceProvider,
       CmpiBinding::createMI<Reporter, CmpiInstanceMI>, nullptr, nullptr},
      {}};
  s_reported = this;
  CmpiBroker_ProviderManager manager(table);
  List<CIMObject> objects;
  manager.enumInstances(CIMRequest("root/cimv2", className.c_str()), objects);
  return objects;
}

std::string RecordedHost::list(const std::string& className) const {
  try {
    return text(objects(className));
  } catch (const CmpiBroker_Exception& exception) {
    return std::string("! ") + exception.what();
  }
}

std::string RecordedHost::text(const List<CIMObject>& objects) {
  std::string out;
  for (const CIMObject& object : objects) {
    for (const CIMObject::Entry& entry : object.properties()) {
      out += entry.name.view();
      if (entry.value.isNull())
        out += " -\n";
      else
        out.append(": ").append(entry.value.view()) += '\n';
    }
    out += '\n';
  }
  return out;
}

}  // namespace brv::test
