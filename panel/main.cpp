#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>

#include "panel/commands.h"

// instrument-panel: the virtual instrument's own front panel.

namespace {

constexpr const char* kFooter =
    "Exit status:\n"
    "  0  done\n"
    "  1  the command line or the bench can't be used\n"
    "  2  refused by the instrument\n";

const std::map<std::string, virtual_instrument::WindingPair> kPairs{
    {"H-X", virtual_instrument::WindingPair::h_x},
    {"H-Y", virtual_instrument::WindingPair::h_y},
    {"X-Y", virtual_instrument::WindingPair::x_y}};

/// From just above 0 to a value that no unit exceeds; NaN is neither.
const CLI::Validator kPositive(
    [](const std::string& text) {
      double value = 0;
      const bool good = CLI::detail::lexical_cast(text, value) && value > 0 && value <= 1e9;
      return good ? std::string() : text + ": expected a number above 0";
    },
    "above 0");

const CLI::Validator kTemperature(
    [](const std::string& text) {
      double value = 0;
      const bool good = CLI::detail::lexical_cast(text, value) && value >= -50 && value <= 400;
      return good ? std::string() : text + ": expected degrees C from -50 to 400";
    },
    "degrees C");

/// Names of commands and options, and which function carries them out.
class Commands {
 public:
  Commands() {
    app_.require_subcommand(1);
    app_.set_version_flag("--version", std::string("instrument-panel ") + KVR_VERSION);
    app_.footer(kFooter);
    if (const char* const bench = std::getenv("KVR_BENCH_FILE")) {
      bench_ = bench;
    }
    add_measure();
    add_records();
    add_benches();
    add_new_bench();
  }

  int run(int count, char** values) {
    try {
      app_.parse(count, values);
    } catch (const CLI::ParseError& error) {
      return app_.exit(error) == 0 ? panel::kDone : panel::kWrong;
    }
    return command_();
  }

 private:
  CLI::App* add(const char* name, const char* help, const std::function<int()>& command) {
    CLI::App* made = app_.add_subcommand(name, help);
    made->callback([this, command] { command_ = command; });
    return made;
  }

  void add_bench(CLI::App& command) {
    command.add_option("--bench", bench_,
                       "bench file; else that of KVR_BENCH_FILE, else the built-in bench");
  }

  void add_measure() {
    CLI::App* measure = add("measure", "make tests on the unit of a bench", [this] {
      order_.bench_file = bench_;
      order_.windings = kPairs.at(windings_);
      return panel::measure(order_, std::cout, std::cerr);
    });
    add_bench(*measure);
    measure->footer("Tests:\n" + panel::list_of_kinds());
    measure->add_option("KIND", order_.kinds, "tests, one after the other on the same unit")
        ->required();
    measure->add_option("--windings", windings_, "that the tests join; without it H-X")
        ->check(CLI::IsMember(kPairs));
    measure->add_option("--id", order_.id, "ID of the record; else one of date and time");
    measure->add_option("--asset", order_.asset, "the unit's name");
    measure->add_flag("--add", order_.add, "add the test to the record of that ID");
    measure->add_option("--voltage", order_.voltage, "V, of tests with alternating voltage")
        ->check(kPositive);
    measure->add_option("--frequency", order_.frequency, "Hz; else that of the unit")
        ->check(CLI::IsMember({50, 60}));
    measure->add_option("--direct-voltage", order_.direct_voltage, "V, the most of that source")
        ->check(kPositive);
    measure->add_option("--direct-current", order_.direct_current, "A, the most of that source")
        ->check(kPositive);
    measure->add_option("--corrected-to", order_.corrected_to, "degrees C, of impedance and losses")
        ->check(kTemperature);
    measure->add_option("--minimum-inductance", order_.minimum_inductance, "H, of go-no-go")
        ->check(kPositive);
    measure->add_option("--readings", order_.readings, "of continuous and heat-run")
        ->check(CLI::Range(1, 10000));
    measure->add_option("--interval", order_.interval, "s, from one of these to the next")
        ->check(kPositive);
    measure->add_option("--ambient", order_.ambient, "degrees C, around a unit that cools")
        ->check(kTemperature);
    measure->add_option("--rise", order_.rise, "K above it, at the moment of switching off")
        ->check(kTemperature);
    measure->add_option("--time-constant", order_.time_constant, "s, of the cooling")
        ->check(kPositive);
    measure->add_option("--frequencies", order_.frequencies, "Hz, of stray-loss: 25,50,100")
        ->delimiter(',')
        ->check(kPositive);
  }

  void add_records() {
    CLI::App* records =
        add("records", "list the records of the bench's store, or show some",
            [this] { return panel::show_records(bench_, ids_, std::cout, std::cerr); });
    add_bench(*records);
    records->add_option("ID", ids_, "records to show");
  }

  void add_benches() {
    add("check", "find all problems of bench files",
        [this] { return panel::check_benches(files_, std::cout, std::cerr); })
        ->add_option("FILE", files_, "bench files")
        ->required();
    add("show", "show the unit on a bench and what the tests find",
        [this] { return panel::show_bench(bench_, std::cout, std::cerr); })
        ->add_option("FILE", bench_,
                     "bench file; else that of KVR_BENCH_FILE, else the built-in bench");
  }

  void add_new_bench() {
    CLI::App* made = add("new-bench", "make a bench from what is known of a unit", [this] {
      return panel::new_bench(unit_, std::cin, std::cout, std::cerr);
    });
    made->footer(
        "What is needed and not given is asked for. What is not known is assumed, and marked so.");
    made->add_option("--group", unit_.group, "vector group, as Dyn11, YNyn0 or Ii0");
    made->add_option("--high", unit_.high_voltage, "V, rated, from line to line")->check(kPositive);
    made->add_option("--low", unit_.low_voltage, "V, the same of the low side")->check(kPositive);
    made->add_option("--kva", unit_.kva, "rated power")->check(kPositive);
    made->add_option("--frequency", unit_.frequency, "Hz; 50 without it")->check(kPositive);
    made->add_option("--impedance", unit_.impedance, "percent, on the nameplate")->check(kPositive);
    made->add_option("--open", unit_.open_circuit, "V A W of the open-circuit test")
        ->expected(3)
        ->check(kPositive);
    made->add_option("--open-side", unit_.open_circuit_side, "side of that test: low or high")
        ->check(CLI::IsMember({"low", "high"}));
    made->add_option("--short", unit_.short_circuit, "V A W of the short-circuit test")
        ->expected(3)
        ->check(kPositive);
    made->add_option("--short-side", unit_.short_circuit_side, "side of that test: high or low")
        ->check(CLI::IsMember({"low", "high"}));
    made->add_option("--high-resistance", unit_.high_resistance,
                     "ohm of one phase: line to neutral, or line to line without one")
        ->check(kPositive);
    made->add_option("--low-resistance", unit_.low_resistance, "the same of the low side")
        ->check(kPositive);
    made->add_option("--temperature", unit_.temperature, "degrees C, in these tests; 20 without it")
        ->check(kTemperature);
    made->add_option("-o", unit_.file, "file to make; standard output without it");
  }

  CLI::App app_{"The virtual instrument's own front panel.", "instrument-panel"};
  std::function<int()> command_;
  std::string bench_;
  std::string windings_ = "H-X";
  std::vector<std::string> ids_;
  std::vector<std::string> files_;
  panel::MeasureOrder order_;
  panel::NewBenchOrder unit_;
};

}  // namespace

int main(int argc, char** argv) { return Commands().run(argc, argv); }
