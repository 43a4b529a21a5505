#pragma once

#include "api/client_api.h"
#include "tape/vocabulary/event.h"

// What goes into a call and what comes out of it as fields of an event, one function a shape. The
// recorder and the player describe calls with these, so that they can be compared byte by byte.
// Every pointer may be null. Pointers themselves never reach a tape, only whether they are null.
namespace tape {

Fields initialize_fields(const kvr_InitParams* params);
Fields test_station_fields(const char* port, const kvr_InitParams* params);
/// Only whether a key was given; the key itself stays unwritten.
Fields key_fields(const char* key);
Fields connect_fields(const kvr_ConnectionType* type, std::int32_t setting, const char* client_name,
                      const char* firmware_version);
Fields code_fields(std::int64_t code);
Fields text_fields(const char* text);
/// Of a call with one output that it fills.
Fields output_fields(std::string_view name, const void* output);
Fields test_fields(const kvr_TestRequestHeader* header, const kvr_Ratio1phRequest* request,
                   const kvr_ProgressHandler* progress, kvr_TestRecord* const* record);
Fields test_fields(const kvr_TestRequestHeader* header, const kvr_Ratio3phRequest* request,
                   const kvr_ProgressHandler* progress, kvr_TestRecord* const* record);
Fields exists_fields(const char* record_id, const bool* exists);
Fields read_fields(const char* record_id, std::int32_t setting, kvr_TestRecord* const* record);
Fields delete_fields(const char* record_id);
Fields list_fields(kvr_TestLabelsList* const* list, const void* filter, std::int32_t sort_key,
                   std::int32_t ascending);

Fields status_callback_fields(kvr_code code, const char* text);
Fields progress_callback_fields(const kvr_Progress* progress);

/// A record or list by its name; `number` 0 for one that no call has handed out, -1 for null.
Value record_reference(std::int64_t number);
Value list_reference(std::int64_t number);

/// The content of a record under that name: the arrays that its test type names, its texts and its
/// raw data. Nothing else of it is touched.
/// A stored record is also read by exports, which walk `test_count` entries of the arrays of ratio
/// tests.
Value record_content(std::int64_t number, const kvr_TestRecord& record, bool is_stored);
Value list_content(std::int64_t number, const kvr_TestLabelsList& list);

}  // namespace tape
