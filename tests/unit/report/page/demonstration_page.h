#pragma once

#include <string>

#include "report/page/page.h"
#include "report/sections/sections.h"
#include "report/settings/settings.h"

namespace report {

/// The page of one record, as if it came from a file without content.
inline std::string page_of(const Record& record, const Settings& settings) {
  PageContent content;
  content.files.push_back({"records.db", 0, std::string(64, '0')});
  content.program_version = "0";
  content.sections.push_back(section_of(record, settings));
  return render_page(content, settings);
}

inline std::string page_of(RecordNest nest, const Settings& settings) {
  return page_of(Record{std::move(nest), Origin::kStore, "records.db", {}, true}, settings);
}

}  // namespace report
