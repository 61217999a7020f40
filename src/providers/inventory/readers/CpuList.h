// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace brv {

/// More processors than any kernel can be built for; larger numbers are taken for damage.
constexpr std::uint32_t kMostCpus = 65536;

/// A list of processors as files below /sys/devices/system/cpu print it ("0-3,8,10-11", Linux
/// lib/vsprintf.c, "%*pbl"): the numbers, ascending. Nothing when the text is empty or anything
/// else than such a list; the kernel never repeats a number or goes back.
std::optional<std::vector<std::uint32_t>> readCpuList(std::string_view text);

}  // namespace brv
