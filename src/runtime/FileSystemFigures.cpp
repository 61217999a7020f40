// SPDX-License-Identifier: Apache-2.0
#include "runtime/FileSystemFigures.h"

#include <sys/sysmacros.h>

#include <cerrno>
#include <cstring>
#include <type_traits>

namespace brv {

namespace {

FileSystemAnswer askOne(const HostFiles& files, const FileSystemQuestion& question) {
  FileSystemAnswer answer;
  const bool compares = files.hasOwnRoot() && !question.device.empty();
  dev_t device = 0;
  answer.error =
      files.fileSystem(question.mountPoint.c_str(), answer.figures, compares ? &device : nullptr);
  if (answer.error == 0 && compares &&
      std::to_string(major(device)) + ':' + std::to_string(minor(device)) != question.device)
    answer.error = ENODEV;
  return answer;
}

}  // namespace

std::vector<FileSystemAnswer> askFileSystems(const HostFiles& files, BoundedCalls& calls,
                                             std::span<const FileSystemQuestion> questions,
                                             std::chrono::milliseconds limit) {
  static_assert(std::is_trivially_copyable_v<FileSystemAnswer>);
  std::vector<FileSystemAnswer> answers(questions.size());
  std::vector<BoundedItem> items;
  std::vector<std::size_t> places;  // of the items among the questions
  for (std::size_t i = 0; i < questions.size(); ++i) {
    if (questions[i].mayBlock) {
      items.push_back({questions[i].mountPoint, questions[i].device});
      places.push_back(i);
    } else {
      answers[i] = askOne(files, questions[i]);
    }
  }
  if (items.empty()) return answers;

  const auto inChild = [&](std::size_t item) {
    const FileSystemAnswer answer = askOne(files, questions[places[item]]);
    return std::string(reinterpret_cast<const char*>(&answer), sizeof(answer));
  };
  const int root = files.rootDescriptor();
  const BoundedCalls::Answers records =
      calls.ask(items, inChild, limit, {&root, root >= 0 ? std::size_t{1} : 0});
  for (std::size_t i = 0; i < records.size(); ++i)
    if (records[i] && records[i]->size() == sizeof(FileSystemAnswer))
      std::memcpy(&answers[places[i]], records[i]->data(), sizeof(FileSystemAnswer));
  return answers;
}

}  // namespace brv
