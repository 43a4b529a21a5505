#include "report/unattended/plan_page.h"

#include "record_form/record_codec.h"
#include "report/facts/library_facts.h"
#include "report/page/page.h"
#include "report/sections/sections.h"

namespace report {
namespace {

/// Waveforms are drawn for the first sets of samples alone.
constexpr std::size_t kRecordsWithSamples = 3;

RecordNest copy_of(const kvr_TestRecord& record) {
  if (const auto form = encode_record(record)) {
    return decode_record(*form);
  }
  const auto blocks = encode_plain_record(record);
  return blocks ? decode_plain_record(*blocks) : nullptr;
}

std::string words_of(const Plan& plan) {
  std::string words = "Plan " + plan.file;
  for (const auto& [name, value] : plan.item) {
    words.append(", ").append(name).append(": ").append(value);
  }
  return words + ".";
}

}  // namespace

void PlanPage::add(std::size_t test, const kvr_TestRecord& record) {
  auto& records = tests_[test];
  kvr_TestRecord kept = record;
  if (records.size() >= kRecordsWithSamples) {
    kept.raw_data = nullptr;
  }
  if (RecordNest copy = copy_of(kept)) {
    records.push_back(std::move(copy));
  }
}

std::string PlanPage::render(const PlanFacts& facts, const std::string& program_version) {
  PageContent content;
  content.instrument = instrument_of(facts.device);
  if (!facts.client_version.empty()) {
    content.instrument.client_version = facts.client_version;
  }
  content.remarks = calibration_remarks(facts.device);
  content.remarks.insert(content.remarks.begin(), words_of(facts.plan));
  content.program_version = program_version;
  for (const std::string& file : facts.files) {
    content.files.push_back(source_file(file, read_bytes(file)));
  }
  for (auto& [test, records] : tests_) {
    if (!records.empty()) {
      const Record record{joined_run(std::move(records)), Origin::kTape, facts.plan.file, {}, true};
      Section section = section_of(record, {});
      section.title = facts.plan.tests[test - 1].name + ": " + section.title;
      content.sections.push_back(std::move(section));
    }
  }
  return render_page(content, {});
}

}  // namespace report
