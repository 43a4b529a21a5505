#include <cstdlib>

#include "api/client_api.h"
#include "flows/requests.h"

// The calls of a series alone: as many single-phase tests at 8 V as the argument says, with nothing
// made of their results. benchmarks/plan_cost.py sets the programs beside it.

namespace {

bool run_tests(int count) {
  kvr_Ratio1phRequest request = make_ratio_1ph_request();
  request.test_type = KVR_TEST_RATIO_DOWN;
  request.test_voltage = 8.0F;
  request.setup.raw_data_requested = 1;
  set_nameplate_ratio(request.setup, 10);
  kvr_TestRequestHeader header = make_request_header("", KVR_SAVE_NOTHING);
  kvr_ProgressHandler progress{[](void*, const kvr_Progress*) {}, nullptr};
  for (int i = 0; i < count; ++i) {
    kvr_TestRecord* record = nullptr;
    if (kvr_Test_Ratio_1ph(&header, &request, &progress, &record) != KVR_RES_OK) {
      return false;
    }
    kvr_FreeTestRecord(record);
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  kvr_InitParams params{};
  params.init_mode = 2;
  params.status_callback = [](void*, kvr_code, const char*) {};
  kvr_Lib_Initialize(&params);
  kvr_SetClientKey("benchmark");
  kvr_ConnectionType type = KVR_CONNECTION_USB_WIFI;
  char firmware[kFirmwareTextSize]{};
  kvr_ConnectAPI(&type, 5, "benchmark", firmware);
  kvr_LockAPI();
  const bool good = run_tests(argc > 1 ? std::atoi(argv[1]) : 1);
  kvr_UnlockAPI();
  kvr_Lib_Shutdown();
  return good ? 0 : 1;
}
