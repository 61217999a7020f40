// SPDX-License-Identifier: Apache-2.0
#include "cimclient/HTTPCIMRequest.h"

#include <algorithm>
#include <string_view>

#include "cimclient/CIMClientError.h"

namespace brv {

namespace {

// Not <cctype>, which asks the locale.
bool isAlphanumeric(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// CIM names (DSP0004) may have letters beyond ASCII.
bool isOfName(char c) {
  return isAlphanumeric(c) || c == '_' || static_cast<unsigned char>(c) > 127;
}

bool isOfBase64(char c) {
  return isAlphanumeric(c) || c == '+' || c == '/' || c == '=';
}

}  // namespace

std::string escapeCIMHeader(const std::string& text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  constexpr std::string_view kPlain = "-_.~";
  std::string out;
  out.reserve(text.size() + text.size() / 2);
  for (const char c : text) {
    if (isAlphanumeric(c) || kPlain.find(c) != std::string_view::npos) {
      out += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    out += '%';
    out += kDigits[byte >> 4];
    out += kDigits[byte & 15];
  }
  return out;
}

std::string HTTPCIMRequest::head() const {
  if (method.empty() || !std::all_of(method.begin(), method.end(), isOfName))
    throw CIMClientError("'" + escapeCIMHeader(method) + "' is no name of a method");
  if (!std::all_of(credential.begin(), credential.end(), isOfBase64))
    throw CIMClientError("the credential is not the Base64 form of user and password");
  std::string text =
      "POST /cimom HTTP/1.1\r\n"
      "Host: localhost\r\n"
      "Content-Type: application/xml; charset=\"utf-8\"\r\n"
      "Content-Length: " +
      std::to_string(body.size()) +
      "\r\n"
      "Accept: application/xml, text/xml\r\n"
      // Asks for chunks: without them the server holds the whole answer back, and takes it back
      // when it fails half-way.
      "TE: trailers\r\n"
      "CIMOperation: MethodCall\r\n"
      "CIMMethod: " +
      escapeCIMHeader(method) + "\r\nCIMObject: " + escapeCIMHeader(object) + "\r\n";
  if (!credential.empty()) text += "Authorization: Basic " + credential + "\r\n";
  return text + "\r\n";
}

}  // namespace brv
