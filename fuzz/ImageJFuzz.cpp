// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FuzzTarget.h"
#include "TiffTarget.h"

// Input: the description of a TIFF file, in which ImageJ announces planes. The last byte chooses the other
// properties of the file.

int LLVMFuzzerTestOneInput(std::uint8_t const* pBytes, std::size_t nbBytes) {
    velmo::fuzz::FuzzInput input(pBytes, nbBytes);
    unsigned int const choice = input.takeByte();
    velmo::fuzz::openAndRead(velmo::fuzz::makeTiff("", input.getRest(), "", choice), choice);
    return 0;
}
