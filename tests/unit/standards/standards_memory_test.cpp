#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <new>
#include <string>

#include "standards/standards.h"
#include "support/counted_new.h"
#include "text/vector_group_text.h"

namespace {

TEST(GetVectorLabels, AllocatesNothingButTheName) {
  for (const kvr_VectorGroup& wanted : {kvr_VectorGroup{KVR_WINDING_D, KVR_WINDING_YN, 11, 0},
                                        kvr_VectorGroup{KVR_WINDING_D, KVR_WINDING_Y, 100, 0}}) {
    Standards::getVectorLabels(KVR_STANDARD_H1H2, wanted);
    const std::size_t before_name = counted_new::allocations();
    const std::string name = VectorGroupText(wanted);
    const std::size_t for_name = counted_new::allocations() - before_name;
    const std::size_t before_search = counted_new::allocations();
    Standards::getVectorLabels(KVR_STANDARD_H1H2, wanted);
    EXPECT_EQ(counted_new::allocations() - before_search, for_name) << name;
  }
}

// In processes of their own, where no other test has built a table.

std::size_t allocations_of_a_request(kvr_StandardType standard) {
  const std::size_t before = counted_new::allocations();
  Standards::getStandard(standard);
  return counted_new::allocations() - before;
}

[[noreturn]] void request_each_table_twice() {
  for (const auto standard :
       {KVR_STANDARD_AB, KVR_STANDARD_H1H2, KVR_STANDARD_1U1V, KVR_STANDARD_A2B2}) {
    const bool is_built_now = allocations_of_a_request(standard) > 0;
    const bool is_built_again = allocations_of_a_request(standard) > 0;
    std::cerr << is_built_now << is_built_again << ' ';
  }
  std::exit(0);
}

TEST(GetStandardDeathTest, BuildsATableAtTheFirstRequestForIt) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(request_each_table_twice(), testing::ExitedWithCode(0), "^10 10 10 10 $");
}

[[noreturn]] void run_out_of_memory_at_first() {
  std::size_t failures = 0;
  for (bool has_failed = true; has_failed;) {
    const counted_new::Failing failing(failures + 1);
    try {
      Standards::getStandard(KVR_STANDARD_AB);
    } catch (const std::bad_alloc&) {
      ++failures;
    }
    has_failed = failing.has_failed();
  }
  const StandardTable& table = Standards::getStandard(KVR_STANDARD_AB);
  // Each attempt began from nothing, and built one row more than the one before.
  std::cerr << (failures >= table.groups.size() ? "built at last: " : "built too early: ")
            << table.groups.size() << " rows, " << table.manual[5].tertiary;
  std::exit(0);
}

TEST(GetStandardDeathTest, LeavesATableUnbuiltWhenMemoryRunsOut) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(run_out_of_memory_at_first(), testing::ExitedWithCode(0),
              "^built at last: 44 rows, c-a$");
}

}  // namespace
