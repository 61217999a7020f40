// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/GuestCards.h"

#include <algorithm>
#include <memory>

#include "providers/inventory/NetworkFolder.h"
#include "providers/readers/ValueText.h"
#include "runtime/Ascii.h"

namespace brv {

std::string plainMacAddress(std::string_view mac) {
  std::string plain;
  for (std::size_t i = 0; i < mac.size(); ++i) {
    const int digit = hexDigit(mac[i]);
    if (i % 3 == 2 ? mac[i] != ':' : digit < 0) return {};
    if (digit >= 0) plain += "0123456789ABCDEF"[digit];
  }
  return mac.size() == 17 ? plain : std::string();
}

std::string lowerCaseMacAddress(std::string_view mac) {
  std::string lower(mac);
  std::transform(lower.begin(), lower.end(), lower.begin(), lowerCase);
  return lower;
}

std::map<std::string, std::string, std::less<>> interfacesByAddress(const HostFiles& files) {
  std::map<std::string, std::string, std::less<>> interfaces;
  int error = 0;
  const std::unique_ptr<HostFolder> net = files.openFolder(kNetworkPath, error);
  if (!net) return interfaces;
  FileBuffer buffer;
  std::string target;
  std::string storage;
  net->list([&](const char* listed) {
    const std::string name(listed);
    if (net->readLink((name + "/device").c_str(), target) != 0 ||
        net->read((name + "/address").c_str(), buffer) != 0)
      return;
    std::string& known = interfaces[lowerCaseMacAddress(cleanText(buffer.view(), storage))];
    if (known.empty() || name < known) known = name;  // in whatever order the folder is listed
  });
  return interfaces;
}

}  // namespace brv
