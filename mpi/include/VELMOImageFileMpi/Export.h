// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Marks what the library exports.
#define VELMO_MPI_EXPORT __attribute__((visibility("default")))
