#include <charconv>
#include <fstream>
#include <istream>
#include <ostream>

#include "panel/bench_file.h"
#include "panel/commands.h"
#include "panel/new_bench.h"

namespace panel {
namespace {

using virtual_instrument::CircuitTest;
using virtual_instrument::Side;

/// Asks until an answer is taken; false at the end of the answers.
template <typename Take>
bool ask(const char* question, std::istream& answers, std::ostream& words, Take take) {
  std::string answer;
  do {
    words << question << ": " << std::flush;
    if (!std::getline(answers, answer)) {
      words << '\n';
      return false;
    }
  } while (!take(answer));
  return true;
}

bool ask_for_number(const char* question, std::optional<double>& value, std::istream& answers,
                    std::ostream& words) {
  return value || ask(question, answers, words, [&value](const std::string& answer) {
           double number = 0;
           const char* const end = answer.data() + answer.size();
           const auto read = std::from_chars(answer.data(), end, number);
           const bool good =
               read.ptr == end && read.ec == std::errc() && number > 0 && number <= 1e9;
           value = good ? std::optional(number) : std::nullopt;
           return good;
         });
}

bool is_group(const std::string& name) { return virtual_instrument::parse_group(name).has_value(); }

bool ask_for_plate(NewBenchOrder& order, std::istream& answers, std::ostream& words) {
  const auto take_group = [&order](const std::string& answer) {
    order.group = answer;
    return is_group(answer);
  };
  return (!order.group.empty() ||
          ask("Vector group, as Dyn11 or Ii0", answers, words, take_group)) &&
         ask_for_number("Rated voltage of the high side, V", order.high_voltage, answers, words) &&
         ask_for_number("Rated voltage of the low side, V", order.low_voltage, answers, words) &&
         ask_for_number("Rated power, kVA", order.kva, answers, words);
}

std::optional<CircuitTest> test_of(const std::vector<double>& figures, const std::string& side) {
  if (figures.empty()) {
    return std::nullopt;
  }
  return CircuitTest{side == "high" ? Side::high : Side::low, figures[0], figures[1], figures[2]};
}

KnownUnit known_unit(const NewBenchOrder& order) {
  return {.group_name = order.group,
          .group = virtual_instrument::parse_group(order.group).value(),
          .high_voltage = order.high_voltage.value(),
          .low_voltage = order.low_voltage.value(),
          .kva = order.kva.value(),
          .frequency = order.frequency,
          .impedance = order.impedance,
          .open_circuit = test_of(order.open_circuit, order.open_circuit_side),
          .short_circuit = test_of(order.short_circuit, order.short_circuit_side),
          .high_resistance = order.high_resistance,
          .low_resistance = order.low_resistance,
          .temperature = order.temperature};
}

int refuse(const std::string& why, std::ostream& words) {
  words << "instrument-panel: " << why << '\n';
  return kWrong;
}

/// A file that exists is never replaced.
int write_file(const std::string& name, const std::string& text, std::ostream& words) {
  const std::filesystem::path path = path_of(name);
  if (std::filesystem::exists(path)) {
    return refuse(name + " exists already", words);
  }
  std::ofstream file(path, std::ios::binary);
  file << text << std::flush;
  return file.good() ? kDone : refuse(name + " can't be written", words);
}

}  // namespace

int new_bench(NewBenchOrder order, std::istream& answers, std::ostream& out, std::ostream& words) {
  if (!order.group.empty() && !is_group(order.group)) {
    return refuse("no vector group '" + order.group + "'", words);
  }
  if (!ask_for_plate(order, answers, words)) {
    return refuse("the answers ended", words);
  }
  try {
    const KnownUnit unit = known_unit(order);
    const std::string text = bench_text(unit, fitted_bench(unit));
    if (order.file.empty()) {
      out << text << std::flush;
      return kDone;
    }
    return write_file(order.file, text, words);
  } catch (const UnitProblem& problem) {
    return refuse(problem.text, words);
  }
}

}  // namespace panel
