#pragma once

#include <string>

#include "printed_text.h"

/// Registers the peers with which the text of a case is compared, all in memory: the floor, `<<`
/// into a fresh and a reused stream, snprintf and fmt. Throws std::logic_error if one of them
/// writes other bytes than `text`. An item is one text.
void register_text_peers(const std::string& name_of_case, const std::string& text,
                         bool may_be_general);
