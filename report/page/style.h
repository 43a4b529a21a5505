#pragma once

#include "report/markup/markup.h"

namespace report {

/// The style sheet of the page: screen, narrow screen, A4 and Letter paper.
void write_style(Markup& out, const std::string& identification);

}  // namespace report
