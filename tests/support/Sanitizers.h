// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

// g++ tells of sanitizers by macros, clang by features.
#if defined(__has_feature)
#define VELMO_HAS_SANITIZER(name) __has_feature(name)
#else
#define VELMO_HAS_SANITIZER(name) 0
#endif

namespace velmo::test {

#if defined(__SANITIZE_THREAD__) || VELMO_HAS_SANITIZER(thread_sanitizer)
constexpr bool g_bThreadSanitized = true;
#else
constexpr bool g_bThreadSanitized = false;
#endif

#if defined(__SANITIZE_ADDRESS__) || VELMO_HAS_SANITIZER(address_sanitizer)
constexpr bool g_bAddressSanitized = true;
#else
constexpr bool g_bAddressSanitized = false;
#endif

/// Whether a sanitizer is built in that multiplies memory and time, so that bounds on them have no meaning.
constexpr bool g_bSanitized = g_bThreadSanitized || g_bAddressSanitized;

} // namespace velmo::test

#undef VELMO_HAS_SANITIZER
