#include "plan/junit.h"

#include <gtest/gtest.h>

namespace {

PlannedTest planned(const std::string& name, std::size_t voltages) {
  PlannedTest test;
  test.name = name;
  test.voltages.resize(voltages, {0, 8});
  return test;
}

Measurement measured(std::size_t test, kvr_code code, const std::string& words, Verdict verdict,
                     std::vector<Check> checks = {}) {
  return {test, 1, 8, code, words, {verdict, std::move(checks)}, 0.5};
}

TEST(Junit, HasACaseForEachMeasurement) {
  Plan plan;
  plan.file = "p & q.toml";
  plan.tests = {planned("a <\"\n\xe4", 1), planned("b", 1), planned("c", 1), planned("d", 1),
                planned("e", 2)};
  const std::vector<Measurement> measurements = {
      measured(1, KVR_RES_OK, "", Verdict::within, {{"tnr", "A", 1, 0, 2}}),
      measured(2, KVR_RES_OK, "", Verdict::no_limits),
      measured(3, KVR_RES_OK, "", Verdict::outside,
               {{"tnr", "A", 3, 0, 2}, {"tnr", "B", 1, 0, 2}, {"ratio_3ph", "", 9.5, -1, 1}}),
      measured(4, KVR_RES_CHECK_ERROR_STATUS, "", Verdict::partial),
      measured(5, KVR_RES_OPERATION_CANCELLED, "by <hand>", Verdict::cancelled)};
  EXPECT_EQ(
      junit_text(plan, measurements),
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<testsuites tests=\"6\" failures=\"2\" errors=\"1\" skipped=\"1\" time=\"2.500\">\n"
      "  <testsuite name=\"p &amp; q.toml\" tests=\"6\" failures=\"2\" errors=\"1\" skipped=\"1\" "
      "time=\"2.500\">\n"
      "    <testcase classname=\"a &lt;&quot;??\" name=\"8 V, 1 of 1\" time=\"0.500\"/>\n"
      "    <testcase classname=\"b\" name=\"8 V, 1 of 1\" time=\"0.500\"><system-out>no limits "
      "were "
      "given</system-out></testcase>\n"
      "    <testcase classname=\"c\" name=\"8 V, 1 of 1\" time=\"0.500\"><failure type=\"outside\" "
      "message=\"tnr of A is 3, limits 0 to 2; ratio_3ph is 9.5, limits -1 to 1\"/></testcase>\n"
      "    <testcase classname=\"d\" name=\"8 V, 1 of 1\" time=\"0.500\"><failure type=\"partial\" "
      "message=\"KVR_RES_CHECK_ERROR_STATUS\"/></testcase>\n"
      "    <testcase classname=\"e\" name=\"8 V, 1 of 2\" time=\"0.500\"><error type=\"cancelled\" "
      "message=\"KVR_RES_OPERATION_CANCELLED: by &lt;hand&gt;\"/></testcase>\n"
      "    <testcase classname=\"e\" name=\"8 V, 2 of 2\"><skipped/></testcase>\n"
      "  </testsuite>\n</testsuites>\n");
}

}  // namespace
