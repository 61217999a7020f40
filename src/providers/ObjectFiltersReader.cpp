// SPDX-License-Identifier: Apache-2.0
#include "providers/ObjectFiltersReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>

#include "runtime/OsUtility.h"
#include "runtime/Trace.h"

namespace brv {

// A FIFO under that name, which anybody may have put into the current folder, must not make the
// program wait: only regular files hold rules. 0 or an errno value.
int DefaultObjectFiltersReader::openFile(const char* path, File& file) {
  const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (descriptor < 0) return errno;
  struct stat status {};
  int error = ::fstat(descriptor, &status) == 0 ? 0 : errno;
  if (error == 0 && !S_ISREG(status.st_mode)) error = EINVAL;
  if (error == 0) {
    file.reset(::fdopen(descriptor, "r"));
    if (!file) error = errno;
  }
  if (error != 0) ::close(descriptor);
  return error;
}

bool DefaultObjectFiltersReader::Open() {
  const char* path = m_settings.getFilterPath().c_str();
  if (OsUtility::Access(path, F_OK) == ENOENT) return false;
  if (const int error = openFile(path, m_file); error != 0)
    BRV_TRACE_ERRNO(kDetail, error, "Failed to load filter defintion : %s", path);
  return m_file != nullptr;
}

bool DefaultObjectFiltersReader::ReadLine(std::string& line) {
  if (!m_file) return false;
  char* buffer = m_line.release();
  const ssize_t size = ::getline(&buffer, &m_capacity, m_file.get());
  m_line.reset(buffer);
  if (size < 0) return false;
  line.assign(buffer, static_cast<std::size_t>(size));
  return true;
}

}  // namespace brv
