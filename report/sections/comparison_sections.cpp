#include <algorithm>
#include <cmath>
#include <map>

#include "report/figures/comparison.h"
#include "report/figures/numbers.h"
#include "report/figures/ratio.h"
#include "report/sections/sections.h"

namespace report {
namespace {

std::string yes_or_no(const std::optional<bool>& within) {
  return !within ? std::string(kNotStated) : *within ? "within" : "outside";
}

/// The kind of test, without the record's ID.
std::string kind_of(const Section& section) {
  return section.title.substr(0, section.title.find(": "));
}

Table difference_table(const Section& first, const Section& second) {
  Table table{"Differences",
              {{"quantity", "", false},
               {"unit", "", false},
               {"first"},
               {"second"},
               {"difference"},
               {"difference", "%"},
               {"limit", "%"},
               {"against the limit", "", false},
               {"against 2.8 s", "", false}},
              {},
              "2.8 s needs three readings of the same point in the first run."};
  for (const Comparable& one : first.comparables) {
    const auto other = std::find_if(second.comparables.begin(), second.comparables.end(),
                                    [&](const Comparable& each) { return each.key == one.key; });
    if (other == second.comparables.end()) {
      continue;
    }
    std::optional<double> limit;
    if (one.limit_percent) {
      limit = std::abs(one.value) * *one.limit_percent / 100;
    }
    const Difference difference = difference_of(one.value, other->value, limit, one.deviation);
    table.rows.push_back(
        {text_cell(one.key), text_cell(one.unit), significant_cell(one.value, 7),
         significant_cell(other->value, 7), significant_cell(difference.absolute, 4),
         number_cell(difference.percent, 3),
         one.limit_percent ? Cell{shortest(*one.limit_percent), {}} : text_cell(kNotStated),
         text_cell(yes_or_no(difference.is_within_limit)),
         text_cell(yes_or_no(difference.is_within_repeatability))});
  }
  return table;
}

/// A chart, and what is said of its series beside others.
struct NamedChart {
  const Chart* chart;
  std::string name;
};

/// All charts in one; limits stand once.
Chart overlaid(const std::vector<NamedChart>& charts) {
  Chart result = *charts.front().chart;
  result.series.clear();
  for (const auto& [chart, name] : charts) {
    for (const Series& each : chart->series) {
      const bool is_limit = each.style == SeriesStyle::kLimit;
      if (is_limit && chart != charts.front().chart) {
        continue;
      }
      result.series.push_back(each);
      if (!is_limit) {
        result.series.back().name += " (" + name + ")";
      }
    }
  }
  return result;
}

std::vector<Picture> overlaid_pictures(const Section& first, const Section& second) {
  std::vector<Picture> pictures;
  for (const Picture& picture : first.pictures) {
    const auto* const chart = std::get_if<Chart>(&picture);
    for (const Picture& other : second.pictures) {
      const auto* const of_other = std::get_if<Chart>(&other);
      if (chart != nullptr && of_other != nullptr && chart->title == of_other->title) {
        pictures.emplace_back(overlaid({{chart, "first"}, {of_other, "second"}}));
        break;
      }
    }
  }
  return pictures;
}

/// One quantity of several phases.
struct OfPhases {
  const Comparable* first;
  std::vector<const Comparable*> values;  ///< one of each phase
};

/// In the order of their first values. A phase that comes again, in a later record, is left out.
std::vector<OfPhases> quantities_of_phases(const std::vector<const Section*>& sections) {
  std::vector<OfPhases> quantities;
  std::map<std::string, std::size_t> index;
  for (const Section* const section : sections) {
    for (const Comparable& each : section->comparables) {
      if (each.quantity.empty()) {
        continue;
      }
      const auto [at, is_new] = index.try_emplace(each.quantity, quantities.size());
      if (is_new) {
        quantities.push_back({&each, {}});
      }
      auto& values = quantities[at->second].values;
      if (std::none_of(values.begin(), values.end(),
                       [&each](const Comparable* other) { return other->phase == each.phase; })) {
        values.push_back(&each);
      }
    }
  }
  std::erase_if(quantities, [](const OfPhases& each) { return each.values.size() < 2; });
  return quantities;
}

/// The largest s of repeated readings of a phase.
std::optional<double> deviation_of(const OfPhases& quantity) {
  std::optional<double> largest;
  for (const Comparable* const each : quantity.values) {
    if (each->deviation) {
      largest = std::max(largest.value_or(0), *each->deviation);
    }
  }
  return largest;
}

/// The spread of one quantity as a row, and its verdict.
void add_spread(Section& section, Table& table, const OfPhases& quantity,
                const Settings& settings) {
  std::vector<double> values;
  std::string text;
  for (const Comparable* const each : quantity.values) {
    values.push_back(each->value);
    text += (text.empty() ? "" : ", ") + each->phase + " " + significant(each->value, 7);
  }
  const auto spread = phase_spread(values);
  if (!spread) {
    return;
  }
  const auto [smallest, largest] = std::minmax_element(values.begin(), values.end());
  const Difference difference =
      difference_of(*smallest, *largest, std::nullopt, deviation_of(quantity));
  const std::string& name = quantity.first->quantity;
  table.rows.push_back({text_cell(name), text_cell(quantity.first->unit), text_cell(text),
                        significant_cell(difference.absolute, 4),
                        number_cell(spread->range_percent, 3),
                        text_cell(yes_or_no(difference.is_within_repeatability))});
  // The middle phase of a core takes less current than the outer ones.
  if (quantity.first->limit_percent && !name.starts_with("current")) {
    const double limit = *quantity.first->limit_percent;
    section.findings.push_back(
        judge({name + ", (largest - smallest) / mean of the phases", spread->range_percent, "%", 3,
               Limits::at_most(limit), shortest(limit) + " %",
               "the limit of a difference of this quantity, indicative"},
              settings));
  }
}

std::vector<Picture> overlaid_pictures(const std::vector<const Section*>& sections) {
  std::vector<Picture> pictures;
  if (sections.size() < 2) {
    return pictures;  // the phases of one record are in one picture already
  }
  for (const Picture& picture : sections.front()->pictures) {
    std::vector<NamedChart> charts;
    const auto* const first = std::get_if<Chart>(&picture);
    for (const Section* const section : sections) {
      for (const Picture& other : section->pictures) {
        const auto* const chart = std::get_if<Chart>(&other);
        if (first != nullptr && chart != nullptr && chart->title == first->title) {
          charts.push_back({chart, section->title});
          break;
        }
      }
    }
    if (charts.size() > 1) {
      pictures.emplace_back(overlaid(charts));
    }
  }
  return pictures;
}

/// Sections that are compared, and what they are called together.
struct PhaseGroup {
  std::string name;
  std::vector<const Section*> sections;
};

bool has_several_phases(const Section& section) {
  return std::any_of(
      section.comparables.begin(), section.comparables.end(), [&section](const Comparable& each) {
        return !each.phase.empty() && each.phase != section.comparables.front().phase;
      });
}

/// A record that has several phases stands alone; those of one phase each belong together.
std::vector<PhaseGroup> phase_groups(const std::vector<Section>& sections) {
  std::vector<PhaseGroup> groups;
  std::map<std::string, std::size_t> kinds;
  for (const Section& section : sections) {
    if (has_several_phases(section)) {
      groups.push_back({section.title, {&section}});
      continue;
    }
    const auto [kind, is_new] = kinds.try_emplace(kind_of(section), groups.size());
    if (is_new) {
      groups.push_back({kind->first, {}});
    }
    groups[kind->second].sections.push_back(&section);
  }
  return groups;
}

}  // namespace

std::vector<Section> phase_sections(const std::vector<Section>& sections,
                                    const Settings& settings) {
  std::vector<Section> results;
  for (const auto& [name, of_group] : phase_groups(sections)) {
    Section section;
    section.title = "Phases beside each other: " + name;
    Table table{"Phases",
                {{"quantity", "", false},
                 {"unit", "", false},
                 {"phases", "", false},
                 {"largest - smallest"},
                 {"of the mean", "%"},
                 {"against 2.8 s", "", false}},
                {},
                "2.8 s needs three readings of the same point."};
    for (const OfPhases& quantity : quantities_of_phases(of_group)) {
      add_spread(section, table, quantity, settings);
    }
    if (!table.rows.empty()) {
      section.tables.push_back(std::move(table));
      section.pictures = overlaid_pictures(of_group);
      results.push_back(std::move(section));
    }
  }
  return results;
}

std::vector<Section> comparison_sections(const std::vector<Section>& first,
                                         const std::vector<Section>& second) {
  std::vector<Section> sections;
  std::vector<bool> is_used(second.size(), false);
  for (const Section& one : first) {
    // The n-th test of a kind in one run goes with the n-th of that kind in the other.
    for (std::size_t i = 0; i < second.size(); ++i) {
      if (is_used[i] || kind_of(second[i]) != kind_of(one)) {
        continue;
      }
      is_used[i] = true;
      Section section;
      section.title = "Comparison: " + kind_of(one);
      section.facts.emplace_back("First", one.title);
      section.facts.emplace_back("Second", second[i].title);
      if (Table table = difference_table(one, second[i]); !table.rows.empty()) {
        section.tables.push_back(std::move(table));
      } else {
        section.notes.emplace_back("No quantity stands in both.");
      }
      section.pictures = overlaid_pictures(one, second[i]);
      sections.push_back(std::move(section));
      break;
    }
  }
  return sections;
}

}  // namespace report
