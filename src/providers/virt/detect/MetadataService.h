// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

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

}  // namespace brv
