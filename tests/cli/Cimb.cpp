// SPDX-License-Identifier: Apache-2.0
#include "Cimb.h"

#include <array>
#include <cctype>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace brv::test {

namespace {

bool isDigit(char c) {
  return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

// yyyymmddhhmmss.mmmmmmsutc
bool isDateTime(std::string_view text) {
  constexpr std::string_view kForm = "dddddddddddddd.ddddddsddd";
  if (text.size() < kForm.size()) return false;
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    const char c = text[i];
    if (kForm[i] == 'd' ? !isDigit(c) : kForm[i] == 's' ? c != '+' && c != '-' : c != '.')
      return false;
  }
  return true;
}

}  // namespace

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream{std::string(text)};
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

std::filesystem::path dataFile(std::string_view name) {
  return std::filesystem::path(BRVCIMB_TEST_DATA) / name;
}

ProgramRun onHost(const std::string& host, const std::string& arguments) {
  ProgramRun run{BRVCIMB_PROGRAM};
  for (std::string& word : split(arguments, ' '))
    if (!word.empty()) run.arguments.push_back(std::move(word));
  // An absolute path takes the place of what stands before it.
  run.environment = {"BRVCIMB_HOST_ROOT=" + (dataFile("hosts") / host).string()};
  return run;
}

ProgramResult cimb(const std::string& arguments) {
  return runProgram(onHost("small-vm", arguments));
}

std::string masked(std::string_view text) {
  constexpr std::size_t kDateTimeSize = 25;
  std::string result;
  bool sizeFollows = false;
  while (!text.empty()) {
    if (text.starts_with("FS.")) sizeFollows = true;
    std::size_t used = 1;
    if (isDateTime(text)) {
      used = kDateTimeSize;
      result += "<time>";
    } else if (sizeFollows && isDigit(text[0])) {
      while (used < text.size() && isDigit(text[used])) ++used;
      result += "<bytes>";
      sizeFollows = false;
    } else {
      result += text[0];
    }
    text.remove_prefix(used);
  }
  return result;
}

std::string figures(std::string_view table) {
  constexpr std::string_view kHeading =
      "CreationClassName\tMetricDefinitionId\tMetricValue\tTimeStamp\tMeasuredElementName\t";
  std::string result;
  const std::vector<std::string> rows = split(masked(table));
  for (const std::string& row : rows) {
    if (&row == &rows.front() && row == kHeading) continue;
    std::array<std::string, 4> column;
    std::istringstream stream(row);
    for (std::string& text : column) std::getline(stream, text, '\t');
    // The name may hold tabs itself; one ends it.
    std::string element;
    std::getline(stream, element, '\0');
    if (column[0] == "BRV_MetricValue" && column[3] == "<time>" && element.ends_with('\t'))
      result += column[1] + '|' + column[2] + '|' + element.substr(0, element.size() - 1) + '\n';
    else
      result += row + '\n';
  }
  return result;
}

std::string firstDifference(std::string_view expected, std::string_view actual) {
  if (expected == actual) return {};
  const std::vector<std::string> left = split(expected);
  const std::vector<std::string> right = split(actual);
  std::size_t line = 0;
  while (line < left.size() && line < right.size() && left[line] == right[line]) ++line;
  const auto show = [line](const std::vector<std::string>& lines) {
    return line < lines.size() ? lines[line] : std::string("(end)");
  };
  return "line " + std::to_string(line + 1) + "\n  expected: " + show(left) +
         "\n  actual:   " + show(right);
}

}  // namespace brv::test
