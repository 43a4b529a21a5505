#pragma once

#include <string_view>

#include "api/codes.h"
#include "api/result_records.h"
#include "text/result_bodies.h"
#include "text/text_writer.h"

// Lines that every phase of a three-phase result has, written one family after the other: A, B, C
// of one value, then A, B, C of the next.

/// Writes a line for each of three phases: `line(phase)` for a good one, nothing for one that was
/// not tested, the name of its code for any other. `out` is the stream or the writer
/// that `line` writes to.
template <typename Out, typename Phase, typename Line>
void ForEachPhase(Out& out, const Phase (&phases)[3], const Line& line) {
  for (const Phase& phase : phases) {
    if (phase.status == KVR_RES_OK) {
      line(phase);
    } else if (phase.status != KVR_RES_NOT_TESTED) {
      out << "ERROR " << CodeToText(phase.status) << '\n';
    }
  }
}

/// "TNR Ratio A: (H1-H2)/(X1-X2) = 2.00000000"
inline void write_formula_line(TextWriter& out, std::string_view prefix,
                               const char (&name)[kNameSize], const char (&high_side)[kNameSize],
                               const char (&low_side)[kNameSize], double value) {
  out << prefix << name << ": (" << high_side << ")/(" << low_side << ") = " << value << '\n';
}

/// A family of formula lines under the phases' own names.
template <typename Phase, typename Number>
void write_formula_lines(TextWriter& out, const Phase (&phases)[3], std::string_view prefix,
                         Number Phase::*value) {
  ForEachPhase(out, phases, [&](const Phase& phase) {
    write_formula_line(out, prefix, phase.phase_name, phase.high_side_phase, phase.low_side_phase,
                       phase.*value);
  });
}

/// A family of errors in percent, at the precision of errors.
template <typename Phase, typename Number>
void write_error_lines(TextWriter& out, const Phase (&phases)[3], std::string_view prefix,
                       Number Phase::*value) {
  out.precision(kErrorPrecision);
  ForEachPhase(out, phases, [&](const Phase& phase) {
    out << prefix << phase.phase_name << " % = " << phase.*value << '\n';
  });
  out.precision(kCommonPrecision);
}
