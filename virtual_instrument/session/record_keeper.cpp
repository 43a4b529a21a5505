#include "virtual_instrument/session/record_keeper.h"

#include <optional>
#include <string>
#include <utility>

#include "virtual_instrument/records/text_field.h"
#include "virtual_instrument/records/time_text.h"

namespace virtual_instrument {
namespace {

/// A name from date and time, with a number behind it if a stored record has that name.
std::string name_for(std::int64_t now, RecordStore& store, const StoreSettings& settings) {
  const std::string name = time_text(now, settings.empty_id_format);
  std::string numbered = name;
  for (int number = 2; store.exists(numbered); ++number) {
    numbered = name + "-" + std::to_string(number);
  }
  return numbered;
}

}  // namespace

kvr_code check_store(const StatusSettings& status, bool for_writing) {
  if (!status.secondary_sd_mounted) {
    return KVR_RES_SECONDARY_SDCARD_MISSING;
  }
  if (status.secondary_sd_error) {
    return KVR_RES_SECONDARY_SDCARD_HW_ERROR;
  }
  if (!status.database_loaded) {
    return KVR_RES_SQL_DATABASE_ERROR;
  }
  if (for_writing && status.secondary_sd_read_only) {
    return KVR_RES_SECONDARY_SDCARD_READ_ONLY;
  }
  return KVR_RES_OK;
}

kvr_code check_saving(const kvr_TestRequestHeader& header, kvr_TestType type, RecordStore& store,
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
  if (const kvr_code code = check_store(bench.status, true); code != KVR_RES_OK) {
    return code;
  }
  const std::optional<Record> stored = store.read(*id);
  if (stored && header.save_mode == KVR_SAVE_NEW_RECORD) {
    return KVR_RES_TESTID_EXISTS;
  }
  return stored && stored->head.test_type != type ? KVR_RES_TEST_CONFIG_INCOMPATIBLE : KVR_RES_OK;
}

kvr_code keep_test(const kvr_TestRequestHeader& header, kvr_TestType type,
                   const kvr_TestSetup& setup, RecordedTest test, std::int64_t now,
                   RecordStore& store, const Bench& bench, Record& record) {
  std::string id = text_of_field(header.record_id).value_or("");
  if (id.empty()) {
    id = name_for(now, store, bench.store);
  }
  record.head = {text_of_field(header.asset_id).value_or(""),
                 text_of_field(header.group_id).value_or(""),
                 std::move(id),
                 header.save_mode,
                 type,
                 setup,
                 now,
                 1};
  record.tests = {std::move(test)};
  if (header.save_mode == KVR_SAVE_NOTHING) {
    return KVR_RES_OK;
  }
  if (const kvr_code code = check_store(bench.status, true); code != KVR_RES_OK) {
    return code;
  }
  if (header.save_mode == KVR_SAVE_ADD_TO_RECORD) {
    const std::string wanted = record.head.record_id;
    const kvr_code code = store.append(wanted, type, record.tests.front(), record.head);
    if (code != KVR_RES_RECORD_NOT_FOUND) {
      record.head.save_mode = header.save_mode;
      return code;
    }
  }
  return store.add(record);
}

}  // namespace virtual_instrument
