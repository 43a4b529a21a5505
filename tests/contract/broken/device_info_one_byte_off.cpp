// breaks: device-info
// The texts of the device record begin one byte late, as in a record that is not packed.
#include <cstring>

#include "contract/broken/good_calls.h"

void break_calls(ClientApiTable& calls) {
  calls.kvr_GetDeviceInfo = [](kvr_DeviceInfo* info) {
    const kvr_code code = good_kvr_GetDeviceInfo(info);
    if (code == KVR_RES_OK) {
      std::memmove(info->serial_number + 1, info->serial_number, 4 * sizeof info->serial_number);
      info->serial_number[0] = '\0';
    }
    return code;
  };
}
