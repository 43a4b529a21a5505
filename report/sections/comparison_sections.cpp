#include <algorithm>
#include <cmath>
#include <map>

#include "report/figures/comparison.h"
#include "report/figures/numbers.h"
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

/// Both charts in one; the series of the second have another name and symbol.
Chart overlaid(const Chart& first, const Chart& second) {
  Chart chart = first;
  chart.series.clear();
  for (const auto& [from, name] :
       {std::pair{&first, " (first)"}, std::pair{&second, " (second)"}}) {
    for (const Series& each : from->series) {
      if (each.style == SeriesStyle::kLimit && from == &second) {
        continue;
      }
      chart.series.push_back(each);
      if (each.style != SeriesStyle::kLimit) {
        chart.series.back().name += name;
      }
    }
  }
  return chart;
}

std::vector<Picture> overlaid_pictures(const Section& first, const Section& second) {
  std::vector<Picture> pictures;
  for (const Picture& picture : first.pictures) {
    const auto* const chart = std::get_if<Chart>(&picture);
    for (const Picture& other : second.pictures) {
      const auto* const of_other = std::get_if<Chart>(&other);
      if (chart != nullptr && of_other != nullptr && chart->title == of_other->title) {
        pictures.emplace_back(overlaid(*chart, *of_other));
        break;
      }
    }
  }
  return pictures;
}

}  // namespace

std::vector<Section> comparison_sections(const std::vector<Section>& first,
                                         const std::vector<Section>& second, const Settings&) {
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
