// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FuzzTarget.h"
#include "TiffTarget.h"

// The record that a TIFF file of this module holds of its geometry and calibration. The last byte chooses
// what the file is otherwise.

int LLVMFuzzerTestOneInput(std::uint8_t const* pBytes, std::size_t nbBytes) {
    velmo::fuzz::FuzzInput input(pBytes, nbBytes);
    unsigned int const choice = input.takeByte();
    velmo::fuzz::openAndRead(velmo::fuzz::makeTiff("VELMO_Library", "", input.getRest(), choice), choice);
    return 0;
}
