#pragma once

#include <cstddef>
#include <cstdint>

// Small records of the client library's side that no call of this program delivers. Their layout is
// pinned.

struct kvr_NamedEntry {
  std::int32_t code;
  char name[30];
  char reserved_34[2];
  std::uint32_t value_a;  ///< copied, never interpreted, like the two below
  std::uint32_t value_b;
  std::uint32_t value_c;
};

static_assert(offsetof(kvr_NamedEntry, name) == 4);
static_assert(offsetof(kvr_NamedEntry, value_a) == 36);
static_assert(offsetof(kvr_NamedEntry, value_b) == 40);
static_assert(offsetof(kvr_NamedEntry, value_c) == 44);
static_assert(sizeof(kvr_NamedEntry) == 48);

struct kvr_NamedEntryList {
  kvr_NamedEntry* entries;  ///< contiguous array
  std::int32_t count;
};

static_assert(offsetof(kvr_NamedEntryList, count) == 8);
static_assert(sizeof(kvr_NamedEntryList) == 16);

/// Eight owned texts, three owned lists and plain values. The texts and the lists' arrays come from
/// new[].
struct kvr_EntryRecord {
  char* text_0 = nullptr;
  char* text_8 = nullptr;
  char plain_16[8] = {};
  char* text_24 = nullptr;
  char* text_32 = nullptr;
  char plain_40[32] = {};
  char* text_72 = nullptr;
  char* text_80 = nullptr;
  char plain_88[12] = {};
  std::int32_t value_100 = 20;
  char plain_104[4] = {};
  std::int32_t value_108 = 20;
  char plain_112[8] = {};
  char* text_120 = nullptr;
  char* text_128 = nullptr;
  kvr_NamedEntryList list_136 = {};
  kvr_NamedEntryList list_152 = {};
  kvr_NamedEntryList list_168 = {};
  std::int32_t value_184 = 1;
  std::int32_t value_188 = 3;
  char plain_192[4] = {};
  float value_196 = 1.0F;
  float value_200 = 1.0F;
  std::int32_t value_204 = 2;
};

static_assert(offsetof(kvr_EntryRecord, text_8) == 8);
static_assert(offsetof(kvr_EntryRecord, text_24) == 24);
static_assert(offsetof(kvr_EntryRecord, text_32) == 32);
static_assert(offsetof(kvr_EntryRecord, text_72) == 72);
static_assert(offsetof(kvr_EntryRecord, text_80) == 80);
static_assert(offsetof(kvr_EntryRecord, value_100) == 100);
static_assert(offsetof(kvr_EntryRecord, value_108) == 108);
static_assert(offsetof(kvr_EntryRecord, text_120) == 120);
static_assert(offsetof(kvr_EntryRecord, text_128) == 128);
static_assert(offsetof(kvr_EntryRecord, list_136) == 136);
static_assert(offsetof(kvr_EntryRecord, list_152) == 152);
static_assert(offsetof(kvr_EntryRecord, list_168) == 168);
static_assert(offsetof(kvr_EntryRecord, value_184) == 184);
static_assert(offsetof(kvr_EntryRecord, value_188) == 188);
static_assert(offsetof(kvr_EntryRecord, value_196) == 196);
static_assert(offsetof(kvr_EntryRecord, value_200) == 200);
static_assert(offsetof(kvr_EntryRecord, value_204) == 204);
static_assert(sizeof(kvr_EntryRecord) == 208);

struct ComparedBlock {
  char bytes[116];
};

struct ComparedLimits {
  std::uint8_t enabled;
  float first;
  float second;
  float third;
  float fourth;
};

struct ComparedSettings {
  char reserved_0[4];
  std::uint8_t byte_4;
  std::uint8_t byte_5;
  std::uint8_t byte_6;
  std::uint8_t byte_7;
  std::int32_t value_8;
  std::uint8_t byte_12;
  std::uint8_t byte_13;
  std::uint8_t byte_14;
  std::uint8_t byte_15;
  char reserved_16[8];
  std::int16_t value_24;
};

static_assert(offsetof(ComparedSettings, value_8) == 8);
static_assert(offsetof(ComparedSettings, value_24) == 24);

/// A run of bytes somewhere else.
struct ByteRun {
  const std::uint8_t* data;
  std::size_t length;
};
