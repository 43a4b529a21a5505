#include "support/terminal_label_listing.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace {

TEST(TerminalLabelListing, IsUpToDate) {
  std::ifstream file(KVR_TEST_DATA_DIR "/../docs/terminal-labels.md", std::ios::binary);
  ASSERT_TRUE(file.good());
  const std::string listing{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  EXPECT_EQ(listing, terminal_label_listing::text())
      << "build the target terminal-labels and look at what it changes";
}

}  // namespace
