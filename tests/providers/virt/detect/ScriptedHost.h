// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "providers/virt/detect/CmpiVirtualizationDetector.h"
#include "support/RunProgram.h"

namespace brv::test {

/// A host for detection: files below a folder of its own, leaves of CPUID, answers of a metadata
/// service. What is not set is not there.
class ScriptedHost {
 public:
  /// `highest` is the last leaf of the first interface.
  void setHypervisor(const char* signature, const char* second = "",
                     std::uint32_t highest = 0x40000010) {
    cpuid[1].ecx = 0x80000000;
    cpuid[0x40000000] = leaf(highest, signature);
    cpuid[0x40000100] = leaf(0x40000110, second);
  }
  void write(const std::string& path, const std::string& content) {
    m_folder.write(path.substr(1), content);
  }
  VirtHost host() {
    return VirtHost(
        m_files,
        [this](std::uint32_t number) {
          ++cpuidCalls;
          return cpuid[number];
        },
        [this](std::string_view request, const MetadataLimits& limits) {
          requests.emplace_back(request);
          const auto found = answers.find(std::string(request.substr(0, request.find(" HTTP"))));
          MetadataAnswer answer = found == answers.end() ? MetadataAnswer() : found->second;
          if (answer.body.size() > limits.body) answer.end = MetadataAnswer::End::kBroken;
          return answer;
        });
  }
  CmpiVirtualizationDetector detect() {
    VirtHost asked = host();
    return CmpiVirtualizationDetector(asked);
  }
  const std::filesystem::path& root() const { return m_folder.path(); }

  static MetadataAnswer answer(bool amazon, std::string body = "") {
    return {MetadataAnswer::End::kAnswered, 200, amazon, std::move(body)};
  }
  static constexpr const char* kDocument = "GET /latest/dynamic/instance-identity/document";
  static constexpr const char* kSignature = "GET /latest/dynamic/instance-identity/pkcs7";

  std::map<std::uint32_t, CpuidLeaf> cpuid;
  int cpuidCalls = 0;
  std::map<std::string, MetadataAnswer> answers;  ///< by the request line without its version
  std::vector<std::string> requests;

 private:
  static CpuidLeaf leaf(std::uint32_t eax, const char* text) {
    char bytes[12] = {};
    std::memcpy(bytes, text, std::min<std::size_t>(std::strlen(text), sizeof(bytes)));
    CpuidLeaf result{eax, 0, 0, 0};
    std::memcpy(&result.ebx, bytes, 4);
    std::memcpy(&result.ecx, bytes + 4, 4);
    std::memcpy(&result.edx, bytes + 8, 4);
    return result;
  }

  TemporaryFolder m_folder;
  HostFiles m_files{m_folder.path().string()};
};

}  // namespace brv::test
