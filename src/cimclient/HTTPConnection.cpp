// SPDX-License-Identifier: Apache-2.0
#include "cimclient/HTTPConnection.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/write.hpp>
#include <boost/system/system_error.hpp>
#include <cerrno>
#include <span>

#include "cimclient/CIMClientError.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

namespace asio = boost::asio;

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using std::chrono::milliseconds;

/// When the time is spent that all exchanges have together, and how much that was.
struct Deadline {
  std::string whole;
  Clock::time_point end;
};

std::string inAll(const Deadline& deadline) {
  return deadline.whole + " in all";
}

std::string connectFault(const std::string& path, int error) {
  struct stat file;
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return "there is no such socket; is the server running?";
    case ECONNREFUSED:
      // The kernel's answer for every file that is no socket, too.
      if (::stat(path.c_str(), &file) == 0 && !S_ISSOCK(file.st_mode)) return "this is no socket";
      return "nobody listens on this socket; is the server running?";
    case EPROTOTYPE:
      return "this is not a stream socket";
    case EACCES:
    case EPERM:
      return "no permission to use this socket";
    default:
      return "cannot connect: " + boost::system::generic_category().message(error);
  }
}

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path)
    throw CIMClientError("the path of a socket has at most " +
                         std::to_string(sizeof address.sun_path - 1) + " bytes");
  std::copy(path.begin(), path.end(), address.sun_path);
  return address;
}

// 0, or the error; EAGAIN: the server's queue was full all the time. Blocking, with a send
// time-out: the kernel wakes it when there is room. A non-blocking connect to a full queue fails
// and leaves nothing to wait for, which Asio takes for success.
int connectUntil(int number, const sockaddr_un& address, Clock::time_point end) {
  for (;;) {
    const auto left = std::chrono::duration_cast<microseconds>(end - Clock::now()).count();
    if (left <= 0) return EAGAIN;
    const timeval time{static_cast<time_t>(left / 1'000'000),
                       static_cast<suseconds_t>(left % 1'000'000)};
    if (::setsockopt(number, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time) != 0) return errno;
    if (::connect(number, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
      return 0;
    if (errno != EINTR) return errno;
  }
}

}  // namespace

class HTTPConnection::Connection {
 public:
  /// Waits until `deadline` while the server's queue of connections is full.
  Connection(const std::string& path, const Deadline& deadline, milliseconds limit);

  /// Whether the server said nothing since its last answer: an unasked word or the end of the
  /// connection is how it takes leave of an idle client.
  bool isQuiet();

  /// False when the connection turned out dead before the first byte of the answer; with `resend`,
  /// also when it did not take the whole request.
  bool exchange(const std::string& message, HTTPResponseReader& reader, const Deadline& deadline,
                bool resend);

 private:
  /// Starts an operation and runs it to its end; at the deadline `error` is timed_out, the
  /// operation is still under way, and the connection can only be closed.
  template <typename Start>
  std::size_t run(const Deadline& deadline, boost::system::error_code& error, Start start) {
    std::size_t count = 0;
    error = asio::error::timed_out;
    start([&error, &count](const boost::system::error_code& result, std::size_t bytes) {
      error = result;
      count = bytes;
    });
    m_io.restart();
    m_io.run_until(deadline.end);
    return count;
  }

  asio::io_context m_io{1};
  asio::local::stream_protocol::socket m_socket{m_io};
};

// The descriptor is made here since Asio's own are not closed on exec.
HTTPConnection::Connection::Connection(const std::string& path, const Deadline& deadline,
                                       milliseconds limit) {
  const sockaddr_un address = addressOf(path);
  const int number = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (number < 0) throw CIMClientError(connectFault(path, errno));
  boost::system::error_code refused;
  m_socket.assign(asio::local::stream_protocol(), number, refused);
  if (refused) {
    ::close(number);
    throw boost::system::system_error(refused);
  }
  const auto end = Clock::now() + limit;
  const int error = connectUntil(number, address, std::min(deadline.end, end));
  if (error == EAGAIN)
    throw CIMClientError("it took no connection within " +
                         (deadline.end < end ? inAll(deadline) : TimeBudget::textOf(limit)));
  if (error != 0) throw CIMClientError(connectFault(path, error));
}

bool HTTPConnection::Connection::isQuiet() {
  char byte = 0;
  return ::recv(m_socket.native_handle(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && errno == EAGAIN;
}

bool HTTPConnection::Connection::exchange(const std::string& message, HTTPResponseReader& reader,
                                          const Deadline& deadline, bool resend) {
  boost::system::error_code writeError;
  run(deadline, writeError, [&](auto handler) {
    asio::async_write(m_socket, asio::buffer(message), std::move(handler));
  });
  if (writeError == asio::error::timed_out)
    throw CIMClientError("it did not take the request within " + inAll(deadline));
  if (writeError && resend) return false;
  // A server that refuses a request by its head answers and closes: read what it says.
  for (bool complete = false; !complete;) {
    boost::system::error_code error;
    const std::span<char> space = reader.space();
    const std::size_t count = run(deadline, error, [&](auto handler) {
      m_socket.async_read_some(asio::buffer(space.data(), space.size()), std::move(handler));
    });
    if (error == asio::error::timed_out)
      throw CIMClientError(
          (reader.started() ? "its answer was not complete within " : "it did not answer within ") +
          inAll(deadline));
    if (error && !reader.started()) return false;
    if (error == asio::error::eof) {
      reader.finish();
      complete = true;
    } else if (error) {
      throw CIMClientError("the connection broke in the middle of its answer: " + error.message());
    } else {
      complete = reader.advance(count);
    }
  }
  if (writeError) throw CIMClientError("it did not read the whole request");
  return true;
}

HTTPConnection::HTTPConnection(std::string socketPath, Limits limits)
    : m_socketPath(std::move(socketPath)), m_limits(limits), m_time(limits.whole) {}

HTTPConnection::~HTTPConnection() = default;

void HTTPConnection::exchange(const HTTPCIMRequest& request, const BodySink& sink) {
  if (m_time.isSpent())
    throw CIMClientError("it had " + m_time.text() + " in all, which it has used up");
  const TimeBudget::Spending spending(m_time);
  const Deadline deadline{m_time.text(), spending.end()};
  const std::string message = request.head() + request.body;
  // Owned here meanwhile: whatever is thrown closes it.
  std::unique_ptr<Connection> connection = std::move(m_connection);
  if (connection && !connection->isQuiet()) connection.reset();
  bool reused = connection != nullptr;
  try {
    for (;; reused = false) {
      if (!reused) {
        // A server has few places; the dead connection gives its own back first.
        connection.reset();
        connection = std::make_unique<Connection>(m_socketPath, deadline, m_limits.connect);
      }
      HTTPResponseReader reader(sink, m_limits.response, !request.credential.empty());
      if (connection->exchange(message, reader, deadline, reused)) {
        if (reader.keepAlive()) m_connection = std::move(connection);
        return;
      }
      if (!reused) throw CIMClientError("it closed the connection without an answer");
      BRV_TRACE(kDetail, "The CIM server closed the connection; opening it again\n");
    }
  } catch (const boost::system::system_error& error) {
    throw CIMClientError(error.what());
  }
}

}  // namespace brv
