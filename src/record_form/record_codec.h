#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "record_form/record_nest.h"

// The stored form of a test record: one string of bytes that holds the record with everything that
// hangs from it.
//
//   "KVRR", version (u32), then the record.
//   A record is its block of memory as the client library lays it out, with all pointers and the
//   padding zero, and then what hangs from it in the order of record_shape.h. Each link starts with
//   a byte, 0 for null and 1 for what follows: a record, an array of records, an array of links, or
//   a text as its length (u32) and its characters. The length of an array stands in the block
//   before.
//
// All numbers are little-endian. There is exactly one form of a record, so what can be decoded
// encodes to the same bytes again.

/// Nothing for a record that has no stored form: a text that does not end within its field, or a
/// ratio result with steps nested more than 30 deep.
std::optional<std::vector<std::byte>> encode_record(const kvr_TestRecord& record);

/// Null for bytes that are not the form of a record. Any bytes are safe to decode; what is
/// allocated stays within ten times their length.
RecordNest decode_record(std::span<const std::byte> bytes);

/// The same with the mark "KVRP", for records as a library may hand them out: texts may fill their
/// field, and steps may be nested 250 deep. Nothing for a record that is deeper or above 64 MiB.
std::optional<std::vector<std::byte>> encode_plain_record(const kvr_TestRecord& record);
RecordNest decode_plain_record(std::span<const std::byte> bytes);
