#include "unit/text/random_records.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "common/errors.h"
#include "text/text_output.h"
#include "unit/text/reference_text.h"
#include "unit/text/text_difference.h"

namespace {

/// The text that rendering leaves in a stream, and the resolver that refused, if any.
struct Rendering {
  std::string text;
  std::string refusal;

  bool operator==(const Rendering&) const = default;
};

Rendering render(const kvr_TestRecord& record) {
  std::ostringstream out;
  std::string refusal;
  try {
    KVR_Text_Output::ResultsToText(&record, out);
  } catch (const kvr_exception& error) {
    refusal = error.what();
  }
  return {out.str(), refusal};
}

Rendering render_reference(const kvr_TestRecord& record) {
  std::ostringstream out;
  std::string refusal;
  try {
    write_reference_text(record, out);
  } catch (const BadPair& pair) {
    refusal = pair.where + std::string(" Utils::") + pair.where + " - incorrect connection_type";
  }
  return {out.str(), refusal};
}

TEST(RandomRecordsText, IsThatOfPlainInsertionsLineByLineAndEveryTime) {
  constexpr int kRecords = 24000;
  RandomRecords records(20240301);
  std::map<std::uint32_t, int> of_type;
  int refused = 0;
  for (int round = 0; round < kRecords; ++round) {
    OwnedRecord owned = records.next();
    const kvr_TestRecord& record = *owned.get();
    const Rendering first = render(record);
    const Rendering reference = render_reference(record);
    ASSERT_EQ(first.refusal, reference.refusal) << "record " << round;
    ASSERT_EQ(text_difference(reference.text, first.text), "") << "record " << round;
    ASSERT_TRUE(first == render(record)) << "record " << round << " renders in two ways";
    refused += first.refusal.empty() ? 0 : 1;
    of_type[record.test_type] += 1;
  }
  // The records cover all kinds, some are refused, and most texts are whole.
  for (std::uint32_t type = 0; type <= 19; ++type) {
    EXPECT_GT(of_type[type], kRecords / 50) << type;
  }
  EXPECT_GT(refused, kRecords / 100);
  EXPECT_LT(refused, kRecords / 5);
}

}  // namespace
