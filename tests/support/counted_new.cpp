#include "support/counted_new.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>
#include <unordered_map>

namespace counted_new {
namespace {

enum class Form { kSingle, kArray };

struct Block {
  Form form;
  std::size_t size;
};

/// Allocator for the book of blocks: its own memory must not be counted.
template <class T>
struct MallocAllocator {
  using value_type = T;
  MallocAllocator() = default;
  template <class U>
  MallocAllocator(const MallocAllocator<U>& /*other*/) {}
  T* allocate(std::size_t count) {
    // T may be a pointer type of the book's container. NOLINTNEXTLINE(bugprone-sizeof-expression)
    void* const block = std::malloc(count * sizeof(T));
    if (block == nullptr) {
      std::abort();
    }
    return static_cast<T*>(block);
  }
  void deallocate(T* block, std::size_t /*count*/) { std::free(block); }
  template <class U>
  bool operator==(const MallocAllocator<U>& /*other*/) const {
    return true;
  }
};

struct Book {
  std::mutex mutex;
  std::unordered_map<const void*, Block, std::hash<const void*>, std::equal_to<const void*>,
                     MallocAllocator<std::pair<const void* const, Block>>>
      live;
  std::size_t live_bytes = 0;
  std::size_t allocations = 0;
};

/// Never destroyed: blocks are freed until the very end of the process.
Book& book() {
  alignas(Book) static std::array<unsigned char, sizeof(Book)> storage;
  static Book* const the_book = new (storage.data()) Book;
  return *the_book;
}

struct ThreadState {
  std::size_t countdown = 0;  ///< to the allocation that fails; 0 when none is to
  Failing::Duration duration = Failing::kOnce;
  bool failed = false;
  bool recording = false;
  std::size_t sizes = 0;
  std::size_t freed = 0;
};

thread_local ThreadState state;

// Not in the per-thread state, since there is one recording at a time.
std::array<std::size_t, Recording::kCapacity> recorded_sizes;
std::array<const void*, Recording::kCapacity> recorded_freed;

/// Larger blocks fail, as on a machine without that much memory.
constexpr std::size_t kLargestBlock = std::size_t{1} << 30U;

bool is_to_fail() {
  if (state.countdown == 0) {
    return false;
  }
  if (state.countdown > 1) {
    --state.countdown;
    return false;
  }
  state.failed = true;
  if (state.duration == Failing::kOnce) {
    state.countdown = 0;
  }
  return true;
}

void* allocate(std::size_t size, Form form) {
  if (size > kLargestBlock || is_to_fail()) {
    return nullptr;
  }
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) {
    return nullptr;
  }
  if (state.recording && state.sizes < Recording::kCapacity) {
    recorded_sizes[state.sizes++] = size;
  }
  const std::lock_guard lock(book().mutex);
  book().live.emplace(block, Block{form, size});
  book().live_bytes += size;
  ++book().allocations;
  return block;
}

void* allocate_or_throw(std::size_t size, Form form) {
  void* const block = allocate(size, form);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

void release(void* block, Form form) {
  if (block == nullptr) {
    return;
  }
  if (state.recording && state.freed < Recording::kCapacity) {
    recorded_freed[state.freed++] = block;
  }
  {
    const std::lock_guard lock(book().mutex);
    const auto entry = book().live.find(block);
    if (entry != book().live.end()) {  // otherwise it is from a library with its own operator new
      if (entry->second.form != form) {
        std::fputs("a block of new goes to delete[], or one of new[] to delete\n", stderr);
        std::abort();
      }
      book().live_bytes -= entry->second.size;
      book().live.erase(entry);
    }
  }
  std::free(block);
}

}  // namespace

std::size_t live_blocks() {
  const std::lock_guard lock(book().mutex);
  return book().live.size();
}

std::size_t live_bytes() {
  const std::lock_guard lock(book().mutex);
  return book().live_bytes;
}

std::size_t allocations() {
  const std::lock_guard lock(book().mutex);
  return book().allocations;
}

bool is_live(const void* block) {
  const std::lock_guard lock(book().mutex);
  return book().live.count(block) != 0;
}

Failing::Failing(std::size_t nth, Duration duration) {
  state.countdown = nth;
  state.duration = duration;
  state.failed = false;
}

Failing::~Failing() { state.countdown = 0; }

bool Failing::has_failed() const { return state.failed; }

Pause::Pause() : countdown_(state.countdown) { state.countdown = 0; }

Pause::~Pause() { state.countdown = countdown_; }

Recording::Recording() {
  state.sizes = 0;
  state.freed = 0;
  state.recording = true;
}

Recording::~Recording() { stop(); }

void Recording::stop() { state.recording = false; }

std::vector<std::size_t> Recording::allocated_sizes() const {
  return std::vector<std::size_t>(recorded_sizes.begin(), recorded_sizes.begin() + state.sizes);
}

std::vector<const void*> Recording::freed_blocks() const {
  return std::vector<const void*>(recorded_freed.begin(), recorded_freed.begin() + state.freed);
}

}  // namespace counted_new

void* operator new(std::size_t size) {
  return counted_new::allocate_or_throw(size, counted_new::Form::kSingle);
}
void* operator new[](std::size_t size) {
  return counted_new::allocate_or_throw(size, counted_new::Form::kArray);
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return counted_new::allocate(size, counted_new::Form::kSingle);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return counted_new::allocate(size, counted_new::Form::kArray);
}

void operator delete(void* block) noexcept {
  counted_new::release(block, counted_new::Form::kSingle);
}
void operator delete[](void* block) noexcept {
  counted_new::release(block, counted_new::Form::kArray);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
  counted_new::release(block, counted_new::Form::kSingle);
}
void operator delete[](void* block, std::size_t /*size*/) noexcept {
  counted_new::release(block, counted_new::Form::kArray);
}
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
  counted_new::release(block, counted_new::Form::kSingle);
}
void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept {
  counted_new::release(block, counted_new::Form::kArray);
}
