#pragma once

#include <array>
#include <string_view>

namespace virtual_instrument {

/// The names of the exported calls, with which a bench names those that must fail.
inline constexpr std::array<std::string_view, 22> kCallNames{
    "kvr_CancelOperation",   "kvr_CheckConnection",
    "kvr_CheckRecordExists", "kvr_ClearTestDatabase",
    "kvr_CodeToString",      "kvr_ConnectAPI",
    "kvr_DeleteRecord",      "kvr_FreeTestLabelsList",
    "kvr_FreeTestRecord",    "kvr_GetClientAPIInfo",
    "kvr_GetDeviceInfo",     "kvr_GetStatus",
    "kvr_Lib_Initialize",    "kvr_Lib_InitializeTestStation",
    "kvr_Lib_Shutdown",      "kvr_ListRecords",
    "kvr_LockAPI",           "kvr_ReadRecord",
    "kvr_SetClientKey",      "kvr_Test_Ratio_1ph",
    "kvr_Test_Ratio_3ph",    "kvr_UnlockAPI",
};

}  // namespace virtual_instrument
