#pragma once

#include <string>
#include <vector>

#include "report/facts/facts.h"
#include "report/sections/section.h"
#include "report/settings/settings.h"

// The page: one HTML file, complete without script and network, for a screen and for paper.

namespace report {

struct PageContent {
  Instrument instrument;
  std::vector<SourceFile> files;
  std::vector<std::string> remarks;
  std::vector<Section> sections;
  std::string program_version;
};

/// The same content and settings give the same bytes.
std::string render_page(const PageContent& content, const Settings& settings);

/// The identification on every sheet: the beginning of a SHA-256 over the files.
std::string identification_of(const std::vector<SourceFile>& files);

}  // namespace report
