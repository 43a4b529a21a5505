#include "shell/main_menu.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console/session.h"
#include "console/stop_handling.h"
#include "support/session_test.h"

namespace {

int actions_run = 0;

constexpr MenuItem kItems[] = {{2, "Single Phase Test", [] { ++actions_run; }}};

const std::string kTitle = "\n!!! === KVRU3 main menu === !!!\n";
const std::string kChoices =
    "\n== Choose menu item ==\n\n"
    "2. Single Phase Test\n"
    "0. Exit\n";

class MainMenu : public SessionTest {
 protected:
  MainMenu() { actions_run = 0; }

  /// The menu's lines for this status, between its title and its choices.
  std::string status_lines(const kvr_Status& status) {
    raw_data_enabled = false;
    api.answer(ApiCall::GetStatus, {.device_status = status});
    const Console console("0\n");
    run_main_menu(kItems);
    const std::string output = console.output();
    EXPECT_TRUE(output.starts_with(kTitle)) << output;
    EXPECT_TRUE(output.ends_with(kChoices)) << output;
    return output.substr(kTitle.size(), output.size() - kTitle.size() - kChoices.size());
  }
};

TEST_F(MainMenu, OfAHealthyInstrument) {
  const Console console("0\n");
  run_main_menu(kItems);
  EXPECT_EQ(console.output(), kTitle + "Save RAW Data to File\n" + kChoices);
  EXPECT_EQ(call_lines(), "kvr_GetStatus\n");
}

TEST_F(MainMenu, ShowsRawDataOnlyWhenItIsSaved) {
  raw_data_enabled = false;
  const Console console("0\n");
  run_main_menu(kItems);
  EXPECT_EQ(console.output(), kTitle + kChoices);
}

TEST_F(MainMenu, HasALineForEachTroubleOfTheInstrument) {
  kvr_Status status = healthy_status();
  EXPECT_EQ(status_lines(status), "");
  status.api_locked = 1;
  EXPECT_EQ(status_lines(status), "WARNING: API Locked!\n");
  status = healthy_status();
  status.database_loaded = 0;
  EXPECT_EQ(status_lines(status), "ERROR: Database not loaded!\n");
  status = healthy_status();
  status.secondary_sd_mounted = 0;
  EXPECT_EQ(status_lines(status), "ERROR: Secondary SDCARD not mounted!\n");
  status = healthy_status();
  status.secondary_sd_read_only = 1;
  EXPECT_EQ(status_lines(status), "ERROR: Secondary SDCARD READONLY!\n");
  status = healthy_status();
  status.emergency_button_pressed = 1;
  EXPECT_EQ(status_lines(status), "WARNING: Emergency Button pressed!\n");
  status = healthy_status();
  status.primary_sd_error = 1;
  EXPECT_EQ(status_lines(status), "ERROR: Primary SDCARD ERROR!\n");
  status = healthy_status();
  status.secondary_sd_error = 1;
  EXPECT_EQ(status_lines(status), "ERROR: Secondary SDCARD ERROR!\n");
  status = healthy_status();
  status.measurement_board_connected = 0;
  EXPECT_EQ(status_lines(status), "ERROR: measurement board not connected!\n");
  status = healthy_status();
  status.device_status_code = KVR_RES_HARDWARE_ERROR;
  EXPECT_EQ(status_lines(status), "\nDEVICE STATUS: wording of code 125\n");
}

TEST_F(MainMenu, ShowsAllTroublesInOrder) {
  kvr_Status status{};  // flags that should be set are clear
  status.device_status_code = static_cast<kvr_code>(-1);
  status.api_locked = 2;  // any value but 0 is true
  status.emergency_button_pressed = 0x80;
  status.secondary_sd_read_only = 255;
  status.primary_sd_error = 7;
  status.secondary_sd_error = 9;
  EXPECT_EQ(status_lines(status),
            "WARNING: API Locked!\n"
            "ERROR: Database not loaded!\n"
            "ERROR: Secondary SDCARD not mounted!\n"
            "ERROR: Secondary SDCARD READONLY!\n"
            "WARNING: Emergency Button pressed!\n"
            "ERROR: Primary SDCARD ERROR!\n"
            "ERROR: Secondary SDCARD ERROR!\n"
            "ERROR: measurement board not connected!\n"
            "\nDEVICE STATUS: wording of code -1\n");
}

TEST_F(MainMenu, ShowsOnlyTheErrorLineOfARefusedStatus) {
  api.answer_always(ApiCall::GetStatus, {.result = KVR_RES_COMMUNICATION_TIMEOUT});
  const Console console("5\n0\n");
  run_main_menu(kItems);
  const std::string pass =
      kTitle + "\nERROR: wording of code 6\n" + "Save RAW Data to File\n" + kChoices;
  EXPECT_EQ(console.output(), pass + pass);
}

TEST_F(MainMenu, KeepsTheStatusForTheFlows) {
  kvr_Status status{};
  status.secondary_sd_read_only = 1;
  api.answer(ApiCall::GetStatus, {.device_status = status});
  const Console console("0\n");
  run_main_menu(kItems);
  EXPECT_EQ(device_status.secondary_sd_read_only, 1);
  EXPECT_EQ(device_status.database_loaded, 0);
}

TEST_F(MainMenu, TakesAPartlyFailedStatus) {
  kvr_Status status = healthy_status();
  status.api_locked = 1;
  for (const std::int32_t result : {44, 76}) {
    api.answer(ApiCall::GetStatus, {.result = result, .device_status = status});
    const Console console("0\n");
    run_main_menu(kItems);
    EXPECT_EQ(console.output(),
              kTitle + "WARNING: API Locked!\n" + "Save RAW Data to File\n" + kChoices);
  }
}

TEST_F(MainMenu, ShowsItselfAgainForOtherChoices) {
  const Console console("1\n5\n-2\n0\n");
  run_main_menu(kItems);
  const std::string pass = kTitle + "Save RAW Data to File\n" + kChoices;
  EXPECT_EQ(console.output(), pass + pass + pass + pass);
  EXPECT_EQ(actions_run, 0);
  EXPECT_EQ(api.count(ApiCall::GetStatus), 4U);
}

TEST_F(MainMenu, RunsAnItemAndComesBack) {
  const Console console("2\n2\n0\n");
  run_main_menu(kItems);
  EXPECT_EQ(actions_run, 2);
}

TEST_F(MainMenu, LeavesWithoutAChoiceWhenToldToExit) {
  exit_requested = true;
  const Console console("2\n");
  run_main_menu(kItems);
  EXPECT_EQ(console.output(), kTitle + "Save RAW Data to File\n" + kChoices);
  EXPECT_EQ(console.unread(), "2\n");
  EXPECT_EQ(actions_run, 0);
}

TEST_F(MainMenu, ForgetsAStopSignalBeforeItShowsAnything) {
  stop_signal_seen = true;
  bool seen_at_status = true;
  api.answer(ApiCall::GetStatus, {.meanwhile = [&] { seen_at_status = stop_signal_seen; }});
  const Console console("0\n");
  run_main_menu(kItems);
  EXPECT_FALSE(seen_at_status);
  EXPECT_FALSE(stop_signal_seen);
}

TEST_F(MainMenu, ForgetsAStopSignalOnEachPass) {
  constexpr MenuItem kSignalling[] = {{2, "Stop", [] { stop_signal_seen = true; }}};
  const Console console("2\n0\n");
  run_main_menu(kSignalling);
  EXPECT_FALSE(stop_signal_seen);
}

TEST_F(MainMenu, GoesOnSilentlyWhenTheLibraryHasNoWordsForTheStatus) {
  kvr_Status status = healthy_status();
  status.device_status_code = KVR_RES_HARDWARE_ERROR;
  api.answer(ApiCall::GetStatus, {.device_status = status});
  api.answer(ApiCall::CodeToString, {.null = true});
  const Console console("2\n0\n");
  run_main_menu(kItems);
  EXPECT_EQ(console.output(), kTitle + "\nDEVICE STATUS: ");
  EXPECT_EQ(actions_run, 1);
}

}  // namespace
