// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/PageReader.h>

namespace velmo::image::file {

BasePageReader::~BasePageReader() = default;

} // namespace velmo::image::file
