// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace brv::test {

/// What the server does once it has read a whole request.
struct Reply {
  std::vector<std::string> pieces;     ///< written one after the other, each by one write
  std::chrono::milliseconds pause{0};  ///< before each piece but the first
  bool close = false;                  ///< the connection, after the last piece
};

/// A CIM server on a local socket that plays a script: one reply for each request, whichever
/// connection it comes on. Behind the last reply it answers with status 500. It serves one
/// connection after the other.
class CimServer {
 public:
  CimServer(std::filesystem::path socket, std::vector<Reply> script);
  ~CimServer();
  CimServer(const CimServer&) = delete;
  CimServer& operator=(const CimServer&) = delete;

  const std::string& socket() const;
  /// The requests so far, head and body as they came.
  std::vector<std::string> requests() const;
  /// How many connections it has accepted.
  int connections() const;

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

/// A socket at the path, bound; one for connections listens, with that many waiting beside the
/// first.
int socketAt(const std::string& path, int type, int waiting);

/// A reply of status 200 with the body's length.
Reply plainReply(std::string_view body);
/// The same in chunks of `chunkSize` bytes, with a trailer of "CIMStatusCode: <status>" and, when
/// there is one, a CIMStatusCodeDescription.
Reply chunkedReply(std::string_view body, std::size_t chunkSize, int status = 0,
                   std::string_view description = "");

}  // namespace brv::test
