// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "runtime/TimeBudget.h"

namespace brv {

/// Where the instance metadata service of a cloud listens: its documented link-local address. Only
/// the code of tests can name another.
struct MetadataAddress {
  std::string address = "169.254.169.254";  ///< IPv4
  std::uint16_t port = 80;
};

struct MetadataLimits {
  std::chrono::milliseconds connect{1'000};
  std::chrono::milliseconds answer{2'000};  ///< from the request to the last byte of the body
  std::size_t header = 2'048;               ///< bytes, with the empty line that ends it
  std::size_t body = 16'384;                ///< bytes
  std::chrono::milliseconds whole{3'000};   ///< connection and answer together
};

struct MetadataAnswer {
  enum class End : std::uint8_t {
    kAnswered,      ///< header and body are whole
    kNotConnected,  ///< refused, unreachable or not within the limit
    kBroken,        ///< connected, but no usable answer within the limits
  };
  End end = End::kNotConnected;
  /// Of HTTP. Known, as `amazon` is, once the header is whole, even when the body is not; 0 before.
  int status = 0;
  bool amazon = false;  ///< the header has the product token "EC2ws"
  std::string body;     ///< empty unless the answer is whole
};

/// One exchange over one TCP connection. `request` is the whole of it, header lines and empty line.
/// Never throws because of what the peer sends. Failures are traced at level 2 with the published
/// texts; neither the request nor the answer is (they may hold a token). What a missing "EC2ws"
/// means is the caller's to say.
MetadataAnswer exchangeMetadata(const MetadataAddress& address, std::string_view request,
                                const MetadataLimits& limits = {});

/// The routine above, or what stands for it in a test.
using MetadataExchange =
    std::function<MetadataAnswer(const MetadataAddress&, std::string_view, const MetadataLimits&)>;

/// The metadata service as all who ask it in one run share it: 8 s are the time of all answers
/// together.
class MetadataService {
 public:
  /// Other arguments than these are for tests.
  explicit MetadataService(MetadataAddress address = {},
                           MetadataExchange exchange = exchangeMetadata,
                           std::chrono::milliseconds whole = std::chrono::seconds(8));

  /// One exchange within the limits and the time that is left; "not connected" when that is spent,
  /// and without a try when the first one found nobody.
  MetadataAnswer ask(std::string_view request, MetadataLimits limits);
  /// Whether somebody was there, once: there is such a service then.
  bool isReached() const { return m_reached; }
  const TimeBudget& time() const { return m_time; }

  /// The one of this process.
  static MetadataService& process();

 private:
  MetadataAddress m_address;
  MetadataExchange m_exchange;
  TimeBudget m_time;
  bool m_asked = false;
  bool m_reached = false;
};

}  // namespace brv
