#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

// The commands of kvr-tape. Each writes its results to `out`, throws TapeError for a tape that
// can't be read and CommandError for what else is wrong, and returns the exit status.
namespace tape {

inline constexpr int kFine = 0;
inline constexpr int kFound = 1;    ///< a difference, an incomplete tape
inline constexpr int kTrouble = 2;  ///< the command could not be carried out

struct CommandError {
  std::string message;
};

struct RecordOptions {
  std::string tape;  ///< empty: named after the time
  std::string library;
  std::vector<std::string> program;
};

struct PlayOptions {
  std::string tape;
  bool answers = false;  ///< types what was typed when the tape was recorded
  std::vector<std::string> program;
};

struct ShowOptions {
  std::string tape;
  std::uint64_t first = 0;
  std::uint64_t last = UINT64_MAX;
  bool fields = false;
};

struct RetraceOptions {
  std::string tape;
  std::string library;
  std::string tolerance;
  bool energise = false;
};

int record(const RecordOptions& options, std::ostream& out);
int play(const PlayOptions& options, std::ostream& out);
int show(const ShowOptions& options, std::ostream& out);
int check(const std::string& tape, std::ostream& out);
int diff(const std::string& first, const std::string& second, std::ostream& out);
int cut(const std::string& tape, const std::string& record_id, const std::string& result,
        std::ostream& out);
int redact(const std::string& tape, const std::string& result, std::ostream& out);
int to_session(const std::string& tape, std::ostream& out);
int retrace(const RetraceOptions& options, std::ostream& out);
int install(const std::string& folder, std::ostream& out);
int uninstall(const std::string& folder, std::ostream& out);

}  // namespace tape
