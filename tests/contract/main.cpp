#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <set>

#include "contract/contract.h"
#include "contract/shared_library.h"

// Checks a client library rule by rule. docs/contract.md says how to run it.

namespace {

using contract::Check;
using contract::Rule;
using contract::Scenes;

constexpr const char* kUsage =
    "contract-suite [--scenes FOLDER --bench FILE] [--clear] [--expect-broken RULE]... LIBRARY\n"
    "contract-suite --rules\n";

struct Options {
  std::filesystem::path library;
  std::filesystem::path scenes;
  std::filesystem::path bench;
  bool clear = false;
  std::set<std::string> expected;
};

/// Ends the process when a rule does not end, and reports that rule as broken.
class Watchdog {
 public:
  Watchdog()
      : thread_([this] {
          std::unique_lock lock(mutex_);
          if (!changed_.wait_for(lock, 4 * contract::kPatience, [this] { return done_; })) {
            std::cout << "BROKEN\n  it does not come to an end" << std::endl;
            std::_Exit(1);
          }
        }) {}
  ~Watchdog() {
    {
      const std::lock_guard lock(mutex_);
      done_ = true;
    }
    changed_.notify_all();
    thread_.join();
  }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool done_ = false;
  std::thread thread_;
};

std::vector<Rule> all_rules() {
  std::vector<Rule> rules;
  for (const auto& part : {contract::session_rules(), contract::test_rules(),
                           contract::record_rules(), contract::callback_rules()}) {
    rules.insert(rules.end(), part.begin(), part.end());
  }
  return rules;
}

/// The first rule: if a call is missing, no other rule can be checked.
constexpr const char* kExports = "exports";

std::vector<std::string> find_calls(const SharedLibrary& library, ClientApiTable& calls) {
  std::vector<std::string> missing;
#define KVR_FIND(call)                                                      \
  calls.call = reinterpret_cast<decltype(calls.call)>(library.find(#call)); \
  if (calls.call == nullptr) {                                              \
    missing.push_back(#call " is not exported");                            \
  }
  KVR_EACH_CALL(KVR_FIND)
#undef KVR_FIND
  return missing;
}

std::vector<std::string> examine(const Rule& rule, const ClientApiTable& calls,
                                 const Scenes& scenes) {
  const Watchdog watchdog;
  scenes.set("healthy");
  Check check(calls, scenes);
  try {
    rule.examine(check);
  } catch (const contract::Ended&) {
  }
  return check.problems;
}

const char* reason_to_skip(const Rule& rule, const Options& options) {
  if (rule.needs == Rule::kScenes && options.bench.empty()) {
    return "needs --scenes and --bench";
  }
  if (rule.needs == Rule::kEmptyStore && !options.clear) {
    return "needs --clear, which deletes all stored records";
  }
  return nullptr;
}

/// Called before a rule is checked, so that a rule that ends the process has been named.
void announce(const std::string& rule) { std::cout << rule << " ... " << std::flush; }

void report(const std::vector<std::string>& problems) {
  std::cout << (problems.empty() ? "ok" : "BROKEN") << "\n";
  for (const std::string& problem : problems) {
    std::cout << "  " << problem << "\n";
  }
  std::cout << std::flush;
}

/// The names of the rules that are broken.
std::set<std::string> examine_all(const Options& options) {
  const SharedLibrary library(options.library);
  ClientApiTable calls{};
  std::set<std::string> broken;
  announce(kExports);
  const std::vector<std::string> missing = find_calls(library, calls);
  report(missing);
  if (!missing.empty()) {
    return {kExports};
  }
  const Scenes scenes(options.scenes, options.bench);
  for (const Rule& rule : all_rules()) {
    announce(rule.name);
    if (const char* reason = reason_to_skip(rule, options)) {
      std::cout << "skipped: " << reason << "\n";
      continue;
    }
    const std::vector<std::string> problems = examine(rule, calls, scenes);
    report(problems);
    if (!problems.empty()) {
      broken.insert(rule.name);
    }
  }
  return broken;
}

void print_rules() {
  std::cout << kExports << ": all 22 calls are exported\n";
  for (const Rule& rule : all_rules()) {
    std::cout << rule.name << ": " << rule.sentence << "\n";
  }
}

bool read_options(const std::vector<std::string>& arguments, Options& options) {
  for (std::size_t place = 0; place < arguments.size(); ++place) {
    const std::string& word = arguments[place];
    const bool last = place + 1 == arguments.size();
    if (word == "--clear") {
      options.clear = true;
    } else if (last) {
      options.library = word;
    } else if (word == "--scenes") {
      options.scenes = arguments[++place];
    } else if (word == "--bench") {
      options.bench = arguments[++place];
    } else if (word == "--expect-broken") {
      options.expected.insert(arguments[++place]);
    } else {
      return false;
    }
  }
  return !options.library.empty() && options.scenes.empty() == options.bench.empty();
}

}  // namespace

int main(int count, char** values) {
  const std::vector<std::string> arguments(values + 1, values + count);
  Options options;
  if (arguments == std::vector<std::string>{"--rules"}) {
    print_rules();
    return 0;
  }
  if (!read_options(arguments, options)) {
    std::cerr << kUsage;
    return 2;
  }
  try {
    const std::set<std::string> broken = examine_all(options);
    std::cout << "broken rules: " << broken.size() << "\n";
    if (broken == options.expected) {
      return 0;
    }
    for (const std::string& rule : options.expected) {
      if (!broken.contains(rule)) {
        std::cout << "expected to be broken, and is not: " << rule << "\n";
      }
    }
    return 1;
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << "\n";
    return 2;
  }
}
