#include <algorithm>
#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "contract/contract.h"

// Rules of stored records: saving, listing, reading and deleting them, and who owns their memory.

namespace contract {
namespace {

// The order of storing is neither that of the IDs nor its reverse.
constexpr const char* kFirst = "contract-m";
constexpr const char* kSecond = "contract-z";
constexpr const char* kThird = "contract-a";

void save_modes(Check& check) {
  const Session session(check);
  const StoredRecords stored(check, {kFirst, kSecond});
  measured(check, kFirst, KVR_SAVE_NOTHING);
  check.that(!exists(check, kFirst), "mode 3 stored a record");

  measured(check, kFirst, KVR_SAVE_NEW_RECORD);
  check.that(exists(check, kFirst), "mode 1 stored no record");
  const TestReply again =
      run(check, request_header(kFirst, KVR_SAVE_NEW_RECORD), request_1ph(kUsualVoltage));
  check.answer("mode 1 with an ID that is taken", again.code, KVR_RES_TESTID_EXISTS);
  check.that(again.record == nullptr, "a refused test gave a record");

  measured(check, kFirst, KVR_SAVE_ADD_TO_RECORD, 6);
  const Record grown = read(check, kFirst);
  check.that(grown->test_count == 2 && grown->data_count == 2,
             "mode 2 added no test to its record");

  measured(check, kSecond, KVR_SAVE_ADD_TO_RECORD);
  check.that(exists(check, kSecond), "mode 2 did not begin a record where there was none");
}

void empty_id(Check& check) {
  const Session session(check);
  const Record named = measured(check, "", KVR_SAVE_NOTHING);
  check.that(named->record_id[0] != '\0', "a test without an ID got no name");
  const std::string name = named->record_id;
  check.that(!exists(check, name.c_str()), "mode 3 stored a record without an ID");
}

void reading(Check& check) {
  const Session session(check);
  const StoredRecords stored(check, {kFirst, kSecond});
  const Record single = measured(check, kFirst, KVR_SAVE_NEW_RECORD);
  check.that(contents_of(*single) == contents_of(*read(check, kFirst)),
             "a single-phase record is read as something else than its test gave");
  const TestReply reply =
      run(check, request_header(kSecond, KVR_SAVE_NEW_RECORD), request_3ph(kUsualVoltage));
  check.require(reply.record != nullptr, "kvr_Test_Ratio_3ph gave no record");
  check.that(contents_of(*reply.record) == contents_of(*read(check, kSecond)),
             "a three-phase record is read as something else than its test gave");
}

void not_found(Check& check) {
  const Session session(check);
  const StoredRecords stored(check, {kFirst});
  kvr_TestRecord* record = nullptr;
  check.that(!exists(check, kFirst), "a record exists that was never stored");
  check.answer("kvr_ReadRecord", check.api.kvr_ReadRecord(kFirst, 1, &record),
               KVR_RES_RECORD_NOT_FOUND);
  check.that(record == nullptr, "a refused kvr_ReadRecord stored a record");
  check.answer("kvr_DeleteRecord", check.api.kvr_DeleteRecord(kFirst), KVR_RES_RECORD_NOT_FOUND);
}

void outputs_left_alone(Check& check) {
  const Session session(check);
  const StoredRecords stored(check, {kFirst});
  kvr_TestRecord marker{};
  kvr_TestLabelsList list_marker{};
  kvr_TestRecord* record = &marker;
  kvr_TestLabelsList* listed = &list_marker;
  check.api.kvr_ReadRecord(kFirst, 1, &record);
  check.that(record == &marker, "a refused kvr_ReadRecord changed the caller's pointer");
  kvr_TestRequestHeader header = request_header("", KVR_SAVE_NOTHING);
  kvr_Ratio1phRequest request = request_1ph(-1);
  const kvr_code code = check.api.kvr_Test_Ratio_1ph(&header, &request, nullptr, &record);
  check.that(!accepted(code), "a test at -1 V was accepted");
  check.that(record == &marker, "a refused test changed the caller's pointer");
  check.that(!accepted(check.api.kvr_ListRecords(&listed, nullptr, 99, 1)),
             "a list was given in an order that does not exist");
  check.that(listed == &list_marker, "a refused kvr_ListRecords changed the caller's pointer");
}

void records_stay(Check& check) {
  std::string before;
  Record first(nullptr, FreeRecord{&check.api});
  Record stored_one(nullptr, FreeRecord{&check.api});
  std::string stored_before;
  {
    const Session session(check);
    const StoredRecords stored(check, {kFirst});
    first = measured(check, "", KVR_SAVE_NOTHING, 4);
    before = contents_of(*first);
    measured(check, kFirst, KVR_SAVE_NEW_RECORD, 6);
    stored_one = read(check, kFirst);
    stored_before = contents_of(*stored_one);
    read(check, kFirst);
    list(check, kSortByTestId, true);
    check.that(contents_of(*first) == before, "a record changed before it was freed");
  }
  check.that(contents_of(*first) == before, "a record did not outlive its session");
  check.that(contents_of(*stored_one) == stored_before,
             "a record that was read changed when its stored one was deleted");
}

/// Each entry of a list must equal the head of its record.
void list_heads(Check& check) {
  const Session session(check);
  const StoredRecords stored(check, {kFirst});
  measured(check, kFirst, KVR_SAVE_NEW_RECORD);
  measured(check, kFirst, KVR_SAVE_ADD_TO_RECORD);
  const List listed = list(check, kSortByDateTime, true);
  const int place = position(*listed, kFirst);
  check.require(place >= 0, "a stored record is not listed");
  const kvr_TestLabel& label = listed->entries[place];
  const Record record = read(check, kFirst);
  if (check.text(label.timestamp, "timestamp of an entry")) {
    check.that(
        std::string(record->timestamp).starts_with(label.timestamp) && *label.timestamp != '\0',
        "an entry has another timestamp than its record");
  }
  check.that(label.test_count == 2 && record->test_count == 2, "test_count of an entry is not 2");
  check.that(label.test_type == record->test_type,
             "an entry has another test_type than its record");
  check.that(std::memcmp(&label.setup, &record->setup, sizeof label.setup) == 0,
             "an entry has another setup than its record");
}

using Group = std::tuple<kvr_WindingType, kvr_WindingType, std::int32_t>;

/// The vector groups of a list in their order, equal neighbours counted once.
std::vector<Group> groups_of(const kvr_TestLabelsList& list) {
  std::vector<Group> groups;
  for (std::uint32_t place = 0; place < list.count; ++place) {
    const kvr_TestSetup& setup = list.entries[place].setup;
    groups.emplace_back(setup.windings[0].winding_type, setup.windings[1].winding_type,
                        setup.connections[0].clock);
  }
  groups.erase(std::unique(groups.begin(), groups.end()), groups.end());
  return groups;
}

template <typename KeyOf>
bool runs(const kvr_TestLabelsList& list, bool ascending, KeyOf key_of) {
  for (std::uint32_t place = 1; place < list.count; ++place) {
    const auto before = key_of(list.entries[place - 1]);
    const auto here = key_of(list.entries[place]);
    if (ascending ? here < before : before < here) {
      return false;
    }
  }
  return true;
}

void list_order(Check& check) {
  const Session session(check);
  const StoredRecords kept(check, {kFirst, kSecond, kThird});
  measured(check, kFirst, KVR_SAVE_NEW_RECORD);
  check.scenes.set("later");
  const kvr_code code =
      run(check, request_header(kSecond, KVR_SAVE_NEW_RECORD), request_3ph(kUsualVoltage)).code;
  check.require(accepted(code), "kvr_Test_Ratio_3ph answered " + code_text(code));
  check.scenes.set("latest");
  measured(check, kThird, KVR_SAVE_NEW_RECORD);

  for (const bool ascending : {true, false}) {
    const std::string way = ascending ? " upwards" : " downwards";
    const List by_id = list(check, kSortByTestId, ascending);
    check.that(runs(*by_id, ascending,
                    [](const kvr_TestLabel& label) { return std::string(label.record_id); }),
               "the list by test ID does not run" + way);
    const List by_time = list(check, kSortByDateTime, ascending);
    // The library chooses the form of timestamps. So this checks only the suite's own records,
    // which were stored at different times.
    const int places[] = {position(*by_time, kFirst), position(*by_time, kSecond),
                          position(*by_time, kThird)};
    check.that(*std::min_element(places, places + 3) >= 0, "a stored record is not listed");
    if (check.scenes.available()) {
      check.that(ascending ? std::is_sorted(places, places + 3)
                           : std::is_sorted(places, places + 3, std::greater<>()),
                 "the list by date and time does not run" + way);
    }
    check.that(by_id->count == by_time->count, "lists in different orders have different lengths");
  }
  // The library chooses the order of the groups, but records of one group must be neighbours.
  std::vector<Group> upwards = groups_of(*list(check, kSortByVectorGroup, true));
  std::vector<Group> downwards = groups_of(*list(check, kSortByVectorGroup, false));
  check.that(std::equal(upwards.begin(), upwards.end(), downwards.rbegin(), downwards.rend()),
             "the list by vector group downwards is not the reverse of that upwards");
  std::sort(upwards.begin(), upwards.end());
  check.that(std::unique(upwards.begin(), upwards.end()) == upwards.end(),
             "records of one vector group do not stand together in its list");
}

void deletion(Check& check) {
  const Session session(check);
  const StoredRecords stored(check, {kFirst, kSecond});
  measured(check, kFirst, KVR_SAVE_NEW_RECORD);
  measured(check, kSecond, KVR_SAVE_NEW_RECORD);
  const std::uint32_t count = list(check, kSortByTestId, true)->count;
  check.answer("kvr_DeleteRecord", check.api.kvr_DeleteRecord(kFirst), KVR_RES_OK);
  const List listed = list(check, kSortByTestId, true);
  check.that(position(*listed, kFirst) < 0, "a deleted record is still listed");
  check.that(position(*listed, kSecond) >= 0, "another record than the deleted one is gone");
  check.that(listed->count == count - 1, "a list has another length than one less");
  check.that(!exists(check, kFirst), "a deleted record still exists");
  kvr_TestRecord* record = nullptr;
  check.answer("kvr_ReadRecord of a deleted record", check.api.kvr_ReadRecord(kFirst, 1, &record),
               KVR_RES_RECORD_NOT_FOUND);
  check.answer("kvr_DeleteRecord of a deleted record", check.api.kvr_DeleteRecord(kFirst),
               KVR_RES_RECORD_NOT_FOUND);
  measured(check, kFirst, KVR_SAVE_NEW_RECORD);
}

/// The record export frees a list in this way.
void list_ownership(Check& check) {
  const Session session(check);
  kvr_TestLabelsList* listed = list(check, kSortByTestId, true).release();
  delete[] listed->entries;
  delete listed;
}

void clearing(Check& check) {
  const Session session(check);
  measured(check, kFirst, KVR_SAVE_NEW_RECORD);
  check.answer("kvr_ClearTestDatabase", check.api.kvr_ClearTestDatabase(), KVR_RES_OK);
  check.that(list(check, kSortByTestId, true)->count == 0, "a cleared store lists records");
  check.that(!exists(check, kFirst), "a record of a cleared store exists");
}

}  // namespace

std::vector<Rule> record_rules() {
  return {
      {"save-modes", "mode 1 stores a new record, 2 adds to one or begins it, 3 stores nothing",
       save_modes},
      {"empty-id", "a test without an ID gets a name", empty_id},
      {"reading", "a stored record is read as its test gave it", reading},
      {"not-found", "a record that is not there is refused with 15", not_found},
      {"outputs-left-alone", "a refused call leaves the caller's pointer alone",
       outputs_left_alone},
      {"records-stay", "a record stays as it is until its receiver frees it", records_stay},
      {"list-heads", "an entry of a list is the head of its record", list_heads},
      {"list-order", "lists run in three orders, both ways", list_order},
      {"deletion", "a deleted record is gone, and no other", deletion},
      {"list-ownership", "a list can be freed by delete[] and delete", list_ownership},
      {"clearing", "a cleared store is empty", clearing, Rule::kEmptyStore},
  };
}

}  // namespace contract
