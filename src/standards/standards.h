#pragma once

#include <cstdint>
#include <string>

#include "api/standard_type.h"
#include "standards/standard_tables.h"
#include "text/vector_group_text.h"

/// Looks up terminal labels. All references point into a standard's table and stay valid until the
/// process ends; any thread may call. Failures are kvr_exceptions.
class Standards {
 public:
  /// Throws KVR_RES_INCORRECT_PARAMETERS for an unknown standard.
  static const StandardTable& getStandard(kvr_StandardType standard);

  /// The labels of a vector group's three phases. Without a row of that name, and with a warning in
  /// the log, those of the row next below it in alphabetical order, which is the plain group when
  /// only a suffix differs, or else of the first row. Throws KVR_RES_VECTOR_GROUP_INCORRECT for a
  /// name above the last row.
  static const VectorLabels& getVectorLabels(kvr_StandardType standard,
                                             const kvr_VectorGroup& group);

  // The labels of a terminal pair, by Measure. They throw KVR_RES_INCORRECT_PARAMETERS for an
  // unknown standard, which is checked first, and for a code outside 1 to 6.

  static const std::string& labelPrimary(std::int32_t measure, kvr_StandardType standard);
  static const std::string& labelSecondary(std::int32_t measure, kvr_StandardType standard);
  static const std::string& labelTertiary(std::int32_t measure, kvr_StandardType standard);

  // The same by short code, whose numbers are those of the measures. Here the code is
  // checked first.

  static const std::string& shortLabelPrimary(std::int32_t short_code, kvr_StandardType standard);
  static const std::string& shortLabelSecondary(std::int32_t short_code, kvr_StandardType standard);
  static const std::string& shortLabelTertiary(std::int32_t short_code, kvr_StandardType standard);
};
