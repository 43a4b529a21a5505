#include "record_form/record_codec.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "record_form/record_shape.h"

namespace {

// The layouts are the stored form, so they are pinned here where the boundary leaves them open.
static_assert(std::endian::native == std::endian::little && sizeof(void*) == 8);
static_assert(sizeof(kvr_TestData_Efficiency) == 1096);
static_assert(sizeof(kvr_TestData_Demag_Phase) == 56);
static_assert(sizeof(kvr_TestData_Demag) == 576);
static_assert(sizeof(kvr_TestData_Drm_Transition) == 20);
static_assert(sizeof(kvr_TestData_Drm) == 656);
static_assert(sizeof(kvr_TestData_GoNoGo) == 668);

struct FormHeader {
  std::array<char, 4> mark = {'K', 'V', 'R', 'R'};
  std::uint32_t version = 1;

  bool operator==(const FormHeader&) const = default;
};

constexpr FormHeader kPlainHeader{{'K', 'V', 'R', 'P'}, 1};

/// Bytes of padding after a record's last member. They are stored as zero, whatever they hold.
template <class Record>
constexpr std::ptrdiff_t kPadding = 0;
template <>
constexpr std::ptrdiff_t kPadding<kvr_TestData_Impedance_List> = 4;
template <>
constexpr std::ptrdiff_t kPadding<kvr_TestData_Tap> = 4;
template <>
constexpr std::ptrdiff_t kPadding<kvr_TestData_Taps> = 4;
template <>
constexpr std::ptrdiff_t kPadding<kvr_TestData_Demag> = 4;
template <>
constexpr std::ptrdiff_t kPadding<kvr_TestData_Drm> = 4;

/// Steps within steps are walked by recursion, so their depth has a limit. A thread's stack on
/// Windows, 1 MiB, is too small for 1000 of them.
constexpr int kDeepestNest = 32;
constexpr int kDeepestPlainNest = 250;
/// A record that leads back to itself would have no end.
constexpr std::size_t kMostPlainBytes = std::size_t{64} << 20U;

/// Thrown for a record that can't be encoded or bytes that can't be decoded.
struct NoStoredForm {};

void require(bool holds) {
  if (!holds) {
    throw NoStoredForm{};
  }
}

template <std::size_t size>
void require_terminated(const char (&field)[size]) {
  require(std::memchr(field, '\0', size) != nullptr);
}

class Encoder {
 public:
  explicit Encoder(bool plain = false) : plain_(plain) {}

  std::vector<std::byte> take() { return std::move(bytes_); }

  template <class Value>
  void value(const Value& value) {
    append(&value, sizeof value);
  }

  template <class Record>
  void record(const Record& record) {
    require(++depth_ <= (plain_ ? kDeepestPlainNest : kDeepestNest));
    require(!plain_ || bytes_.size() <= kMostPlainBytes);
    Record copy;
    std::memcpy(&copy, &record, sizeof copy);
    clear_links(copy);
    value(copy);
    std::fill(bytes_.end() - kPadding<Record>, bytes_.end(), std::byte{0});
    std::memcpy(&copy, &record, sizeof copy);
    describe(copy, *this);
    --depth_;
  }

  template <std::size_t size>
  void name(const char (&field)[size]) {
    if (!plain_) {
      require_terminated(field);
    }
  }

  template <class Record>
  void one(Record*& link) {
    if (present(link)) {
      record(*link);
    }
  }

  template <class Record>
  void block(Record*& records, std::uint32_t count) {
    if (present(records)) {
      std::for_each_n(records, count, [this](const Record& each) { record(each); });
    }
  }

  template <class Record>
  void each(Record**& records, std::uint32_t count) {
    if (present(records)) {
      std::for_each_n(records, count, [this](Record*& link) { one(link); });
    }
  }

  void text(const char*& text) {
    if (present(text)) {
      const std::size_t length = std::strlen(text);
      require(length <= UINT32_MAX);
      value(static_cast<std::uint32_t>(length));
      append(text, length);
    }
  }

 private:
  bool present(const void* link) {
    value(static_cast<std::uint8_t>(link != nullptr));
    return link != nullptr;
  }

  void append(const void* data, std::size_t size) {
    const auto* first = static_cast<const std::byte*>(data);
    bytes_.insert(bytes_.end(), first, first + size);
  }

  bool plain_;
  std::vector<std::byte> bytes_;
  int depth_ = 0;
};

/// At every moment all that it has allocated hangs from the record, with null for what is still to
/// come, so that a record can be freed when decoding stops part way.
class Decoder {
 public:
  explicit Decoder(std::span<const std::byte> bytes, bool plain = false)
      : plain_(plain), rest_(bytes) {}

  bool at_end() const { return rest_.empty(); }

  template <class Value>
  void value(Value& value) {
    std::memcpy(&value, take(sizeof value).data(), sizeof value);
  }

  template <class Record>
  void record(Record& record) {
    require(++depth_ <= (plain_ ? kDeepestPlainNest : kDeepestNest));
    const std::span<const std::byte> block = take(sizeof record);
    require(std::all_of(block.end() - kPadding<Record>, block.end(),
                        [](std::byte byte) { return byte == std::byte{0}; }));
    std::memcpy(&record, block.data(), sizeof record);
    clear_links(record);
    const auto cleared = std::as_bytes(std::span(&record, 1));
    require(std::equal(block.begin(), block.end(), cleared.begin()));
    describe(record, *this);
    --depth_;
  }

  template <std::size_t size>
  void name(const char (&field)[size]) {
    if (!plain_) {
      require_terminated(field);
    }
  }

  template <class Record>
  void one(Record*& link) {
    if (present()) {
      link = new Record{};
      record(*link);
    }
  }

  template <class Record>
  void block(Record*& records, std::uint32_t count) {
    if (present()) {
      require((rest_.size() - owed_) / sizeof(Record) >= count);
      records = new Record[count]{};
      std::for_each_n(records, count, [this](Record& each) { record(each); });
    }
  }

  template <class Record>
  void each(Record**& records, std::uint32_t count) {
    if (present()) {
      require(rest_.size() - owed_ >= count);
      owed_ += count;
      records = new Record* [count] {};
      std::for_each_n(records, count, [this](Record*& link) {
        --owed_;
        one(link);
      });
    }
  }

  void text(const char*& text) {
    if (present()) {
      std::uint32_t length = 0;
      value(length);
      const std::span<const std::byte> characters = take(length);
      require(std::find(characters.begin(), characters.end(), std::byte{0}) == characters.end());
      auto* copy = new char[length + std::size_t{1}];
      std::memcpy(copy, characters.data(), length);
      copy[length] = '\0';
      text = copy;
    }
  }

 private:
  bool present() {
    std::uint8_t mark = 0;
    value(mark);
    require(mark <= 1);
    return mark == 1;
  }

  std::span<const std::byte> take(std::size_t size) {
    require(rest_.size() - owed_ >= size);
    const std::span<const std::byte> taken = rest_.first(size);
    rest_ = rest_.subspan(size);
    return taken;
  }

  bool plain_;
  std::span<const std::byte> rest_;
  std::size_t owed_ = 0;  ///< least bytes that the rest of the arrays begun so far takes
  int depth_ = 0;
};

std::optional<std::vector<std::byte>> encode(const kvr_TestRecord& record, bool plain) {
  try {
    Encoder encoder(plain);
    encoder.value(plain ? kPlainHeader : FormHeader{});
    encoder.record(record);
    return encoder.take();
  } catch (const NoStoredForm&) {
    return std::nullopt;
  }
}

RecordNest decode(std::span<const std::byte> bytes, bool plain) {
  try {
    Decoder decoder(bytes, plain);
    FormHeader header;
    decoder.value(header);
    require(header == (plain ? kPlainHeader : FormHeader{}));
    RecordNest record(new kvr_TestRecord{});
    decoder.record(*record);
    require(decoder.at_end());
    return record;
  } catch (const NoStoredForm&) {
    return nullptr;
  }
}

}  // namespace

std::optional<std::vector<std::byte>> encode_record(const kvr_TestRecord& record) {
  return encode(record, false);
}

RecordNest decode_record(std::span<const std::byte> bytes) { return decode(bytes, false); }

std::optional<std::vector<std::byte>> encode_plain_record(const kvr_TestRecord& record) {
  return encode(record, true);
}

RecordNest decode_plain_record(std::span<const std::byte> bytes) { return decode(bytes, true); }
