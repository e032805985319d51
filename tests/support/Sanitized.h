#pragma once

/// \file
/// Whether this build runs under a sanitizer, which makes everything slower and keeps memory that was freed.
///
/// Use
///
///     constexpr int rounds = isSanitized ? 1000 : 100000;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif
#else
inline constexpr bool isSanitized = false;
#endif
