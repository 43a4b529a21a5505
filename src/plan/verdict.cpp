#include "plan/verdict.h"

#include <algorithm>
#include <concepts>
#include <string_view>

#include "common/field_text.h"
#include "plan/record_fields.h"

namespace {

struct VerdictEntry {
  const char* name;
  int exit_status;
};

constexpr VerdictEntry kVerdicts[] = {{"within", 0},   {"no limits", 10}, {"partial", 10},
                                      {"outside", 20}, {"refused", 30},   {"cancelled", 40}};

const VerdictEntry& entry_of(Verdict verdict) {
  return kVerdicts[static_cast<std::size_t>(verdict)];
}

/// Calls `use(name, value)` for the numbers of a record, those of records within it left out.
template <class Use>
struct Numbers {
  Use& use;
  template <class Field>
  void operator()(std::string_view name, const Field& field) {
    if constexpr (std::floating_point<Field>) {
      use(name, static_cast<double>(field));
    }
  }
};

template <class Record, class Use>
void for_each_number(const Record& record, Use use) {
  Numbers<Use> numbers{use};
  for_each_field(record, numbers);
}

bool is_tested(const kvr_TestData_Ratio_3ph& test, std::int32_t phase) {
  return test.phases[phase].status != KVR_RES_NOT_TESTED &&
         (test.tested_phase == phase || test.tested_phase < 0 || test.tested_phase > 2);
}

class Judge {
 public:
  explicit Judge(const std::vector<Limit>& limits) : limits_(limits) {}

  void look_at(const kvr_TestData_Ratio_1ph& test) {
    ++results_;
    check(test, "");
    look_at(test.phase);
  }
  void look_at(const kvr_TestData_Ratio_3ph& test) {
    ++results_;
    check(test, "");
    for (std::int32_t phase = 0; phase < 3; ++phase) {
      if (is_tested(test, phase)) {
        look_at(test.phases[phase]);
      }
    }
  }
  template <class Result>
  void look_at(Result* const* results, std::uint32_t count) {
    for (std::uint32_t i = 0; results != nullptr && i < count; ++i) {
      if (results[i] != nullptr) {
        look_at(*results[i]);
      }
    }
  }

  Judgement judgement(kvr_code code) && {
    const bool all_hold =
        std::all_of(checks_.begin(), checks_.end(), [](const Check& c) { return c.holds(); });
    Verdict verdict = limits_.empty() ? Verdict::no_limits : Verdict::within;
    if (code != KVR_RES_OK || failed_ || results_ == 0) {
      verdict = Verdict::partial;
    }
    return {all_hold ? verdict : Verdict::outside, std::move(checks_)};
  }

 private:
  void look_at(const kvr_TestData_Ratio_Phase& phase) {
    failed_ = failed_ || phase.status != KVR_RES_OK;
    check(phase, std::string(field_text(phase.phase_name)));
  }

  template <class Record>
  void check(const Record& record, const std::string& phase) {
    for_each_number(record, [&](std::string_view name, double value) {
      for (const Limit& limit : limits_) {
        if (limit.quantity == name) {
          checks_.push_back({limit.quantity, phase, value, limit.low, limit.high});
        }
      }
    });
  }

  const std::vector<Limit>& limits_;
  std::vector<Check> checks_;
  std::size_t results_ = 0;
  bool failed_ = false;
};

}  // namespace

const char* name_of(Verdict verdict) { return entry_of(verdict).name; }

int exit_status_of(Verdict verdict) { return entry_of(verdict).exit_status; }

Judgement judge(kvr_code code, const kvr_TestRecord* record, const PlannedTest& test) {
  if (record == nullptr) {
    return {code == KVR_RES_OPERATION_CANCELLED ? Verdict::cancelled : Verdict::refused, {}};
  }
  Judge judge(test.limits);
  if (test.three_phase) {
    judge.look_at(record->data_ratio_3ph, record->data_count);
  } else {
    judge.look_at(record->data_ratio_1ph, record->data_count);
  }
  return std::move(judge).judgement(code);
}

std::vector<std::string> quantities(bool three_phase) {
  std::vector<std::string> names;
  const auto add = [&names](std::string_view name, double) { names.emplace_back(name); };
  if (three_phase) {
    for_each_number(kvr_TestData_Ratio_3ph{}, add);
  } else {
    for_each_number(kvr_TestData_Ratio_1ph{}, add);
  }
  for_each_number(kvr_TestData_Ratio_Phase{}, add);
  return names;
}

bool needs_nameplate_ratio(const std::string& quantity) {
  return quantity == "tnr_error" || quantity == "true_ratio_error" || quantity == "ratio_3ph_error";
}
