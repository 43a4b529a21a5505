#include "records/record_menu.h"

#include <cstdint>
#include <iostream>
#include <sstream>
#include <string>

#include "api/client_api.h"
#include "console/menu.h"
#include "console/prompts.h"
#include "console/replies.h"
#include "console/session.h"
#include "records/record_export.h"
#include "text/text_output.h"

void record_menu() {
  constexpr MenuItem kItems[] = {{1, "List database records", list_records},
                                 {2, "Read record", read_record},
                                 {3, "Export records to csv", export_records},
                                 {4, "Delete record", delete_record},
                                 {9, "Clear database", clear_database}};
  do {
    show_menu(kItems, "Cancel");
  } while (run_menu_choice(kItems));
}

namespace {

struct SortOrder {
  std::int32_t key;
  std::int32_t ascending;
};

constexpr SortOrder kSortOrders[] = {{kSortByDateTime, 1},    {kSortByDateTime, 0},
                                     {kSortByTestId, 1},      {kSortByTestId, 0},
                                     {kSortByVectorGroup, 1}, {kSortByVectorGroup, 0}};

/// The order chosen, 1 to 6; 0 to cancel.
std::int32_t choose_sort_order() {
  while (true) {
    std::cout << "\n== Choose sort order ==\n\n"
                 "1. Date/Time Asc\n"
                 "2. Date/Time Desc\n"
                 "3. Test ID Asc\n"
                 "4. Test ID Desc\n"
                 "5. Vector Group Asc\n"
                 "6. Vector Group Desc\n"
                 "0. Cancel\n";
    const std::int32_t choice = read_int();
    if (choice >= 0 && choice <= 6) {
      return choice;
    }
  }
}

}  // namespace

void list_records() {
  const std::int32_t choice = choose_sort_order();
  if (choice == 0) {
    return;
  }
  const SortOrder order = kSortOrders[choice - 1];
  std::cout << "Existing test results: \n";
  kvr_TestLabelsList* list = nullptr;
  if (!is_accepted(kvr_ListRecords(&list, nullptr, order.key, order.ascending))) {
    return;
  }
  const std::uint32_t count = list == nullptr ? 0 : list->count;
  std::cout << "Total count: " << count << '\n';
  for (std::uint32_t i = 0; i < count; ++i) {
    std::cout << KVR_Text_Output::RecordHeaderToText(&list->entries[i]) << '\n';
  }
  kvr_FreeTestLabelsList(list);
}

void read_record() {
  const char* const record_id = prompt_record_id();
  kvr_TestRecord* record = nullptr;
  if (!is_accepted(kvr_ReadRecord(record_id, 1, &record)) || record == nullptr) {
    return;
  }
  std::ostringstream text;
  KVR_Text_Output::ResultsToReportFile(record, text, device_serial, device_software_version,
                                       nullptr);
  std::cout << text.str();
  kvr_FreeTestRecord(record);
}

void delete_record() {
  if (is_accepted(kvr_DeleteRecord(prompt_record_id()))) {
    std::cout << "Deleted!\n";
  }
}

void clear_database() {
  std::cout << "Do you want to clear tests database? (Y/N): ";
  std::string answer;
  read_word(answer);
  if (answer != "Y" && answer != "y") {
    return;
  }
  if (is_accepted(kvr_ClearTestDatabase())) {
    std::cout << "Database has been reset!\n";
  }
}
