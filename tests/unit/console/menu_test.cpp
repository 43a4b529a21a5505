#include "console/menu.h"

#include <gtest/gtest.h>

#include <string>

#include "support/session_test.h"

namespace {

class Menu : public SessionTest {};

std::string done;

constexpr MenuItem kItems[] = {{1, "First thing", [] { done += "first "; }},
                               {9, "Ninth thing", [] { done += "ninth "; }}};

TEST_F(Menu, IsWrittenWithItsWayOutLast) {
  const Console console;
  show_menu(kItems, "Cancel");
  EXPECT_EQ(console.output(),
            "\n== Choose menu item ==\n\n"
            "1. First thing\n"
            "9. Ninth thing\n"
            "0. Cancel\n");
}

TEST_F(Menu, DoesWhatIsChosen) {
  const Console console("9\n1\n5\n-1\n0\n");
  done.clear();
  EXPECT_TRUE(run_menu_choice(kItems));
  EXPECT_EQ(done, "ninth ");
  EXPECT_TRUE(run_menu_choice(kItems));
  EXPECT_EQ(done, "ninth first ");
  EXPECT_TRUE(run_menu_choice(kItems));
  EXPECT_TRUE(run_menu_choice(kItems));
  EXPECT_FALSE(run_menu_choice(kItems));
  EXPECT_EQ(done, "ninth first ");
  EXPECT_EQ(console.output(), "");
}

}  // namespace
