// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// What applications and other libraries may use of the host; all else is hidden.
#define VELMO_HOST_EXPORT __attribute__((visibility("default")))
