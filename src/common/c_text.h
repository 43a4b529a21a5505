#pragma once

#include <ostream>

/// Writes a C text that may be null. A null text writes nothing and leaves the stream bad, so that
/// nothing written to it later shows either.
inline void write_c_text(std::ostream& out, const char* text) {
  if (text == nullptr) {
    out.setstate(std::ios_base::badbit);
  } else {
    out << text;
  }
}
