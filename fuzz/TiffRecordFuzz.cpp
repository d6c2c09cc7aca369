// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FuzzTarget.h"
#include "TiffTarget.h"

// Input: the stored geometry and calibration of a TIFF file of this library. The last byte chooses the other
// properties of the file.

int LLVMFuzzerTestOneInput(std::uint8_t const* pBytes, std::size_t nbBytes) {
    velmo::fuzz::FuzzInput input(pBytes, nbBytes);
    unsigned int const choice = input.takeByte();
    velmo::fuzz::openAndRead(velmo::fuzz::makeTiff("VELMO_Library", "", input.getRest(), choice), choice);
    return 0;
}
