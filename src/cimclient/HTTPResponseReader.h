// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

namespace brv {

/// Reads the HTTP/1.x answer to one CIM request (DSP0200) as it arrives: by length, by chunks or to
/// the end of the connection. Interim answers ("100 Continue") are passed over.
///
/// The bytes are untrusted. Everything that is not one whole answer of status 200 with a trailer
/// that reports no error throws CIMClientError, and the reader is then of no more use.
class HTTPResponseReader {
 public:
  /// Takes the next bytes of the body. What it throws passes through the reader.
  using BodySink = std::function<void(std::string_view)>;

  /// `sink` must outlive the reader; `bodyLimit` is in bytes. `withCredential` tells what a refused
  /// user is told.
  HTTPResponseReader(const BodySink& sink, std::uint64_t bodyLimit, bool withCredential);
  ~HTTPResponseReader();
  HTTPResponseReader(const HTTPResponseReader&) = delete;
  HTTPResponseReader& operator=(const HTTPResponseReader&) = delete;

  /// Where the next bytes of the connection go; never empty before the answer is complete.
  std::span<char> space();
  /// So many were put there. True: the answer is complete.
  bool advance(std::size_t count);
  /// The connection has ended: that completes the answer, or throws.
  void finish();

  /// Whether any byte of an answer came.
  bool started() const;
  /// Whether the connection of the complete answer can carry a next one: the server keeps it, and
  /// nothing came behind the answer.
  bool keepAlive() const;

 private:
  class Parser;
  std::unique_ptr<Parser> m_parser;
};

}  // namespace brv
