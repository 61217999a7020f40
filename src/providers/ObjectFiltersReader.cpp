// SPDX-License-Identifier: Apache-2.0
#include "providers/ObjectFiltersReader.h"

#include <sys/types.h>
#include <unistd.h>

#include <cerrno>

#include "providers/Settings.h"
#include "runtime/OsUtility.h"
#include "runtime/Trace.h"

namespace brv {

bool DefaultObjectFiltersReader::Open() {
  const char* path = Settings::mThis().getFilterPath().c_str();
  if (OsUtility::Access(path, F_OK) == ENOENT) return false;
  m_file.reset(std::fopen(path, "re"));
  if (!m_file) BRV_TRACE_ERRNO(kDetail, errno, "Failed to load filter defintion : %s", path);
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
