// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::test {

/// Whether the address or the thread sanitizer is built in. Both multiply memory and time, so bounds on them
/// say nothing then. g++ tells by macros, clang by features.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool g_bSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool g_bSanitized = true;
#else
constexpr bool g_bSanitized = false;
#endif
#else
constexpr bool g_bSanitized = false;
#endif

} // namespace velmo::test
