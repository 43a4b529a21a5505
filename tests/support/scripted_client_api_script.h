#pragma once

#include <istream>
#include <stdexcept>
#include <string>

#include "support/scripted_client_api.h"

// Answers of the scripted client library as text, for programs that C++ code of a test can't reach.
//
//   # A comment.
//   kvr_ConnectAPI: 5                               the first call is refused with code 5,
//   kvr_ConnectAPI: KVR_RES_OK firmware="3.1.4"     the second one accepted
//   always kvr_GetStatus: 0 api_locked=1            every call that has no line of its own
//   kvr_CodeToString: "no reply"                    or null
//   kvr_Test_Ratio_1ph: 0 record=first progress=1/3,3/3
//   kvr_Test_Ratio_1ph: 7 until_cancelled
//
//   record first                                    a record in the notation of record_text.h,
//     record_id = T1                                indented
//
// Any call:            status=83  status=83:"text"  reported to the status callback before the call
//                      status=83:"text"@200ms       returns, or that long after
//                      delay=200ms
// kvr_ConnectAPI:      firmware="text"
// kvr_GetClientAPIInfo: version="text"
// kvr_GetDeviceInfo, kvr_GetStatus: fields of their records, by name; the others as by default
// kvr_CheckRecordExists: exists=0 or exists=1
// kvr_Test_Ratio_1ph, kvr_Test_Ratio_3ph, kvr_ReadRecord: record=NAME or record=null; without it
//                      an accepted call gives a plausible record. record_id="text", raw="text" and
//                      raw=null alter the record. The test calls take progress=CURRENT/TOTAL,...
//                      and until_cancelled too
// kvr_ListRecords:     records=NAME,NAME,...  without it the list is empty
//
// Texts know \" \\ \n \t and \xHH.

/// A line that can't be understood. The message begins with the script's name and the line.
class ScriptError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Queues the answers of a script. Throws ScriptError; answers above the bad line stay queued.
void load_script(std::istream& script, const std::string& name, ScriptedClientApi& api);
