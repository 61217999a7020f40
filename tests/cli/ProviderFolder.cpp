// SPDX-License-Identifier: Apache-2.0
#include "ProviderFolder.h"

#include <filesystem>
#include <string>
#include <vector>

namespace brv::test {

namespace fs = std::filesystem;

std::string libraryName(const std::string& provider) {
  return "libcmpi" + provider + ".so";
}

std::string traceText(const std::string& line) {
  std::size_t place = 0;
  for (int blanks = 0; blanks < 2 && place != std::string::npos; ++blanks)
    place = line.find(' ', place) + 1;
  return line.substr(place);
}

std::vector<Object> objects(const std::string& listing) {
  std::vector<Object> all;
  for (const std::string& line : split(listing)) {
    if (line.starts_with("***")) {
      all.emplace_back();
      continue;
    }
    const auto name = line.find(" , ");
    const auto value = line.find(" , ", name + 3);
    all.back()[line.substr(1, name - 1)] = line.substr(value + 3);
  }
  return all;
}

void ProviderFolder::install(const std::string& library, const std::string& provider,
                             const std::string& folder) const {
  fs::create_directories(m_folder.path() / folder);
  fs::copy_file(library, m_folder.path() / folder / libraryName(provider),
                fs::copy_options::overwrite_existing);
}

ProgramResult ProviderFolder::run(const std::string& arguments,
                                  const std::string& searchPath) const {
  m_folder.write("host/proc/loadavg", "0.05 1.10 12.00 1/100 4711\n");
  ProgramRun run = onHost(m_folder.path() / "host", arguments);
  run.environment.insert(run.environment.end(), m_environment.begin(), m_environment.end());
  run.environment.push_back("LD_LIBRARY_PATH=" +
                            (searchPath.empty() ? m_folder.path().string() : searchPath));
  return runProgram(run);
}

}  // namespace brv::test
