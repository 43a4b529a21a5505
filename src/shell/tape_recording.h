#pragma once

#include <optional>
#include <string>
#include <vector>

// A run on tape: kvr-tape's recorder stands between the program and its client library.

/// Sees to it that all calls from here on are recorded on a new file `tape`. Where the recorder is
/// not the client library yet, this starts the program anew with `arguments`, so that it comes here
/// again; call it before anything else is done. Returns why the run can't be recorded.
std::optional<std::string> record_on_tape(const std::string& tape,
                                          const std::vector<std::string>& arguments);
