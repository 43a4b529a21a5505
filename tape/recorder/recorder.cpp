#include "tape/recorder/recorder.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdio>
#include <new>

#include "tape/format/sha256.h"
#include "tape/platform/system.h"
#include "tape/vocabulary/call_fields.h"
#include "tape/vocabulary/call_shapes.h"
#include "tape/vocabulary/layouts.h"

namespace tape {
namespace {

constexpr std::uint64_t kUsualLimit = std::uint64_t{1} << 30U;

/// Small numbers of threads in the order of their first line.
int thread_number() {
  static std::atomic<int> last = 0;
  thread_local const int number = ++last;
  return number;
}

std::uint64_t limit() {
  const std::string text = platform::environment_text("KVR_TAPE_LIMIT");
  std::uint64_t bytes = kUsualLimit;
  std::from_chars(text.data(), text.data() + text.size(), bytes);
  return bytes;
}

std::string hexadecimal_number(std::uint64_t number) {
  char digits[20];
  return {digits, std::to_chars(std::begin(digits), std::end(digits), number, 16).ptr};
}

TapeHeader header_of(const std::filesystem::path& library) {
  TapeHeader header;
  header.version = kFormatVersion;
  header.layouts = hexadecimal_number(layouts_fingerprint());
  header.system = platform::kSystemName;
  header.program = KVR_VERSION;
  header.time = platform::local_time();
  header.library = library.filename().string();
  std::error_code error;
  header.library_size = std::filesystem::file_size(library, error);
  header.library_sha256 = sha256_of_file(library);
  return header;
}

/// The file that KVR_TAPE_FILE names, else one named after time and process, in the folder that
/// KVR_TAPE_FOLDER names or the current one.
std::filesystem::path tape_file(const std::string& time) {
  if (const std::string named = platform::environment_text("KVR_TAPE_FILE"); !named.empty()) {
    return named;
  }
  std::string name =
      "kvr-" + time.substr(0, 19) + "-" + std::to_string(platform::process_number()) + ".kvrtape";
  std::erase(name, ':');
  return std::filesystem::path(platform::environment_text("KVR_TAPE_FOLDER")) / name;
}

/// At the end of the process.
struct Closing {
  Recorder* recorder = nullptr;
  ~Closing() {
    if (recorder != nullptr) {
      recorder->close(!platform::threads_are_gone_at_exit());
    }
  }
};

Closing closing;

}  // namespace

thread_local int Depth::depth = 0;

Recorder::Recorder() : real_(load_real_library()) {
  const TapeHeader header = header_of(real_.file);
  writer_.begin(tape_file(header.time), header, limit());
}

std::uint64_t Recorder::enter(EventKind kind, std::string_view name, Fields fields) {
  try {
    Event event;
    event.kind = kind;
    event.name = name;
    event.thread = thread_number();
    event.fields = std::move(fields);
    return writer_.add(std::move(event));
  } catch (const std::bad_alloc&) {
    writer_.stop("no memory");
    return 0;
  }
}

void Recorder::leave(EventKind kind, std::string_view name, std::uint64_t number, Fields fields) {
  try {
    Event event;
    event.kind = kind;
    event.name = name;
    event.number = number;
    event.thread = thread_number();
    event.fields = std::move(fields);
    writer_.add(std::move(event));
  } catch (const std::bad_alloc&) {
    writer_.stop("no memory");
  }
}

Value Recorder::record_output(bool accepted, const kvr_TestRecord* record, bool is_stored) {
  if (record == nullptr) {
    return {};
  }
  const std::int64_t name = records.name_of(record);
  return accepted ? record_content(name, *record, is_stored) : record_reference(name);
}

Value Recorder::list_output(bool accepted, const kvr_TestLabelsList* list) {
  if (list == nullptr) {
    return {};
  }
  return accepted ? list_content(lists.rename(list), *list) : list_reference(lists.name_of(list));
}

Recorder& recorder() {
  static Recorder& instance = [&]() -> Recorder& {
    auto& made = *new Recorder;
    closing.recorder = &made;
    return made;
  }();
  return instance;
}

}  // namespace tape
