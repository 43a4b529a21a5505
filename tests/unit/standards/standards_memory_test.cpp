#include <gtest/gtest.h>

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

}  // namespace
