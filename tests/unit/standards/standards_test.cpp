#include "standards/standards.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "support/log_capture.h"
#include "support/meeting_point.h"
#include "support/thrown_exception.h"
#include "unit/standards/label_rows.h"

namespace {

constexpr auto kBadStandard = static_cast<kvr_StandardType>(4);
constexpr float kSixDegrees = 0.104719755F;

// --- getStandard ---------------------------------------------------------------------------------

TEST(GetStandard, ThrowsForAnUnknownStandard) {
  for (const std::int32_t standard : {-1, 4, 100, std::numeric_limits<std::int32_t>::min(),
                                      std::numeric_limits<std::int32_t>::max()}) {
    expect_kvr_exception(KVR_RES_INCORRECT_PARAMETERS, "get",
                         "Standards::getStandard - unknown standard type!",
                         [&] { Standards::getStandard(static_cast<kvr_StandardType>(standard)); });
  }
}

// --- First use -----------------------------------------------------------------------------------

/// Sixteen threads ask for every table at the same time; then the process ends, with 0 if all saw
/// the same full tables.
[[noreturn]] void use_tables_first_from_sixteen_threads() {
  constexpr std::ptrdiff_t kThreads = 16;
  MeetingPoint start(kThreads);
  std::array<std::array<const StandardTable*, 4>, kThreads> seen{};
  std::array<std::array<std::size_t, 4>, kThreads> sizes{};
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      start.arrive_and_wait();
      for (std::size_t i = 0; i < 4; ++i) {
        const std::size_t standard = (thread + i) % 4;
        seen[thread][standard] = &Standards::getStandard(kStandards[standard]);
        sizes[thread][standard] = seen[thread][standard]->groups.size();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  constexpr std::array<std::size_t, 4> kSizes = {59, 67, 44, 44};
  const bool are_equal =
      std::all_of(seen.begin(), seen.end(),
                  [&](const auto& tables) { return tables == seen[0]; }) &&
      std::all_of(sizes.begin(), sizes.end(), [&](const auto& counts) { return counts == kSizes; });
  std::exit(are_equal ? 0 : 1);
}

TEST(GetStandardDeathTest, BuildsATableOnceForConcurrentFirstCallers) {
  // In a process of its own, where no other test has built the tables.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(use_tables_first_from_sixteen_threads(), testing::ExitedWithCode(0), "");
}

// --- getVectorLabels -----------------------------------------------------------------------------

kvr_VectorGroup group(kvr_WindingType h_type, kvr_WindingType x_type, std::int32_t clock,
                      float phase_shift = 0) {
  return {h_type, x_type, clock, phase_shift};
}

/// The name of the row found for a group, or the failure.
std::string found_row(kvr_StandardType standard, const kvr_VectorGroup& wanted) {
  try {
    const VectorLabels& labels = Standards::getVectorLabels(standard, wanted);
    for (const auto& [name, row] : Standards::getStandard(standard).groups) {
      if (&row == &labels) {
        return name;
      }
    }
    return "not in the table";
  } catch (const kvr_exception& exception) {
    return std::string(CodeToText(exception.code));
  }
}

TEST(GetVectorLabels, FindsTheExactRowAndLogsNothing) {
  LogCapture log;
  for (const kvr_StandardType standard : kStandards) {
    EXPECT_EQ(found_row(standard, group(KVR_WINDING_D, KVR_WINDING_YN, 11)), "Dyn11");
    EXPECT_EQ(found_row(standard, group(KVR_WINDING_YN, KVR_WINDING_D, 1)), "YNd1");
    EXPECT_EQ(found_row(standard, group(KVR_WINDING_1P, KVR_WINDING_1P, 6)), "1Ph6");
    EXPECT_EQ(found_row(standard, group(KVR_WINDING_Z, KVR_WINDING_YN, 1)), "Zyn1");
  }
  EXPECT_EQ(found_row(KVR_STANDARD_AB, group(KVR_WINDING_1P, KVR_WINDING_A, 0)), "1Pa0");
  EXPECT_EQ(found_row(KVR_STANDARD_1U1V, group(KVR_WINDING_CT, KVR_WINDING_CT, 0)), "CT0");
  EXPECT_EQ(found_row(KVR_STANDARD_1U1V, group(KVR_WINDING_PT, KVR_WINDING_PT, 0)), "PT0");
  EXPECT_EQ(log.lines, std::vector<LogLine>{});
}

TEST(GetVectorLabels, FallsBackOnTheRowNextBelow) {
  const kvr_VectorGroup shifted = group(KVR_WINDING_D, KVR_WINDING_YN, 11, kSixDegrees);
  const kvr_VectorGroup unknown_clock = group(KVR_WINDING_D, KVR_WINDING_Y, 100);
  ASSERT_EQ(VectorGroupText(shifted), "Dyn11+6");
  ASSERT_EQ(VectorGroupText(unknown_clock), "DyX");
  for (const kvr_StandardType standard : kStandards) {
    EXPECT_EQ(found_row(standard, shifted), "Dyn11");
    EXPECT_EQ(found_row(standard, group(KVR_WINDING_D, KVR_WINDING_D, 1)), "Dd0");
  }
  for (const kvr_StandardType standard : {KVR_STANDARD_A2B2, KVR_STANDARD_AB}) {
    EXPECT_EQ(found_row(standard, group(KVR_WINDING_D, KVR_WINDING_Y, 5)), "Dy11");
    EXPECT_EQ(found_row(standard, unknown_clock), "Dyn3");
  }
  EXPECT_EQ(found_row(KVR_STANDARD_H1H2, unknown_clock), "Dyn9");
  EXPECT_EQ(found_row(KVR_STANDARD_1U1V, unknown_clock), "Dyn7");
  EXPECT_EQ(found_row(KVR_STANDARD_H1H2, group(KVR_WINDING_CT, KVR_WINDING_UNDEFINED, 0)),
            "3P Auto");
  EXPECT_EQ(found_row(KVR_STANDARD_H1H2, group(KVR_WINDING_PT, KVR_WINDING_UNDEFINED, 0)), "Dz6");
  EXPECT_EQ(found_row(KVR_STANDARD_H1H2, group(KVR_WINDING_Y, KVR_WINDING_A, 0)), "VREG");
  EXPECT_EQ(found_row(KVR_STANDARD_H1H2, group(KVR_WINDING_YN, KVR_WINDING_A, 0)), "Yd9");
}

TEST(GetVectorLabels, AnswersANameBelowTheFirstRowWithTheFirstRow) {
  for (const kvr_StandardType standard : {KVR_STANDARD_H1H2, KVR_STANDARD_1U1V}) {
    EXPECT_EQ(found_row(standard, group(KVR_WINDING_1P, KVR_WINDING_A, 0)), "1Ph0");
    EXPECT_EQ(found_row(standard, group(KVR_WINDING_UNDEFINED, KVR_WINDING_UNDEFINED, 0)), "1Ph0");
  }
  for (const kvr_StandardType standard : {KVR_STANDARD_A2B2, KVR_STANDARD_AB}) {
    EXPECT_EQ(found_row(standard, group(KVR_WINDING_UNDEFINED, KVR_WINDING_UNDEFINED, 0)), "1Pa0");
  }
}

TEST(GetVectorLabels, ThrowsForANameAboveTheLastRow) {
  const std::pair<kvr_VectorGroup, std::string> groups[] = {
      {group(KVR_WINDING_Z, KVR_WINDING_YN, 11), "Zyn11"},
      {group(KVR_WINDING_Z, KVR_WINDING_YN, 5), "Zyn5"},
      {group(KVR_WINDING_Z, KVR_WINDING_Z, 0), "Zz0"},
      {group(KVR_WINDING_Z, KVR_WINDING_YN, 1, kSixDegrees), "Zyn1+6"},
  };
  for (const kvr_StandardType standard : kStandards) {
    for (const auto& [wanted, name] : groups) {
      expect_kvr_exception(
          KVR_RES_VECTOR_GROUP_INCORRECT, "getVectorLabels",
          "Standards::getVectorLabels - cannot find vector " + name,
          [standard, &searched = wanted] { Standards::getVectorLabels(standard, searched); });
    }
  }
}

TEST(GetVectorLabels, ThrowsForAnUnknownStandardBeforeItLogs) {
  LogCapture log;
  expect_kvr_exception(
      KVR_RES_INCORRECT_PARAMETERS, "get", "Standards::getStandard - unknown standard type!",
      [] { Standards::getVectorLabels(kBadStandard, group(KVR_WINDING_Z, KVR_WINDING_Z, 0)); });
  ASSERT_EQ(log.lines.size(), 1U);
  EXPECT_EQ(log.lines[0].severity, plog::error);  // the exception's own line
}

TEST(GetVectorLabels, LogsTheSearchForAClosestMatch) {
  LogCapture log;
  Standards::getVectorLabels(KVR_STANDARD_AB,
                             group(KVR_WINDING_D, KVR_WINDING_YN, 11, kSixDegrees));
  const std::vector<LogLine> expected = {
      {plog::warning,
       "Standards::getVectorLabels - no exact match for Dyn11+6 standard: 3, looking for closest "
       "match"},
      {plog::warning, "Standards::getVectorLabels - found closest match for Dyn11+6: Dyn11"},
  };
  EXPECT_EQ(log.lines, expected);
}

TEST(GetVectorLabels, LogsAFailedSearch) {
  LogCapture log;
  EXPECT_THROW(
      Standards::getVectorLabels(KVR_STANDARD_H1H2, group(KVR_WINDING_Z, KVR_WINDING_Z, 0)),
      kvr_exception);
  const std::vector<LogLine> expected = {
      {plog::warning,
       "Standards::getVectorLabels - no exact match for Zz0 standard: 0, looking for closest "
       "match"},
      {plog::error,
       "Exception code: KVR_RES_VECTOR_GROUP_INCORRECT message: Standards::getVectorLabels - "
       "cannot "
       "find vector Zz0\r\n"},
  };
  EXPECT_EQ(log.lines, expected);
}

/// Keeps the function name of each log record.
class FunctionCapture : private plog::IAppender {
 public:
  FunctionCapture() : logger_(plog::verbose) { logger_.addAppender(this); }
  std::vector<std::string> functions;

 private:
  void write(const plog::Record& record) override {
    std::string function = record.getFunc();
    if (function.starts_with('&')) {  // compilers differ in the blank before or after it
      function.erase(0, 1);
    }
    functions.push_back(function);
  }

  plog::Logger<PLOG_DEFAULT_INSTANCE_ID> logger_;
};

TEST(GetVectorLabels, LogsFromTheFunctionOfItsSignature) {
  // A log record holds the signature's text. Checks the signature, and what a logger shows.
  static_assert(std::is_same_v<decltype(&Standards::getVectorLabels),
                               const VectorLabels& (*)(kvr_StandardType, const kvr_VectorGroup&)>);
  FunctionCapture log;
  Standards::getVectorLabels(KVR_STANDARD_AB, group(KVR_WINDING_D, KVR_WINDING_D, 1));
  EXPECT_EQ(log.functions,
            (std::vector<std::string>{"Standards::getVectorLabels", "Standards::getVectorLabels"}));
}

// --- Against a plain search ----------------------------------------------------------------------

std::string lower_case(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
  return text;
}

struct Row {
  std::string name;
  std::string lower_case_name;
};

/// The rows of a table in random order.
std::vector<Row> shuffled_rows(kvr_StandardType standard) {
  std::vector<Row> rows;
  for (const auto& [name, labels] : Standards::getStandard(standard).groups) {
    rows.push_back({name, lower_case(name)});
  }
  std::shuffle(rows.begin(), rows.end(), std::mt19937(1));
  return rows;
}

/// The row for a name, found by a search through all rows; or the failure.
std::string plainly_found_row(kvr_StandardType standard, const std::string& name) {
  static const std::vector<Row> tables[] = {
      shuffled_rows(KVR_STANDARD_H1H2), shuffled_rows(KVR_STANDARD_1U1V),
      shuffled_rows(KVR_STANDARD_A2B2), shuffled_rows(KVR_STANDARD_AB)};
  const std::string wanted = lower_case(name);
  const Row* first = nullptr;
  const Row* below = nullptr;
  bool is_any_above = false;
  for (const Row& row : tables[standard]) {
    if (row.lower_case_name == wanted) {
      return row.name;
    }
    if (first == nullptr || row.lower_case_name < first->lower_case_name) {
      first = &row;
    }
    if (row.lower_case_name < wanted &&
        (below == nullptr || row.lower_case_name > below->lower_case_name)) {
      below = &row;
    }
    is_any_above = is_any_above || row.lower_case_name > wanted;
  }
  if (!is_any_above) {
    return "KVR_RES_VECTOR_GROUP_INCORRECT";
  }
  return (below != nullptr ? below : first)->name;
}

TEST(GetVectorLabels, AgreesWithAPlainSearchForRandomGroups) {
  std::mt19937 random(20210305);
  const auto from_zero_to = [&](std::uint32_t last) { return random() % (last + 1); };
  for (int i = 0; i < 100000; ++i) {
    const kvr_StandardType standard = kStandards[from_zero_to(3)];
    const std::int32_t clock =
        from_zero_to(9) == 0 ? 100 : static_cast<std::int32_t>(from_zero_to(20)) - 4;
    const float shift =
        from_zero_to(1) == 0 ? 0.0F : static_cast<float>(from_zero_to(200)) / 25.0F - 4.0F;
    const kvr_VectorGroup wanted =
        group(static_cast<kvr_WindingType>(from_zero_to(14)),
              static_cast<kvr_WindingType>(from_zero_to(14)), clock, shift);
    const std::string name = VectorGroupText(wanted);
    ASSERT_EQ(found_row(standard, wanted), plainly_found_row(standard, name))
        << name << " in " << standard_name(standard);
  }
}

TEST(StandardTable, AgreesWithAPlainSearchForRandomNames) {
  constexpr std::string_view kCharacters = "0123456789+-?XDYZNdyznPhaCTVREG automxH";
  std::mt19937 random(7);
  for (int i = 0; i < 100000; ++i) {
    const kvr_StandardType standard = kStandards[random() % 4];
    const auto& rows = Standards::getStandard(standard).groups;
    std::string name;
    if (random() % 2 == 0) {  // a row's name, with its end altered
      name = std::next(rows.begin(), static_cast<std::ptrdiff_t>(random() % rows.size()))->first;
      name.resize(name.size() - random() % 3);
    }
    for (std::size_t more = random() % 4; more > 0; --more) {
      name += kCharacters[random() % kCharacters.size()];
    }
    auto found = rows.find(name);
    if (found == rows.end()) {
      found = rows.lower_bound(name);
      if (found != rows.end() && found != rows.begin()) {
        --found;
      }
    }
    ASSERT_EQ(found == rows.end() ? "KVR_RES_VECTOR_GROUP_INCORRECT" : found->first,
              plainly_found_row(standard, name))
        << '"' << name << "\" in " << standard_name(standard);
  }
}

// --- Labels of terminal pairs --------------------------------------------------------------------

using LabelOf = const std::string& (*)(std::int32_t, kvr_StandardType);
constexpr LabelOf kLabels[] = {&Standards::labelPrimary, &Standards::labelSecondary,
                               &Standards::labelTertiary};
constexpr LabelOf kShortLabels[] = {&Standards::shortLabelPrimary, &Standards::shortLabelSecondary,
                                    &Standards::shortLabelTertiary};
constexpr std::int32_t kBadCodes[] = {0,
                                      7,
                                      -1,
                                      100,
                                      std::numeric_limits<std::int32_t>::min(),
                                      std::numeric_limits<std::int32_t>::max()};

TEST(ManualLabels, AreThoseOfTheTables) {
  for (const kvr_StandardType standard : kStandards) {
    for (std::int32_t code = 1; code <= 6; ++code) {
      const LabelTriple& labels =
          Standards::getStandard(standard).manual.at(static_cast<std::size_t>(code) - 1);
      EXPECT_EQ(&Standards::labelPrimary(code, standard), &labels.primary);
      EXPECT_EQ(&Standards::labelSecondary(code, standard), &labels.secondary);
      EXPECT_EQ(&Standards::labelTertiary(code, standard), &labels.tertiary);
      EXPECT_EQ(&Standards::shortLabelPrimary(code, standard), &labels.primary);
      EXPECT_EQ(&Standards::shortLabelSecondary(code, standard), &labels.secondary);
      EXPECT_EQ(&Standards::shortLabelTertiary(code, standard), &labels.tertiary);
    }
  }
}

TEST(ManualLabels, KeepTheLetterStandardsLineToLine) {
  EXPECT_EQ(Standards::labelPrimary(MEASURE_AN, KVR_STANDARD_AB), "A-N");
  EXPECT_EQ(Standards::labelSecondary(MEASURE_AN, KVR_STANDARD_AB), "a-b");
  EXPECT_EQ(Standards::labelTertiary(MEASURE_CN, KVR_STANDARD_A2B2), "c2-a2");
  EXPECT_EQ(Standards::labelPrimary(MEASURE_AB, KVR_STANDARD_H1H2), "H2-H1");
}

TEST(ManualLabels, ThrowForAnUnknownMeasureOfEverySide) {
  for (const LabelOf label : kLabels) {
    for (const std::int32_t code : kBadCodes) {
      expect_kvr_exception(KVR_RES_INCORRECT_PARAMETERS, "getManualLabel",
                           "Standards::labelPrimary - unknown measure type!",
                           [&] { label(code, KVR_STANDARD_1U1V); });
    }
  }
}

TEST(ManualLabels, LookAtTheStandardFirst) {
  for (const LabelOf label : kLabels) {
    for (const std::int32_t code : {0, 1}) {
      expect_kvr_exception(KVR_RES_INCORRECT_PARAMETERS, "get",
                           "Standards::getStandard - unknown standard type!",
                           [&] { label(code, kBadStandard); });
    }
  }
}

TEST(ShortLabels, LookAtTheShortFirst) {
  for (const LabelOf label : kShortLabels) {
    for (const std::int32_t code : kBadCodes) {
      for (const kvr_StandardType standard : {KVR_STANDARD_AB, kBadStandard}) {
        expect_kvr_exception(KVR_RES_INCORRECT_PARAMETERS, "ShortToMeasure",
                             "ShortToMeasure - incorrect short", [&] { label(code, standard); });
      }
    }
    expect_kvr_exception(KVR_RES_INCORRECT_PARAMETERS, "get",
                         "Standards::getStandard - unknown standard type!",
                         [&] { label(1, kBadStandard); });
  }
}

}  // namespace
