#include <CLI/CLI.hpp>
#include <iostream>

#include "tape/format/reader.h"
#include "tape/tool/commands.h"

// kvr-tape: records what passes between a program and its client library, and plays it back.

namespace {

/// "A-B", or one number.
void read_range(const std::string& text, tape::ShowOptions& options) {
  if (text.empty()) {
    return;
  }
  try {
    const std::size_t dash = text.find('-');
    options.first = std::stoull(text.substr(0, dash));
    options.last = dash == std::string::npos ? options.first : std::stoull(text.substr(dash + 1));
  } catch (const std::exception&) {
    throw tape::CommandError{"--calls takes a number, or two with a dash: " + text};
  }
}

/// Names of calls and options, and which function carries them out.
class Commands {
 public:
  Commands() {
    app_.require_subcommand(1);
    app_.set_version_flag("--version", KVR_VERSION);
    add_running();
    add_reading();
    add_changing();
    add_windows();
  }

  int run(int count, char** values) {
    try {
      app_.parse(count, values);
    } catch (const CLI::ParseError& error) {
      const int status = app_.exit(error);
      return status == 0 ? tape::kFine : tape::kTrouble;
    }
    return command_();
  }

 private:
  CLI::App* add(const char* name, const char* help, const std::function<int()>& command) {
    CLI::App* made = app_.add_subcommand(name, help);
    made->callback([this, command] { command_ = command; });
    return made;
  }

  void add_running() {
    CLI::App* record = add("record", "run a program and record its calls",
                           [this] { return tape::record(record_, std::cerr); });
    record->add_option("-o", record_.tape, "the tape, a file that does not exist yet");
    record->add_option("--library", record_.library, "the client library, by its path");
    record
        ->add_option("program", record_.program, "after two dashes, the program and its arguments")
        ->required();
    CLI::App* play = add("play", "run a program on a tape, without any other library",
                         [this] { return tape::play(play_, std::cerr); });
    play->add_flag("--answers", play_.answers, "type what was typed when it was recorded");
    play->add_option("tape", play_.tape)->required();
    play->add_option("program", play_.program, "after two dashes, the program and its arguments")
        ->required();
    CLI::App* retrace = add("retrace", "make a tape's calls of another library and compare",
                            [this] { return tape::retrace(retrace_, std::cout); });
    retrace->add_option("tape", retrace_.tape)->required();
    retrace->add_option("--library", retrace_.library, "the client library, by its path")
        ->required();
    retrace->add_option("--tolerance", retrace_.tolerance, "file of fields that may differ");
    retrace->add_flag("--energise", retrace_.energise, "run tests on a real instrument");
  }

  void add_reading() {
    CLI::App* show = add("show", "print calls and records", [this] {
      read_range(range_, show_);
      return tape::show(show_, std::cout);
    });
    show->add_option("tape", show_.tape)->required();
    show->add_option("--calls", range_, "only calls A to B, by their numbers");
    show->add_flag("--fields", show_.fields, "every field of every record");
    add("check", "say what is on a tape, and what is missing",
        [this] { return tape::check(first_, std::cout); })
        ->add_option("tape", first_)
        ->required();
    CLI::App* diff = add("diff", "print the fields in which two tapes differ",
                         [this] { return tape::diff(first_, second_, std::cout); });
    diff->add_option("first", first_)->required();
    diff->add_option("second", second_)->required();
  }

  void add_changing() {
    CLI::App* cut = add("cut", "make a shorter tape with one record",
                        [this] { return tape::cut(first_, id_, second_, std::cout); });
    cut->add_option("tape", first_)->required();
    cut->add_option("--record", id_, "the record's ID")->required();
    cut->add_option("-o", second_, "the new tape")->required();
    CLI::App* redact = add("redact", "make a tape without private texts",
                           [this] { return tape::redact(first_, second_, std::cout); });
    redact->add_option("tape", first_)->required();
    redact->add_option("-o", second_, "the new tape")->required();
    add("to-session", "print a session file that plays a tape",
        [this] { return tape::to_session(first_, std::cout); })
        ->add_option("tape", first_)
        ->required();
  }

  void add_windows() {
    add("install", "put the recorder in the place of a folder's client library",
        [this] { return tape::install(first_, std::cout); })
        ->add_option("folder", first_)
        ->required();
    add("uninstall", "put the client library back",
        [this] { return tape::uninstall(first_, std::cout); })
        ->add_option("folder", first_)
        ->required();
  }

  CLI::App app_{"Records what passes between a program and its client library, and plays it back."};
  std::function<int()> command_;
  tape::RecordOptions record_;
  tape::PlayOptions play_;
  tape::ShowOptions show_;
  tape::RetraceOptions retrace_;
  std::string range_;
  std::string first_;
  std::string second_;
  std::string id_;
};

}  // namespace

int main(int count, char** values) {
  try {
    return Commands().run(count, values);
  } catch (const tape::CommandError& error) {
    std::cerr << "kvr-tape: " << error.message << '\n';
  } catch (const std::exception& error) {
    std::cerr << "kvr-tape: " << error.what() << '\n';
  }
  return tape::kTrouble;
}
