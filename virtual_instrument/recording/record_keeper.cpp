#include "virtual_instrument/recording/record_keeper.h"

#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include "virtual_instrument/vocabulary/text_field.h"
#include "virtual_instrument/vocabulary/time_text.h"

namespace virtual_instrument {
namespace {

/// A name from date and time, followed by a number if a stored record has that name. A test that is
/// not stored needs a name too, also when the store can't be read.
std::string name_for(std::int64_t now, SqliteStore& store, const StoreSettings& settings) {
  const std::string name = time_text(now, settings.empty_id_format);
  const auto is_taken = [&store](const std::string& candidate) {
    bool exists = false;
    store.exists(candidate, exists);
    return exists;
  };
  std::string numbered = name;
  for (int number = 2; is_taken(numbered); ++number) {
    numbered = name + "-" + std::to_string(number);
  }
  return numbered;
}

/// Gives a test the head that lists show for its stored record, but keeps its own save mode.
void put_head(const kvr_TestLabel& head, kvr_TestRecord& record) {
  const kvr_SaveMode save_mode = record.save_mode;
  std::memcpy(&record, &head, sizeof head);
  record.save_mode = save_mode;
}

}  // namespace

kvr_code check_store(const StatusSettings& status, const SqliteStore& store, bool for_writing) {
  if (!status.secondary_sd_mounted) {
    return KVR_RES_SECONDARY_SDCARD_MISSING;
  }
  if (status.secondary_sd_error) {
    return KVR_RES_SECONDARY_SDCARD_HW_ERROR;
  }
  if (!status.database_loaded) {
    return KVR_RES_SQL_DATABASE_ERROR;
  }
  if (const kvr_code state = store.state(); state != KVR_RES_OK) {
    return state;
  }
  if (for_writing && (status.secondary_sd_read_only || store.is_read_only())) {
    return KVR_RES_SECONDARY_SDCARD_READ_ONLY;
  }
  return KVR_RES_OK;
}

kvr_code check_saving(const kvr_TestRequestHeader& header, const TestKind& kind, SqliteStore& store,
                      const Bench& bench) {
  const std::optional<std::string> id = text_of_field(header.record_id);
  if (!id || !text_of_field(header.asset_id) || !text_of_field(header.group_id)) {
    return KVR_RES_TEXT_TOO_LONG;
  }
  if (header.save_mode < KVR_SAVE_NEW_RECORD || header.save_mode > KVR_SAVE_NOTHING) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  if (header.save_mode == KVR_SAVE_NOTHING) {
    return KVR_RES_OK;
  }
  if (const kvr_code code = check_store(bench.status, store, true); code != KVR_RES_OK) {
    return code;
  }
  const bool is_new = header.save_mode == KVR_SAVE_NEW_RECORD;
  kvr_TestLabel stored;
  const kvr_code code =
      is_new ? store.head(*id, stored) : store.check_addition(*id, kind.type, kind.family);
  if (code == KVR_RES_RECORD_NOT_FOUND) {
    return KVR_RES_OK;
  }
  return is_new && code == KVR_RES_OK ? KVR_RES_TESTID_EXISTS : code;
}

kvr_code keep_test(const kvr_TestRequestHeader& header, kvr_TestType type,
                   const kvr_TestSetup& setup, const RecordedTest& test, std::int64_t now,
                   SqliteStore& store, const Bench& bench, RecordNest& record) {
  std::string id = text_of_field(header.record_id).value_or("");
  if (id.empty()) {
    id = name_for(now, store, bench.store);
  }
  record = make_record(
      {text_of_field(header.asset_id).value_or(""), text_of_field(header.group_id).value_or(""),
       std::move(id), header.save_mode, type, setup, now},
      test, setup.raw_data_requested != 0);
  if (header.save_mode == KVR_SAVE_NOTHING) {
    return KVR_RES_OK;
  }
  if (const kvr_code code = check_store(bench.status, store, true); code != KVR_RES_OK) {
    return code;
  }
  if (header.save_mode == KVR_SAVE_ADD_TO_RECORD) {
    kvr_TestLabel head;
    const kvr_code code = store.add_test(*record, head);
    if (code == KVR_RES_OK) {
      put_head(head, *record);
    }
    if (code != KVR_RES_RECORD_NOT_FOUND) {
      return code;
    }
  }
  return store.save_new(*record, now);
}

}  // namespace virtual_instrument
