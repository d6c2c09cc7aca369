// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Marks what the library exports; all other symbols are hidden.
#define VELMO_HOST_EXPORT __attribute__((visibility("default")))
