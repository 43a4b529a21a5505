#include <filesystem>
#include <ostream>

#include "tape/platform/loading.h"
#include "tape/tool/commands.h"
#include "tape/tool/retracing.h"

namespace tape {
namespace {

ClientApiTable load(const std::string& file) {
  std::string error;
  void* library = platform::load_library(std::filesystem::absolute(file), error);
  if (library == nullptr) {
    throw CommandError{error};
  }
  ClientApiTable calls;
#define KVR_FIND(call)                                                                          \
  calls.call = reinterpret_cast<decltype(calls.call)>(platform::find_function(library, #call)); \
  if (calls.call == nullptr) {                                                                  \
    throw CommandError{file + " has no " #call};                                                \
  }
  KVR_EACH_CALL(KVR_FIND)
#undef KVR_FIND
  return calls;
}

/// Whether the library stands in front of a virtual instrument: asked in a session of its own.
bool is_virtual(const ClientApiTable& calls) {
  kvr_InitParams params{};
  kvr_ConnectionType type = KVR_CONNECTION_USB_WIFI;
  char firmware[kFirmwareTextSize] = {};
  kvr_DeviceInfo info{};
  calls.kvr_Lib_Initialize(&params);
  calls.kvr_SetClientKey(KVR_CLIENT_KEY);
  calls.kvr_ConnectAPI(&type, 5, "kvr-tape", firmware);
  calls.kvr_GetDeviceInfo(&info);
  calls.kvr_Lib_Shutdown();
  return std::string_view(info.serial_number, 3) == "VI-";
}

bool runs_tests(const Tape& tape) {
  for (const Event& event : tape.events) {
    if (event.kind == EventKind::kCall && event.name.starts_with("kvr_Test_")) {
      return true;
    }
  }
  return false;
}

}  // namespace

int retrace(const RetraceOptions& options, std::ostream& out) {
  const Tape tape = read_tape(options.tape);
  const Tolerance tolerance =
      options.tolerance.empty() ? Tolerance() : Tolerance(options.tolerance);
  const ClientApiTable calls = load(options.library);
  if (runs_tests(tape) && !options.energise && !is_virtual(calls)) {
    throw CommandError{
        "the tape runs tests, and this is no virtual instrument: --energise allows it"};
  }
  const std::vector<std::string> found = Retracing(tape, calls, tolerance).run();
  for (const std::string& each : found) {
    out << each << '\n';
  }
  out << found.size() << " differences\n";
  return found.empty() ? kFine : kFound;
}

}  // namespace tape
