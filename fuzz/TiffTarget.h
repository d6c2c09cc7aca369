// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "FuzzInput.h"

namespace velmo::fuzz {

/// Opens a TIFF file in every directory mode and buffer mode. Reads it completely in the mode `choice` modulo
/// 6, and in this mode also opens it for writing, writes to it and reads it again.
void openAndRead(std::string const& bytes, unsigned int choice);

/// Creates the bytes of a file with one plane of 5 x 4 pixels. `software` and `description` are texts, each
/// omitted if empty; so is `record`, the stored geometry of this library. The bits of `choice` from bit 3 on
/// choose the byte order, the samples and a second directory.
std::string makeTiff(std::string const& software, std::string const& description, std::string const& record,
                     unsigned int choice);

} // namespace velmo::fuzz
