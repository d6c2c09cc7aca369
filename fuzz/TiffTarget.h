// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "FuzzInput.h"

namespace velmo::fuzz {

/// Opens a TIFF file in every directory mode and buffer mode, and exercises it in the one of `choice` modulo
/// 6, in which it is also opened for writing, written to and read again.
void openAndRead(std::string const& bytes, unsigned int choice);

/// The bytes of a file of one plane of 5 x 4 pixels with two texts: the software that made it and a
/// description, each left out where it is empty; and a record of this module where `record` is not empty.
/// The bits of `choice` from bit 3 on choose its byte order, its samples and a second directory.
std::string makeTiff(std::string const& software, std::string const& description, std::string const& record,
                     unsigned int choice);

} // namespace velmo::fuzz
