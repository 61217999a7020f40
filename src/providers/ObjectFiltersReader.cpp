// SPDX-License-Identifier: Apache-2.0
#include "providers/ObjectFiltersReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "runtime/Descriptor.h"
#include "runtime/Trace.h"

namespace brv {

// Nothing is opened before it is known what it is: anybody may have put something of that name into
// the working folder.
int DefaultObjectFiltersReader::read() {
  const Descriptor file(::open(name(), O_PATH | O_CLOEXEC));
  if (file.get() < 0) return errno;
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return errno;
  const bool trusted = (status.st_uid == 0 || status.st_uid == ::geteuid()) &&
                       (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
  if (m_settings.inWorkingFolder() && S_ISREG(status.st_mode) && !trusted) return EPERM;
  const std::string path = "/proc/self/fd/" + std::to_string(file.get());
  return HostFiles().read(path.c_str(), m_text, ReadLimit::ordinaryFile());
}

bool DefaultObjectFiltersReader::Open() {
  const int error = read();
  if (error == 0) m_lines = LineScanner(m_text.view());
  if (error == 0 || error == ENOENT || m_told) return error == 0;
  m_told = true;
  if (error == EPERM)
    BRV_TRACE(kError,
              "Failed to load filter defintion : %s: others than root and the caller can "
              "change it\n",
              name());
  else
    BRV_TRACE_ERRNO(kError, error, "Failed to load filter defintion : %s", name());
  return false;
}

bool DefaultObjectFiltersReader::ReadLine(std::string& line) {
  if (!m_lines.next()) return false;
  line.assign(m_lines.line());
  return true;
}

}  // namespace brv
