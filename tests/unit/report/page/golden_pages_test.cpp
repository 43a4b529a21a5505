// The page of each demonstration record, byte for byte, and every number of the operator's text on
// the page of each record.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <set>

#include "common/field_text.h"
#include "demonstration_page.h"
#include "record_form/record_codec.h"
#include "report/program.h"
#include "support/record_text.h"
#include "tape/format/sha256.h"
#include "text/text_output.h"
#include "virtual_instrument/demonstration/demonstration.h"

namespace report {
namespace {

namespace fs = std::filesystem;
using virtual_instrument::demonstration_records;
using virtual_instrument::DemonstrationRecord;

const fs::path kGoldens = fs::path(KVR_TEST_DATA_DIR) / "golden" / "report";
const fs::path kRecords = fs::path(KVR_TEST_DATA_DIR) / "golden" / "records";

std::string read(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

Settings demonstration_settings() {
  const SettingsResult result = read_settings(read(kGoldens / "report.toml"), "report.toml");
  EXPECT_EQ(result.problems, std::vector<std::string>{});
  return result.settings;
}

void compare(const fs::path& golden, const std::string& page) {
  if (std::getenv("KVR_REBUILD_GOLDENS") != nullptr) {
    std::ofstream(golden, std::ios::binary) << page;
    ADD_FAILURE() << "rebuilt, not compared: " << golden;
    return;
  }
  const std::string expected = read(golden);
  const auto at = std::mismatch(page.begin(), page.end(), expected.begin(), expected.end()).first;
  const auto offset = static_cast<std::size_t>(at - page.begin());
  EXPECT_TRUE(page == expected)
      << golden << " differs from byte " << offset
      << " on: " << page.substr(offset > 80 ? offset - 80 : 0, 160)
      << "\nif the change is wanted: scripts/rebuild-goldens, and review it";
}

TEST(GoldenPages, OfEveryDemonstrationRecord) {
  const Settings settings = demonstration_settings();
  for (DemonstrationRecord& each : demonstration_records()) {
    const std::string id(field_text(each.record->record_id));
    compare(kGoldens / (id + ".html"), page_of(std::move(each.record), settings));
  }
}

/// The page of a record of tests/golden/records.
std::string page_of_sample(const std::string& name, const Settings& settings) {
  const fs::path path = kRecords / (name + ".record");
  OwnedRecord owned = parse_record(read(path), path.string());
  Record record{RecordNest(owned.get()), Origin::kStore, "records.db", {}, true};
  std::string page = page_of(record, settings);
  static_cast<void>(record.nest.release());  // the arena owns it
  return page;
}

/// Kinds and states that the demonstration has none of.
class SampleRecord : public testing::TestWithParam<const char*> {};

TEST_P(SampleRecord, HasItsPage) {
  compare(kGoldens / (std::string(GetParam()) + ".html"),
          page_of_sample(GetParam(), demonstration_settings()));
}

INSTANTIATE_TEST_SUITE_P(GoldenPages, SampleRecord,
                         testing::Values("ratio-ct", "ratio-pt-vt", "ratio-not-finite",
                                         "ratio-three-phase-failed-phases", "full-fields",
                                         "no-such-type", "no-tests", "resistance-point-states"));

TEST(GoldenPages, OfInstrumentTransformersWithTheirClasses) {
  Settings settings;
  settings.texts["nameplate.accuracy_class"] = "0.5";
  settings.values["nameplate.rated_voltage"] = 100;
  compare(kGoldens / "class-of-current.html", page_of_sample("ratio-ct", settings));
  compare(kGoldens / "class-of-voltage.html", page_of_sample("ratio-pt-vt", settings));
}

/// Two sets of samples: a sine with a third harmonic, and a direct voltage.
std::string raw_samples() {
  std::string text;
  for (const bool is_sine : {true, false}) {
    text += std::string("# RAW samples of phase ") + (is_sine ? "A" : "B") +
            ": H1-H2 and X1-X2, excited H1-H2\n# 1000 samples per second, 40 samples\n"
            "Time s;Voltage H V;Voltage X V;Current H A;Current X A\n";
    for (int i = 0; i < 40; ++i) {
      const double angle = 2 * std::numbers::pi * i / 20;
      const double value = is_sine ? 100 * std::sin(angle) + 20 * std::sin(3 * angle) : 5;
      std::array<char, 200> line{};
      const int size = std::snprintf(line.data(), line.size(), "%.8f;%.6e;%.6e;%.6e;%.6e\n",
                                     i / 1000.0, value, value / 10, value / 1000, 0.0);
      text.append(line.data(), static_cast<std::size_t>(size));
    }
  }
  return text;
}

TEST(GoldenPages, OfRawSamples) {
  auto records = demonstration_records();
  const auto sample = std::find_if(records.begin(), records.end(), [](const auto& each) {
    return field_text(each.record->record_id) == "demo-ratio-1ph";
  });
  ASSERT_NE(sample, records.end());
  delete[] sample->record->raw_data;
  sample->record->raw_data = new_text(raw_samples());
  compare(kGoldens / "raw.html", page_of(std::move(sample->record), demonstration_settings()));
}

TEST(GoldenPages, OfARecordedSession) {
  Sources sources;
  sources.tape = kGoldens / "session.kvrtape";
  sources.settings = kGoldens / "report.toml";
  compare(kGoldens / "session.html", make_page(sources, "0"));
}

TEST(GoldenPages, OfPhasesBesideEachOther) {
  Sources sources;
  sources.tape = kGoldens / "session.kvrtape";
  sources.compares_phases = true;
  compare(kGoldens / "phases.html", make_page(sources, "0"));
}

TEST(GoldenPages, OfRunFiles) {
  Sources sources;
  sources.runs = kGoldens / "runs";
  compare(kGoldens / "runs.html", make_page(sources, "0"));
}

TEST(GoldenPages, OfTwoRunsComparedWithDecimalCommas) {
  Sources sources;
  sources.runs = kGoldens / "runs";
  sources.compare = kGoldens / "session.kvrtape";
  sources.settings = kGoldens / "comma.toml";
  compare(kGoldens / "compared.html", make_page(sources, "0"));
}

TEST(GoldenPages, OfValuesInReportToml) {
  Sources sources;
  sources.settings = kGoldens / "entered.toml";
  compare(kGoldens / "entered.html", make_page(sources, "0"));
}

TEST(GoldenPages, OfTheExampleInTheDocumentation) {
  const Settings settings = demonstration_settings();
  PageContent content;
  content.program_version = "1.1.0.7";
  std::string forms;
  for (DemonstrationRecord& each : demonstration_records()) {
    const std::string id(field_text(each.record->record_id));
    if (id == "demo-ratio-down" || id == "demo-resistance" || id == "demo-impedance" ||
        id == "demo-heat-run") {
      const auto form = encode_record(*each.record);
      forms.append(reinterpret_cast<const char*>(form->data()), form->size());
      content.sections.push_back(section_of(
          {std::move(each.record), Origin::kStore, "demonstration", {}, true}, settings));
    }
  }
  ASSERT_EQ(content.sections.size(), 4U);
  content.files.push_back({"demonstration", forms.size(), tape::sha256(forms)});
  compare(fs::path(KVR_TEST_DATA_DIR).parent_path() / "docs" / "example-report.html",
          render_page(content, settings));
}

TEST(PageCost, OfAThousandTestsIsSmall) {
  auto records = demonstration_records();
  const auto sample = std::find_if(records.begin(), records.end(), [](const auto& each) {
    return field_text(each.record->record_id) == "demo-ratio-down";
  });
  const auto form = encode_record(*sample->record);
  const auto page_of_tests = [&form](int count) {
    std::vector<RecordNest> parts;
    for (int i = 0; i < count; ++i) {
      parts.push_back(decode_record(*form));
    }
    return page_of(join_records(std::move(parts)), {});
  };
  const std::clock_t begin = std::clock();
  const std::size_t size = page_of_tests(1000).size();
  const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
  RecordProperty("seconds", std::to_string(seconds));
  RecordProperty("bytes", std::to_string(size));
  EXPECT_LT(size, 5'000'000U);
  EXPECT_LT(seconds, 5) << "far above the second that a release build takes at most";
  EXPECT_LT(page_of_tests(2000).size(), 2 * size + 50'000);
}

/// A number of the operator's text: its value and how many decimals it has.
struct ShownNumber {
  double value;
  int decimals;
  std::string text;
};

/// Numbers that stand alone, not parts of names such as H1-H2 or dates.
std::vector<ShownNumber> numbers_in(std::string_view text) {
  std::vector<ShownNumber> numbers;
  const std::string_view kMarks = " \t\n=:();,<>\"%/";
  while (!text.empty()) {
    const std::size_t begin = std::min(text.find_first_not_of(kMarks), text.size());
    text.remove_prefix(begin);
    const std::string_view word = text.substr(0, std::min(text.find_first_of(kMarks), text.size()));
    text.remove_prefix(word.size());
    double value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (!word.empty() && error == std::errc() && end == word.data() + word.size()) {
      const std::size_t point = word.find('.');
      const auto decimals = point == std::string_view::npos ? 0 : word.size() - point - 1;
      numbers.push_back({value, static_cast<int>(decimals), std::string(word)});
    }
  }
  return numbers;
}

/// Numbers of the text that the page does not have, to the digits of the text.
std::string missing_numbers(const std::string& text, const std::string& page) {
  std::set<double> on_page;
  bool has_nan = false;
  for (const ShownNumber& number : numbers_in(page)) {
    has_nan = has_nan || std::isnan(number.value);
    if (!std::isnan(number.value)) {
      on_page.insert(number.value);
    }
  }
  std::string missing;
  for (const ShownNumber& number : numbers_in(text)) {
    if (std::isnan(number.value) ? has_nan : on_page.contains(number.value)) {
      continue;
    }
    const double half = 0.5000001 * std::pow(10, -number.decimals);
    const auto at = on_page.lower_bound(number.value - half);
    if (std::isnan(number.value) || at == on_page.end() || *at > number.value + half) {
      missing += number.text + " ";
    }
  }
  return missing;
}

/// Without what differs between two pages for other reasons: the style sheet and the pictures.
std::string tables_of(std::string page) {
  for (const auto& [open, close] :
       {std::pair{"<style>", "</style>"}, std::pair{"<svg", "</svg>"}}) {
    for (std::size_t begin = page.find(open); begin != std::string::npos; begin = page.find(open)) {
      page.erase(begin, page.find(close) - begin + std::string_view(close).size());
    }
  }
  return page;
}

TEST(NumbersOfTheOperatorsText, AreOnThePagesOfTheDemonstration) {
  for (DemonstrationRecord& each : demonstration_records()) {
    const std::string id(field_text(each.record->record_id));
    const std::string text = KVR_Text_Output::ResultsToString(each.record.get());
    ASSERT_GT(numbers_in(text).size(), 1U) << id;
    EXPECT_EQ(missing_numbers(text, tables_of(page_of(std::move(each.record), {}))), "") << id;
  }
}

using Transitions = std::vector<std::vector<kvr_TestData_Drm_Transition>>;

/// The sample records hold just the first of their transitions, which is all that the text reads; a
/// page reads all of them.
Transitions complete_transitions(kvr_TestRecord& record) {
  Transitions whole;
  for (std::uint32_t i = 0; record.data_drm != nullptr && i < record.data_count; ++i) {
    kvr_TestData_Drm* const test = record.data_drm[i];
    if (test != nullptr && test->first_transition != nullptr) {
      whole.emplace_back(std::max(test->transition_count, 1U), *test->first_transition);
      test->first_transition = whole.back().data();
    }
  }
  return whole;
}

TEST(NumbersOfTheOperatorsText, AreOnThePagesOfTheSampleRecords) {
  std::size_t count = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(kRecords)) {
    if (entry.path().extension() != ".record") {
      continue;
    }
    OwnedRecord owned = parse_record(read(entry.path()), entry.path().string());
    const Transitions transitions = complete_transitions(*owned.get());
    Record record{RecordNest(owned.get()), Origin::kStore, "f", {}, true};
    PageContent content;
    content.sections.push_back(section_of(record, {}));
    const std::string page = render_page(content, {});
    static_cast<void>(record.nest.release());  // the arena owns it
    fs::path text = entry.path();
    EXPECT_EQ(missing_numbers(read(text.replace_extension(".txt")), tables_of(page)), "")
        << entry.path();
    ++count;
  }
  EXPECT_GT(count, 30U);
}

TEST(NumbersOfTheOperatorsText, AreOnThePagesOfARecordedSession) {
  const Facts facts = read_tape(kGoldens / "session.kvrtape");
  ASSERT_EQ(facts.records.size(), 4U);
  for (const Record& record : facts.records) {
    const std::string text = KVR_Text_Output::ResultsToString(record.nest.get());
    ASSERT_GT(numbers_in(text).size(), 20U);
    EXPECT_EQ(missing_numbers(text, tables_of(page_of(record, {}))), "");
  }
}

TEST(NumbersOfTheOperatorsText, AreMissedWhereOneChanges) {
  EXPECT_EQ(missing_numbers("TNR = 2.00000000\n", "<td>2.00000001"), "2.00000000 ");
  EXPECT_EQ(missing_numbers("error % = 0.1235\n", "<td>0.12345678"), "");
  EXPECT_EQ(missing_numbers("x = nan\n", "<td>1"), "nan ");
}

}  // namespace
}  // namespace report
