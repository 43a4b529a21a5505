#include "report/program.h"

#include "report/sections/sections.h"

namespace report {
namespace {

/// A folder holds run files; a file is a tape by its name, else a store.
Facts read_any(const std::filesystem::path& path) {
  if (std::filesystem::is_directory(path)) {
    return read_runs(path);
  }
  return path.extension() == ".kvrtape" ? read_tape(path) : read_store(path);
}

Facts read_sources(const Sources& sources) {
  if (!sources.tape.empty()) {
    return read_tape(sources.tape, sources.records);
  }
  if (!sources.store.empty()) {
    return read_store(sources.store, sources.records);
  }
  if (!sources.runs.empty()) {
    return read_runs(sources.runs, sources.records);
  }
  return {};
}

std::vector<Section> sections_of(const Facts& facts, const Settings& settings) {
  std::vector<Section> sections;
  for (const Record& record : facts.records) {
    sections.push_back(section_of(record, settings));
  }
  return sections;
}

template <typename Value>
void append(std::vector<Value>& values, std::vector<Value> more) {
  for (Value& value : more) {
    values.push_back(std::move(value));
  }
}

Settings settings_of(const Sources& sources, std::vector<SourceFile>& files) {
  if (sources.settings.empty()) {
    return {};
  }
  const std::string text = read_bytes(sources.settings);
  files.push_back(source_file(sources.settings, text));
  SettingsResult result = read_settings(text, name_of(sources.settings));
  if (!result.problems.empty()) {
    throw Problems{std::move(result.problems)};
  }
  return std::move(result.settings);
}

}  // namespace

std::string make_page(const Sources& sources, const std::string& program_version) {
  try {
    Facts facts = read_sources(sources);
    std::vector<SourceFile> files = facts.files;
    const Settings settings = settings_of(sources, files);
    std::vector<Section> sections = sections_of(facts, settings);
    append(sections, excitation_sections(facts.records));
    if (sources.compares_phases) {
      append(sections, phase_sections(sections, settings));
    } else if (!sources.compare.empty()) {
      Facts others = read_any(sources.compare);
      append(sections, comparison_sections(sections, sections_of(others, settings)));
      append(files, std::move(others.files));
      append(facts.remarks, std::move(others.remarks));
    }
    append(sections, entered_sections(settings));
    return render_page({facts.instrument, std::move(files), std::move(facts.remarks),
                        std::move(sections), program_version},
                       settings);
  } catch (const ReadFailure& failure) {
    throw Problems{{failure.what()}};
  }
}

}  // namespace report
