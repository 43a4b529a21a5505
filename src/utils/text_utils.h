#pragma once

#include <cstddef>
#include <string_view>

class TextUtils {
 public:
  /// Copies `source` and a terminating zero into `target`; the bytes beyond stay as they were.
  /// A text is never cut: if it has `size` bytes or more, nothing is copied and kvr_exception
  /// KVR_RES_TEXT_TOO_LONG is thrown. `context` names the field in its message and may be null.
  static void copy_safe(const char* context, char* target, std::size_t size,
                        std::string_view source);
};
