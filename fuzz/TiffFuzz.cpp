// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffTarget.h"

#include "FuzzTarget.h"

// Input: a TIFF file. The last byte chooses the modes in which its planes are read.

int LLVMFuzzerTestOneInput(std::uint8_t const* pBytes, std::size_t nbBytes) {
    velmo::fuzz::FuzzInput input(pBytes, nbBytes);
    unsigned int const choice = input.takeByte();
    velmo::fuzz::openAndRead(input.getRest(), choice);
    return 0;
}
