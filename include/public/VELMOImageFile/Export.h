// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Exports a name from the shared library; all other names are hidden.
#define VELMO_IMAGE_FILE_EXPORT __attribute__((visibility("default")))
