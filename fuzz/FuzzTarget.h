// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <cstdint>

/// The function that each target defines. An input is the bytes of a file or text, followed by the choices of
/// the target. libFuzzer or ReplayMain.cpp calls the function. An input is a finding if it ends the process.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* pBytes, std::size_t nbBytes);
