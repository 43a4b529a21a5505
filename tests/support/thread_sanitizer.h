#pragma once

/// Whether the program is built for the thread sanitizer; some tests can't run with it.
#if defined(__SANITIZE_THREAD__)
constexpr bool kUnderThreadSanitizer = true;
#elif defined(__has_feature)
constexpr bool kUnderThreadSanitizer = __has_feature(thread_sanitizer);
#else
constexpr bool kUnderThreadSanitizer = false;
#endif
