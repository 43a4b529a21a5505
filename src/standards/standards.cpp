#include "standards/standards.h"

#include <plog/Log.h>

#include <array>
#include <iterator>

#include "common/errors.h"

namespace {

/// By kvr_StandardType.
constexpr std::array kTables = {&table_h1h2, &table_1u1v, &table_a2b2, &table_ab};

bool is_measure(std::int32_t code) { return code >= MEASURE_AB && code <= MEASURE_CN; }

const LabelTriple& getManualLabel(const StandardTable& table, std::int32_t measure) {
  if (!is_measure(measure)) {
    // Deliberate: labelPrimary for every side.
    throw kvr_exception(KVR_RES_INCORRECT_PARAMETERS,
                        "Standards::labelPrimary - unknown measure type!", kLogged,
                        "getManualLabel");
  }
  return table.manual[static_cast<std::size_t>(measure - MEASURE_AB)];
}

const LabelTriple& manual_label(std::int32_t measure, kvr_StandardType standard) {
  return getManualLabel(Standards::getStandard(standard), measure);
}

Measure ShortToMeasure(std::int32_t short_code) {
  if (!is_measure(short_code)) {
    throw kvr_exception(KVR_RES_INCORRECT_PARAMETERS, "ShortToMeasure - incorrect short", kLogged,
                        "ShortToMeasure");
  }
  return static_cast<Measure>(short_code);
}

}  // namespace

const StandardTable& Standards::getStandard(kvr_StandardType standard) {
  if (standard < KVR_STANDARD_H1H2 || standard > KVR_STANDARD_AB) {
    throw kvr_exception(KVR_RES_INCORRECT_PARAMETERS,
                        "Standards::getStandard - unknown standard type!", kLogged, "get");
  }
  return kTables[static_cast<std::size_t>(standard)]();
}

const VectorLabels& Standards::getVectorLabels(kvr_StandardType standard,
                                               const kvr_VectorGroup& group) {
  const auto& rows = getStandard(standard).groups;
  const std::string name = VectorGroupText(group);
  if (const auto exact = rows.find(name); exact != rows.end()) {
    return exact->second;
  }
  PLOGW << "Standards::getVectorLabels - no exact match for " << name
        << " standard: " << static_cast<std::int32_t>(standard) << ", looking for closest match";
  const auto above = rows.lower_bound(name);
  if (above == rows.end()) {  // only here: a name below the first row is answered
    throw kvr_exception(KVR_RES_VECTOR_GROUP_INCORRECT,
                        "Standards::getVectorLabels - cannot find vector " + name, kLogged,
                        "getVectorLabels");
  }
  const auto closest = above == rows.begin() ? above : std::prev(above);
  PLOGW << "Standards::getVectorLabels - found closest match for " << name << ": "
        << closest->first;
  return closest->second;
}

const std::string& Standards::labelPrimary(std::int32_t measure, kvr_StandardType standard) {
  return manual_label(measure, standard).primary;
}

const std::string& Standards::labelSecondary(std::int32_t measure, kvr_StandardType standard) {
  return manual_label(measure, standard).secondary;
}

const std::string& Standards::labelTertiary(std::int32_t measure, kvr_StandardType standard) {
  return manual_label(measure, standard).tertiary;
}

const std::string& Standards::shortLabelPrimary(std::int32_t short_code,
                                                kvr_StandardType standard) {
  return labelPrimary(ShortToMeasure(short_code), standard);
}

const std::string& Standards::shortLabelSecondary(std::int32_t short_code,
                                                  kvr_StandardType standard) {
  return labelSecondary(ShortToMeasure(short_code), standard);
}

const std::string& Standards::shortLabelTertiary(std::int32_t short_code,
                                                 kvr_StandardType standard) {
  return labelTertiary(ShortToMeasure(short_code), standard);
}
