// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <span>
#include <string>

namespace brv {

/// Waits a little longer each time: gives the processor up first, then sleeps, 10 ms at most.
class GrowingPause {
 public:
  void operator()();

 private:
  static constexpr int kYields = 16;
  int m_yields = 0;
  long m_nanoseconds = 50'000;
};

/// Reads the document off a metrics disk while its host goes on writing new ones. The disk begins
/// with four 32-bit numbers, the most significant byte first: the signature "mvbd", a busy word
/// (not 0 while the host writes), a checksum that is another one for every document, and the
/// document's length in bytes. The document follows.
///
/// Nothing that the disk says is trusted: memory grows with what is read.
class MetricsDiskReader {
 public:
  static constexpr std::size_t kBlock = 2048;                        ///< bytes
  static constexpr std::size_t kLargestDocument = 64 * 1024 * 1024;  ///< bytes

  /// Fills `to`, whole blocks in aligned memory, from byte `at` on. Gives the number of bytes,
  /// fewer only at the end of the device, or -1 with errno set.
  using ReadFunction = std::function<ssize_t(std::span<char> to, off_t at)>;
  using PauseFunction = std::function<void()>;

  /// `blockSize` is a power of 2, at least kBlock, and the alignment of the memory. `pause` is
  /// called before the disk is looked at once more.
  MetricsDiskReader(ReadFunction read, std::size_t blockSize, PauseFunction pause = GrowingPause());

  /// Whether the device begins with the signature; false if it cannot be read.
  bool hasSignature();
  /// Waits, for ever if it has to (the caller bounds it), until the host leaves the disk alone and
  /// the document was read while it did. It ends before its first NUL. 0 or an errno value: ENODATA
  /// when the device ends too early or is no metrics disk, EFBIG for a document beyond the limit;
  /// it is empty then.
  int read(std::string& document);

 private:
  struct Header {
    std::uint32_t busy;
    std::uint32_t checksum;
    std::uint32_t length;
    bool operator==(const Header&) const = default;
  };
  struct AlignedDelete {
    std::size_t alignment;
    void operator()(char* memory) const { ::operator delete(memory, std::align_val_t(alignment)); }
  };

  int readHeader(Header& header);
  int readDocument(std::uint32_t length, std::string& document);

  ReadFunction m_read;
  std::size_t m_blockSize;
  PauseFunction m_pause;
  std::size_t m_bufferSize;
  std::unique_ptr<char, AlignedDelete> m_buffer;
  std::size_t m_inFirstBlock = 0;  // bytes that the last readHeader() left in the buffer
};

}  // namespace brv
