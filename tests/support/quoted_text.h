#pragma once

#include <string>

/// Text in quotes, bytes that don't print as \xHH.
inline std::string quoted(const char* text) {
  if (text == nullptr) {
    return "null";
  }
  constexpr char kDigits[] = "0123456789abcdef";
  std::string result = "\"";
  for (const char* at = text; *at != '\0'; ++at) {
    const auto byte = static_cast<unsigned char>(*at);
    if (byte == '"' || byte == '\\') {
      result += '\\';
      result += *at;
    } else if (byte >= ' ' && byte < 0x7F) {
      result += *at;
    } else {
      result += "\\x";
      result += kDigits[byte >> 4U];
      result += kDigits[byte & 15U];
    }
  }
  return result + "\"";
}
