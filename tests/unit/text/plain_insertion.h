#pragma once

#include <cmath>
#include <ostream>

/// Inserts a number with `<<`. A NaN is inserted as a word with its sign, since C libraries differ
/// on that.
inline void insert_plainly(std::ostream& out, double value) {
  if (std::isnan(value)) {
    out << (std::signbit(value) ? "-nan" : "nan");
  } else {
    out << value;
  }
}
