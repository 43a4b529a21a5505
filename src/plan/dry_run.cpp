#include "plan/dry_run.h"

#include "text/text_output.h"
#include "toml/toml_keys.h"

using toml_file::number_text;

namespace {

std::string counted(std::size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

const char* direction_text(kvr_TestType direction) {
  switch (direction) {
    case KVR_TEST_RATIO_DOWN:
      return "step down";
    case KVR_TEST_RATIO_UP:
      return "step up";
    case KVR_TEST_RATIO_CT:
      return "current transformer";
    default:
      return "auto";
  }
}

std::string windings_text(const PlannedTest& test) {
  std::string text = std::string(KVR_Text_Output::WindingTextUpper(test.high_winding)) + "-" +
                     std::string(KVR_Text_Output::WindingTextLower(test.low_winding));
  if (test.shift) {
    return text + ", shift " + number_text(*test.shift) + " degrees";
  }
  return text + (test.clock == kClockUnknown ? ", clock unknown"
                                             : ", clock " + std::to_string(test.clock));
}

std::string method_text(const PlannedTest& test) {
  return test.all_methods ? "all methods"
                          : std::string(KVR_Text_Output::TestingModeText(test.method));
}

std::string subject_text(const PlannedTest& test) {
  if (test.three_phase) {
    return std::string("three-phase, ") + direction_text(test.direction) + ", " +
           method_text(test) + ", " + windings_text(test);
  }
  const auto pair = [](std::int32_t number, bool high) {
    return std::string(KVR_Text_Output::TerminalPairText(static_cast<std::uint32_t>(number), high));
  };
  return std::string("single-phase, ") + direction_text(test.direction) + ", " +
         pair(test.high_side, true) + ", " + pair(test.low_side, false);
}

/// Equal voltages in a row are told once.
std::string voltages_text(const VoltagePlan& voltages) {
  std::string text;
  for (std::size_t i = 0; i < voltages.size();) {
    std::size_t end = i;
    while (end < voltages.size() && voltages[end].voltage == voltages[i].voltage) {
      ++end;
    }
    // By way of the text of the float, which is the one that was written.
    std::ostringstream number;
    number << voltages[i].voltage;
    text += (text.empty() ? "" : ", ") + number.str() + " V";
    if (end - i > 1) {
      text += " " + counted(end - i, "time");
    }
    i = end;
  }
  return text;
}

std::string limits_text(const PlannedTest& test) {
  std::string text;
  for (const Limit& limit : test.limits) {
    text += (text.empty() ? "" : "; ") + limit.quantity + " from " + number_text(limit.low) +
            " to " + number_text(limit.high);
  }
  return text.empty() ? "none" : text;
}

std::string test_text(const PlannedTest& test, std::size_t number) {
  std::string text = std::to_string(number) + ". " + test.name + '\n';
  const auto line = [&text](const char* name, const std::string& value) {
    text += "   " + std::string(name) + ": " + value + '\n';
  };
  line("test", subject_text(test));
  line("voltages", voltages_text(test.voltages));
  line("nameplate ratio", test.nameplate_ratio == 0 ? "none" : number_text(test.nameplate_ratio));
  line("stored", test.id.empty()                    ? "no"
                 : test.stored && !test.all_methods ? "as " + test.id
                                                    : "no, named " + test.id);
  line("limits", limits_text(test));
  return text;
}

}  // namespace

std::string dry_run_text(const Plan& plan) {
  std::string text = plan.file + ": " + counted(plan.tests.size(), "test") + ", " +
                     counted(measurements_of(plan), "measurement") + '\n';
  text += "Connection: ";
  text += plan.connection == KVR_CONNECTION_SERVICE ? "service" : "USB or Wi-Fi";
  text += plan.serial_port.empty() ? "" : ", test station on " + plan.serial_port;
  text += '\n';
  for (const auto& [name, value] : plan.item) {
    text.append("Item ").append(name).append(": ").append(value).append("\n");
  }
  text += '\n';
  for (std::size_t i = 0; i < plan.tests.size(); ++i) {
    text += test_text(plan.tests[i], i + 1);
  }
  return text;
}
