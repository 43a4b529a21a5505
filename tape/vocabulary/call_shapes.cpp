#include "tape/vocabulary/call_shapes.h"

#include <algorithm>

#include "api/client_api.h"
#include "tape/vocabulary/layouts.h"

namespace tape {
namespace {

using Kind = FieldShape::Kind;

/// A pointer that is only null or not: 0 or 1.
constexpr FieldShape pointer(std::string_view name) { return {name, Kind::kNumber, {}, false}; }
constexpr FieldShape number(std::string_view name) { return {name, Kind::kNumber, {}, false}; }
constexpr FieldShape maybe_number(std::string_view name) { return {name, Kind::kNumber}; }
constexpr FieldShape text(std::string_view name) { return {name, Kind::kText}; }
constexpr FieldShape block(std::string_view name, std::string_view layout) {
  return {name, Kind::kBlock, layout};
}
constexpr FieldShape record(std::string_view name) { return {name, Kind::kRecord}; }
constexpr FieldShape list(std::string_view name) { return {name, Kind::kList}; }

constexpr FieldShape kCode[] = {number("code")};
constexpr FieldShape kCodeAndRecord[] = {number("code"), record("record")};

constexpr FieldShape kInitializeIn[] = {block("params", "kvr_InitParams")};
constexpr FieldShape kTestStationIn[] = {text("port"), block("params", "kvr_InitParams")};
constexpr FieldShape kKeyIn[] = {text("key")};
constexpr FieldShape kConnectIn[] = {maybe_number("type"), number("setting"), text("client_name"),
                                     pointer("firmware_version")};
constexpr FieldShape kConnectOut[] = {number("code"), block("firmware_version", kFirmwareText)};
constexpr FieldShape kCodeToStringOut[] = {text("text")};
constexpr FieldShape kApiInfoIn[] = {pointer("info")};
constexpr FieldShape kApiInfoOut[] = {number("code"), block("info", "kvr_ClientAPIInfo")};
constexpr FieldShape kDeviceInfoOut[] = {number("code"), block("info", "kvr_DeviceInfo")};
constexpr FieldShape kStatusIn[] = {pointer("status")};
constexpr FieldShape kStatusOut[] = {number("code"), block("status", "kvr_Status")};
constexpr FieldShape kTest1phIn[] = {block("header", "kvr_TestRequestHeader"),
                                     block("request", "kvr_Ratio1phRequest"),
                                     block("progress", "kvr_ProgressHandler"), pointer("record")};
constexpr FieldShape kTest3phIn[] = {block("header", "kvr_TestRequestHeader"),
                                     block("request", "kvr_Ratio3phRequest"),
                                     block("progress", "kvr_ProgressHandler"), pointer("record")};
constexpr FieldShape kFreeRecordIn[] = {record("record")};
constexpr FieldShape kExistsIn[] = {text("record_id"), pointer("exists")};
constexpr FieldShape kExistsOut[] = {number("code"), maybe_number("exists")};
constexpr FieldShape kReadIn[] = {text("record_id"), number("setting"), pointer("record")};
constexpr FieldShape kDeleteIn[] = {text("record_id")};
constexpr FieldShape kListIn[] = {pointer("list"), pointer("filter"), number("sort_key"),
                                  number("ascending")};
constexpr FieldShape kListOut[] = {number("code"), list("list")};
constexpr FieldShape kFreeListIn[] = {list("list")};

constexpr CallShape kCalls[] = {
    {"kvr_Lib_Initialize", kInitializeIn, kCode},
    {"kvr_Lib_InitializeTestStation", kTestStationIn, kCode},
    {"kvr_Lib_Shutdown", {}, kCode},
    {"kvr_SetClientKey", kKeyIn, kCode},
    {"kvr_ConnectAPI", kConnectIn, kConnectOut},
    {"kvr_CheckConnection", {}, kCode},
    {"kvr_CodeToString", kCode, kCodeToStringOut},
    {"kvr_GetClientAPIInfo", kApiInfoIn, kApiInfoOut},
    {"kvr_GetDeviceInfo", kApiInfoIn, kDeviceInfoOut},
    {"kvr_GetStatus", kStatusIn, kStatusOut},
    {"kvr_LockAPI", {}, kCode},
    {"kvr_UnlockAPI", {}, kCode},
    {"kvr_CancelOperation", {}, kCode},
    {"kvr_Test_Ratio_1ph", kTest1phIn, kCodeAndRecord},
    {"kvr_Test_Ratio_3ph", kTest3phIn, kCodeAndRecord},
    {"kvr_FreeTestRecord", kFreeRecordIn, kCode},
    {"kvr_CheckRecordExists", kExistsIn, kExistsOut},
    {"kvr_ReadRecord", kReadIn, kCodeAndRecord},
    {"kvr_DeleteRecord", kDeleteIn, kCode},
    {"kvr_ClearTestDatabase", {}, kCode},
    {"kvr_ListRecords", kListIn, kListOut},
    {"kvr_FreeTestLabelsList", kFreeListIn, kCode},
};

constexpr FieldShape kStatusCallback[] = {number("code"), text("text")};
constexpr FieldShape kProgressCallback[] = {block("progress", "kvr_Progress")};

constexpr CallShape kCallbacks[] = {
    {"status", kStatusCallback, {}},
    {"progress", kProgressCallback, {}},
};

const CallShape* find(std::span<const CallShape> shapes, std::string_view name) {
  const auto found = std::find_if(shapes.begin(), shapes.end(),
                                  [&](const CallShape& shape) { return shape.name == name; });
  return found == shapes.end() ? nullptr : &*found;
}

}  // namespace

const CallShape* find_call(std::string_view name) { return find(kCalls, name); }

const CallShape* find_callback(std::string_view name) { return find(kCallbacks, name); }

std::size_t block_size(std::string_view layout) {
  if (layout == kFirmwareText) {
    return kFirmwareTextSize;
  }
  const Layout* found = find_layout(layout);
  return found == nullptr ? 0 : found->size;
}

bool is_accepted(long long code) {
  return code == KVR_RES_OK || code == KVR_RES_CHECK_ERROR_STATUS ||
         code == KVR_RES_PARTIAL_RESULT_CHECK_STATUS;
}

}  // namespace tape
