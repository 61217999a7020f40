// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/kvmxen/MetricsDiskReader.h"

#include <sched.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <utility>

namespace brv {

namespace {

constexpr char kSignature[] = {'m', 'v', 'b', 'd'};
constexpr std::size_t kHeaderSize = 16;
// What is read at one go: direct reads block by block would be a hundred times as many.
constexpr std::size_t kChunk = 64 * 1024;
constexpr long kLongestPause = 10'000'000;  // nanoseconds

std::uint32_t bigEndian(const char* bytes) {
  std::uint32_t number = 0;
  for (int i = 0; i < 4; ++i) number = number << 8 | static_cast<unsigned char>(bytes[i]);
  return number;
}

}  // namespace

void GrowingPause::operator()() {
  if (m_yields < kYields) {
    ++m_yields;
    ::sched_yield();
    return;
  }
  const timespec time{0, m_nanoseconds};
  ::nanosleep(&time, nullptr);
  m_nanoseconds = std::min(2 * m_nanoseconds, kLongestPause);
}

MetricsDiskReader::MetricsDiskReader(ReadFunction read, std::size_t blockSize, PauseFunction pause)
    : m_read(std::move(read)),
      m_blockSize(blockSize),
      m_pause(std::move(pause)),
      m_bufferSize(std::max(blockSize, kChunk)),
      m_buffer(static_cast<char*>(::operator new(m_bufferSize, std::align_val_t(blockSize))),
               AlignedDelete{blockSize}) {}

bool MetricsDiskReader::hasSignature() {
  Header header{};
  return readHeader(header) == 0;
}

int MetricsDiskReader::readHeader(Header& header) {
  const ssize_t got = m_read({m_buffer.get(), m_blockSize}, 0);
  if (got < 0) return errno;
  m_inFirstBlock = static_cast<std::size_t>(got);
  const char* bytes = m_buffer.get();
  if (m_inFirstBlock < kHeaderSize || std::memcmp(bytes, kSignature, sizeof(kSignature)) != 0)
    return ENODATA;
  header = {bigEndian(bytes + 4), bigEndian(bytes + 8), bigEndian(bytes + 12)};
  return 0;
}

int MetricsDiskReader::read(std::string& document) {
  for (;; m_pause()) {
    document.clear();
    Header before{};
    if (const int error = readHeader(before); error != 0) return error;
    if (before.busy != 0) continue;
    const int result = readDocument(before.length, document);
    // A device that ends before the document or a length beyond all bounds may be the next
    // document's half written header.
    if (result == 0 || result == ENODATA || result == EFBIG) {
      Header after{};
      if (const int error = readHeader(after); error != 0) {
        document.clear();
        return error;
      }
      if (after != before) continue;
    }
    document.resize(result != 0 ? 0 : std::min(document.find('\0'), document.size()));
    return result;
  }
}

int MetricsDiskReader::readDocument(std::uint32_t length, std::string& document) {
  if (length > kLargestDocument) return EFBIG;
  document.append(m_buffer.get() + kHeaderSize,
                  std::min<std::size_t>(m_inFirstBlock - kHeaderSize, length));
  std::size_t at = m_inFirstBlock;
  bool ended = m_inFirstBlock < m_blockSize;
  while (document.size() < length) {
    if (ended) return ENODATA;
    const std::size_t missing = length - document.size();
    const std::size_t blocks = (missing + m_blockSize - 1) / m_blockSize * m_blockSize;
    const std::size_t wanted = std::min(blocks, m_bufferSize);
    const ssize_t got = m_read({m_buffer.get(), wanted}, static_cast<off_t>(at));
    if (got < 0) return errno;
    const auto size = static_cast<std::size_t>(got);
    document.append(m_buffer.get(), std::min(size, missing));
    at += size;
    ended = size < wanted;
  }
  return 0;
}

}  // namespace brv
