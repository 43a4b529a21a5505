#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tape/vocabulary/differences.h"
#include "tape/vocabulary/event.h"

// Where a client leaves what was recorded.
namespace tape {

struct Divergence {
  std::string form;      ///< wrong, missing or extra call, wrong thread, early end, stuck, ...
  std::size_t line = 0;  ///< of the tape; 0 after its end
  std::string recorded;  ///< what the tape has
  std::string present;   ///< what happened instead
  std::vector<Difference> fields;
  std::vector<std::string> before;  ///< the last lines that were served

  /// For people, in several lines.
  std::string text() const;
};

/// A line of a tape in words: "line 12, thread 1: kvr_LockAPI is called".
std::string in_words(const Event& event);

/// A call in words: its name and its plain arguments.
std::string call_text(std::string_view name, const Fields& fields);

}  // namespace tape
