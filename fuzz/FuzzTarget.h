// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <cstdint>

/// What each target defines: one input, which is the bytes of a file or of a text, with what else the target
/// chooses at its end. libFuzzer calls it, or ReplayMain.cpp. An input is bad where it ends the process.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* pBytes, std::size_t nbBytes);
