#include "faults/failing_files_posix.h"

#include <dlfcn.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace failing_files {
namespace {

struct State {
  bool armed = false;
  Call call = Call::kOpen;
  std::size_t countdown = 0;
  bool for_ever = false;
  bool failed = false;
  bool cut_short = false;  ///< the write that fails now writes a part
  std::size_t opens = 0;
  std::size_t writes = 0;
  std::size_t closes = 0;
};

State state;

bool is_write(Call call) { return call == Call::kWrite || call == Call::kShortWrite; }

std::size_t& counter(Call call) {
  return call == Call::kOpen ? state.opens : is_write(call) ? state.writes : state.closes;
}

/// Counts a call; true if it must fail.
bool fails(Call call) {
  ++counter(call);
  if (!state.armed || (state.call != call && !(is_write(call) && is_write(state.call)))) {
    return false;
  }
  if (state.countdown > 1) {
    --state.countdown;
    return false;
  }
  state.failed = true;
  if (state.call == Call::kShortWrite) {
    state.call = Call::kWrite;  // the next one fails and writes nothing
    state.cut_short = true;
    return true;
  }
  state.armed = state.for_ever;
  errno = call == Call::kOpen ? EACCES : ENOSPC;
  return true;
}

/// How many of its bytes a failing write still writes.
std::size_t bytes_taken(std::size_t count) {
  const bool takes_part = state.cut_short;
  state.cut_short = false;
  return takes_part ? count / 2 : 0;
}

/// The system's function that the one of this program hides.
template <class Function>
Function* next(const char* name) {
  // A function pointer from dlsym. NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

std::size_t count(Call call) { return counter(call); }

void start_counting() { state = {}; }

Failing::Failing(Call call, std::size_t nth, bool for_ever) {
  start_counting();
  state.armed = true;
  state.call = call;
  state.countdown = nth;
  state.for_ever = for_ever;
}

Failing::~Failing() { state.armed = false; }

bool Failing::has_failed() const { return state.failed; }

}  // namespace failing_files

using failing_files::Call;

extern "C" {

// File streams open their files by one of these two calls: by the first with the C++ library of GCC
// 14, by the second with that of GCC 12.
std::FILE* fopen(const char* name, const char* mode) {
  static const auto real = failing_files::next<decltype(fopen)>("fopen");
  return failing_files::fails(Call::kOpen) ? nullptr : real(name, mode);
}

std::FILE* fopen64(const char* name, const char* mode) {
  static const auto real = failing_files::next<decltype(fopen64)>("fopen64");
  return failing_files::fails(Call::kOpen) ? nullptr : real(name, mode);
}

int fclose(std::FILE* file) {
  static const auto real = failing_files::next<decltype(fclose)>("fclose");
  const bool failing = failing_files::fails(Call::kClose);
  const int result = real(file);
  if (failing) {
    errno = ENOSPC;
    return EOF;
  }
  return result;
}

ssize_t write(int descriptor, const void* bytes, std::size_t count) {
  static const auto real = failing_files::next<decltype(write)>("write");
  if (!failing_files::fails(Call::kWrite)) {
    return real(descriptor, bytes, count);
  }
  const std::size_t taken = failing_files::bytes_taken(count);
  return taken == 0 ? -1 : real(descriptor, bytes, taken);
}

ssize_t writev(int descriptor, const iovec* pieces, int count) {
  static const auto real = failing_files::next<decltype(writev)>("writev");
  if (!failing_files::fails(Call::kWrite)) {
    return real(descriptor, pieces, count);
  }
  const iovec part = {pieces[0].iov_base, failing_files::bytes_taken(pieces[0].iov_len)};
  return part.iov_len == 0 ? -1 : real(descriptor, &part, 1);
}

}  // extern "C"
