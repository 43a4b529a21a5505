#include <algorithm>
#include <cstring>
#include <string>

#include "common/errors.h"
#include "fuzz/fuzz_target.h"
#include "standards/standards.h"

// Compares the lookup of terminal labels with a walk through the whole table.

namespace {

std::string lower(std::string text) {
  for (char& character : text) {
    character = character >= 'A' && character <= 'Z' ? char(character - 'A' + 'a') : character;
  }
  return text;
}

/// The row that must be found for a name; null if there is none.
const VectorLabels* expected_row(const StandardTable& table, const std::string& name) {
  const VectorLabels* below = nullptr;
  const std::string sought = lower(name);
  for (const auto& [row_name, labels] : table.groups) {
    const std::string row = lower(row_name);
    if (row == sought) {
      return &labels;
    }
    if (row > sought) {
      return below != nullptr ? below : &labels;
    }
    below = &labels;
  }
  return nullptr;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  struct {
    std::int32_t standard;
    kvr_VectorGroup group;
    std::int32_t code;
  } asked{};
  static_assert(sizeof asked == 24);
  std::memcpy(&asked, data, std::min(size, sizeof asked));
  const auto standard = static_cast<kvr_StandardType>(asked.standard);
  const bool standard_known = asked.standard >= 0 && asked.standard < 4;
  try {
    const VectorLabels& labels = Standards::getVectorLabels(standard, asked.group);
    demand(standard_known, "an unknown standard has no labels");
    demand(&labels == expected_row(Standards::getStandard(standard), VectorGroupText(asked.group)),
           "the row is the one of that name, or the one below");
  } catch (const kvr_exception&) {
    demand(!standard_known || expected_row(Standards::getStandard(standard),
                                           VectorGroupText(asked.group)) == nullptr,
           "a row that is there is found");
  }
  const bool code_known = asked.code >= MEASURE_AB && asked.code <= MEASURE_CN;
  try {
    const std::string& label = Standards::labelPrimary(asked.code, standard);
    demand(standard_known && code_known, "an unknown pair has no label");
    demand(&label == &Standards::getStandard(standard).manual[std::size_t(asked.code - 1)].primary,
           "the label is that of the pair");
  } catch (const kvr_exception&) {
    demand(!standard_known || !code_known, "a label that is there is found");
  }
  return 0;
}
