// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// What applications may use of the module; all else is hidden.
#define VELMO_IMAGE_FILE_EXPORT __attribute__((visibility("default")))
