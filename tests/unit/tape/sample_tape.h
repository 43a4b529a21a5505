#pragma once

#include <string>

// A tape of a small session that has every kind of line: two threads of the client, a thread of the
// library, a call within a callback, records, a list and raw data.

/// The tape as its lines.
std::string sample_tape();
