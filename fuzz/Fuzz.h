// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "runtime/Trace.h"

// What the fuzz targets share. A target defines BRV_FUZZ(input) { ... } and checks with
// BRV_EXPECT what holds for every input. The trace is on, since it formats hostile text too; run
// with -close_fd_mask=3, which discards it but neither BRV_EXPECT's reports nor the sanitizers'.
namespace brv::fuzz {
inline int reports = 2;
}

#define BRV_FUZZ(input)                                                    \
  static void fuzzOne(std::string_view input);                             \
  extern "C" {                                                             \
  int LLVMFuzzerInitialize(int*, char***);                                 \
  int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);  \
  int LLVMFuzzerInitialize(int*, char***) {                                \
    brv::fuzz::reports = dup(2);                                           \
    brv::trace::setLevel(brv::trace::kDetail);                             \
    return 0;                                                              \
  }                                                                        \
  int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) { \
    fuzzOne({reinterpret_cast<const char*>(data), size});                  \
    return 0;                                                              \
  }                                                                        \
  }                                                                        \
  static void fuzzOne(std::string_view input)

#define BRV_EXPECT(condition)                                                                    \
  do {                                                                                           \
    if (!(condition)) {                                                                          \
      dprintf(brv::fuzz::reports, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                              \
    }                                                                                            \
  } while (false)
