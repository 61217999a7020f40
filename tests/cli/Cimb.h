// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "support/RunProgram.h"

// What the runs of the program share: the recorded hosts of tests/data/ and the texts expected of
// them.
namespace brv::test {

/// The parts of a text between separators; what ends with one has no empty part behind it.
std::vector<std::string> split(std::string_view text, char separator = '\n');

/// A file of tests/data/.
std::filesystem::path dataFile(std::string_view name);

/// A run of the program on a recorded host (a folder's path; a plain name is one of
/// tests/data/hosts/), to be adapted before it is run. `arguments` are separated by blanks.
ProgramRun onHost(const std::string& host, const std::string& arguments);

/// Runs the program on the host "small-vm".
ProgramResult cimb(const std::string& arguments);

/// The text with every date-time as "<time>", and every size of a file system as "<bytes>": of a
/// recorded host only the mount points are known beforehand. For listings of BRV_MetricValue.
std::string masked(std::string_view text);

/// The figures of a BRV_MetricValue table, a line "<id>|<value>|<element>" each, masked. A line
/// that is out of shape stands as it is.
std::string figures(std::string_view table);

/// The first line in which the texts differ, both versions; empty when they are equal.
std::string firstDifference(std::string_view expected, std::string_view actual);

}  // namespace brv::test
