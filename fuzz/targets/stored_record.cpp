#include <algorithm>
#include <cstring>
#include <vector>

#include "fuzz/fuzz_target.h"
#include "fuzz/random_input.h"
#include "record_form/record_codec.h"
#include "unit/text/random_records.h"

// The stored form of a record: bytes that can be decoded must be the only form of that record. The
// bytes are the input itself; with an odd first byte they are the form of a record drawn from four
// bytes of the input, of which the rest of the input damages some bytes.

namespace {

using Bytes = std::vector<std::byte>;

/// Three bytes of the input: an offset and a value; an offset after the end cuts bytes off.
struct Damage {
  std::uint8_t low;
  std::uint8_t high;
  std::uint8_t change;
};

/// Clears the arrays that are invalid addresses: those of other types, and the samples.
void keep_what_can_be_read(kvr_TestRecord& record) {
  const auto type = static_cast<std::uint32_t>(record.test_type);
  const auto keep = [type](auto& array, std::initializer_list<std::uint32_t> types) {
    if (std::find(types.begin(), types.end(), type) == types.end()) {
      array = nullptr;
    }
  };
  keep(record.data_ratio_3ph, {1, 2, 4, 5, 6, 16});
  keep(record.data_ratio_1ph, {1, 2, 4, 5, 6, 16});
  keep(record.data_resistance, {8, 9});
  keep(record.data_demag, {10});
  keep(record.data_impedance, {11, 12});
  keep(record.data_efficiency, {13});
  keep(record.data_mbalance, {14});
  keep(record.data_heatrun, {15});
  keep(record.data_gonogo, {17});
  keep(record.data_drm, {18});
  for (std::uint32_t i = 0; record.data_drm != nullptr && i < record.data_count; ++i) {
    if (record.data_drm[i] != nullptr) {
      record.data_drm[i]->transition_count = 1;  // the number that exists
    }
  }
  record.raw_data = nullptr;
}

Bytes damaged_form(const std::uint8_t* data, std::size_t size) {
  RandomInput input(data, std::min<std::size_t>(size, 4));
  RandomRecords records([&input] { return input.next(); });
  const OwnedRecord record = records.next();
  keep_what_can_be_read(*record.get());
  auto form = encode_record(*record.get());
  if (!form) {
    return {};
  }
  for (std::size_t at = 4; at + sizeof(Damage) <= size; at += sizeof(Damage)) {
    Damage damage{};
    std::memcpy(&damage, data + at, sizeof damage);
    const std::size_t place = damage.low + 256U * damage.high;
    if (place < form->size()) {
      (*form)[place] ^= std::byte{damage.change};
    } else if (damage.change < form->size()) {
      form->resize(form->size() - damage.change);
    }
  }
  return *form;
}

void check(std::span<const std::byte> bytes) {
  const RecordNest record = decode_record(bytes);
  if (!record) {
    return;
  }
  const auto encoded = encode_record(*record);
  demand(encoded.has_value(), "what was decoded can be encoded");
  demand(std::equal(encoded->begin(), encoded->end(), bytes.begin(), bytes.end()),
         "encoding gives the bytes that were decoded");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 0 && data[0] % 2 == 1) {
    check(damaged_form(data + 1, size - 1));
  } else {
    check({reinterpret_cast<const std::byte*>(data), size});
  }
  return 0;
}
