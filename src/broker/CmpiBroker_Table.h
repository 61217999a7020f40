// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "broker/CmpiBroker_Context.h"
#include "broker/CmpiBroker_Exception.h"
#include "cmpi/cmpi.h"
#include "runtime/Trace.h"

// What all function tables of the broker share: refused functions, and the guard around served
// ones.
namespace brv {

/// The version that the tables of a CMPI 2.0 broker carry.
inline constexpr int kTableVersion = 200;

/// Traces an error at level 1 and puts its code into `status`.
#define BRV_FAIL(status_, code_, ...) \
  (BRV_TRACE(kError, __VA_ARGS__), static_cast<void>((status_).rc = (code_)))

namespace detail {

template <std::size_t Size>
struct Literal {
  constexpr Literal(const char (&text)[Size]) { std::copy_n(text, Size, chars); }
  char chars[Size];
};

template <class Result>
Result refusal() {
  if constexpr (std::is_same_v<Result, CMPIStatus>) {
    return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
  } else if constexpr (std::is_same_v<Result, CMPIData>) {
    return {CMPI_null, CMPI_nullValue, {}};
  } else if constexpr (!std::is_void_v<Result>) {
    return Result{};
  }
}

inline void tellRefusal(CMPIStatus* status) {
  if (status != nullptr) *status = {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
}
// What else a function hands out through its arguments is empty as well.
inline void tellRefusal(CMPIMsgFileHandle* handle) {
  if (handle != nullptr) *handle = nullptr;
}
inline void tellRefusal(CMPIArray** array) {
  if (array != nullptr) *array = nullptr;
}
inline void tellRefusal(CMPIString** text) {
  if (text != nullptr) *text = nullptr;
}
template <class Argument>
void tellRefusal(Argument) {}

}  // namespace detail

/// A function that the broker refuses: it traces `Text`, reports code 7 and gives an empty result.
/// It takes the shape of the slot it is put into.
template <detail::Literal Text>
struct Refused {
  template <class Result, class... Arguments>
  static Result fixed(Arguments... arguments) {
    BRV_TRACE(kError, "%s", Text.chars);
    (detail::tellRefusal(arguments), ...);
    return detail::refusal<Result>();
  }
  template <class Result, class... Arguments>
  static Result variadic(Arguments... arguments, ...) {
    return fixed<Result, Arguments...>(arguments...);
  }

  template <class Result, class... Arguments>
  using Function = Result (*)(Arguments...);
  template <class Result, class... Arguments>
  using VariadicFunction = Result (*)(Arguments..., ...);

  template <class Result, class... Arguments>
  constexpr operator Function<Result, Arguments...>() const {
    return &fixed<Result, Arguments...>;
  }
  template <class Result, class... Arguments>
  constexpr operator VariadicFunction<Result, Arguments...>() const {
    return &variadic<Result, Arguments...>;
  }
};
template <detail::Literal Text>
inline constexpr Refused<Text> refused{};

/// Runs `body(status)` and gives its result. Whatever is thrown becomes a status: nothing leaves a
/// function table. Objects belong to the context of the thread that serves the request, so threads
/// that a provider started are refused.
template <class Result, class Body>
Result guarded(CMPIStatus* status, const Body& body) noexcept {
  CMPIStatus outcome{CMPI_RC_OK, nullptr};
  Result result = detail::refusal<Result>();
  if (!CmpiBroker_Context::isServingThread()) {
    BRV_FAIL(outcome, CMPI_RC_ERR_FAILED, "This thread cannot use the broker\n");
  } else {
    try {
      result = body(outcome);
    } catch (...) {
      outcome = currentExceptionToStatus();
    }
  }
  if (status != nullptr) *status = outcome;
  return result;
}

/// The same with `body(object, status)` for the broker object behind `record`: a missing record is
/// code 4, an empty handle code 60.
template <class Object, class Result, class Record, class Body>
Result serve(const Record* record, CMPIStatus* status, const Body& body) noexcept {
  return guarded<Result>(status, [&](CMPIStatus& outcome) -> Result {
    if (record == nullptr) {
      BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_PARAMETER, "Invalid argument\n");
    } else if (record->hdl == nullptr) {
      BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_HANDLE, "Invalid handle\n");
    } else {
      return body(Object::from(record), outcome);
    }
    return detail::refusal<Result>();
  });
}

/// The same for functions that return the status itself: `body(object, status)`.
template <class Object, class Record, class Body>
CMPIStatus serveStatus(const Record* record, const Body& body) noexcept {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  serve<Object, bool>(record, &status, [&body](Object& object, CMPIStatus& outcome) {
    body(object, outcome);
    return true;
  });
  return status;
}

}  // namespace brv
