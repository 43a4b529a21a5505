#include "unit/tape/sample_tape.h"

#include <cstring>

#include "record_form/record_nest.h"
#include "tape/format/line_text.h"
#include "tape/vocabulary/call_fields.h"

namespace {

using namespace tape;

class Writer {
 public:
  Writer() {
    TapeHeader header;
    header.layouts = "0";
    header.system = "linux";
    header.program = "1.0";
    header.time = "2026-03-15T12:00:00+01:00";
    header.library = "libkvr-client-api.so";
    header.library_size = 1000;
    header.library_sha256 = "00";
    text = line_of(header);
  }

  std::uint64_t enter(EventKind kind, int thread, const char* name, Fields fields) {
    add(kind, thread, name, ++number_, std::move(fields));
    return number_;
  }

  void add(EventKind kind, int thread, const char* name, std::uint64_t number, Fields fields) {
    Event event;
    event.kind = kind;
    event.thread = thread;
    event.name = name;
    event.number = number;
    event.time = time_ += 1000;
    event.fields = std::move(fields);
    text += line_of(event);
  }

  void call(int thread, const char* name, Fields in, Fields out) {
    add(EventKind::kReturn, thread, name, enter(EventKind::kCall, thread, name, std::move(in)),
        std::move(out));
  }

  std::string text;

 private:
  std::uint64_t number_ = 0;
  std::int64_t time_ = 0;
};

Fields with(Fields fields, const char* name, Value value) {
  fields.push_back({name, std::move(value)});
  return fields;
}

RecordNest record() {
  RecordNest made(new kvr_TestRecord{});
  std::strcpy(made->record_id, "T1");
  made->test_count = 1;
  made->test_type = KVR_TEST_RATIO_DOWN;
  made->data_count = 1;
  made->data_ratio_1ph = new kvr_TestData_Ratio_1ph* [1] {};
  made->data_ratio_1ph[0] = new kvr_TestData_Ratio_1ph{};
  made->data_ratio_1ph[0]->phase.tnr = 16;
  made->raw_data = new_text("V;A\n1;2\n\xB0");
  return made;
}

}  // namespace

std::string sample_tape() {
  Writer tape;
  kvr_InitParams params{};
  tape.call(1, "kvr_Lib_Initialize", initialize_fields(&params), code_fields(0));
  tape.call(1, "kvr_SetClientKey", key_fields("secret"), code_fields(0));
  kvr_DeviceInfo info{};
  std::strcpy(info.serial_number, "VI-1");
  tape.call(1, "kvr_GetDeviceInfo", output_fields("info", &info),
            with(code_fields(0), "info", Value::block("kvr_DeviceInfo", &info, sizeof info)));
  kvr_TestRequestHeader header{};
  kvr_Ratio1phRequest request{};
  request.test_voltage = 8;
  kvr_TestRecord* out = nullptr;
  const auto test = tape.enter(EventKind::kCall, 1, "kvr_Test_Ratio_1ph",
                               test_fields(&header, &request, nullptr, &out));
  kvr_Progress progress{1, 2};
  const auto callback =
      tape.enter(EventKind::kCallback, 2, "progress", progress_callback_fields(&progress));
  tape.call(2, "kvr_CheckConnection", {}, code_fields(0));
  tape.add(EventKind::kEnd, 2, "progress", callback, {});
  tape.call(3, "kvr_CancelOperation", {}, code_fields(7));
  const RecordNest made = record();
  tape.add(EventKind::kReturn, 1, "kvr_Test_Ratio_1ph", test,
           with(code_fields(0), "record", record_content(1, *made, false)));
  tape.call(1, "kvr_CodeToString", code_fields(44), text_fields("see the status"));
  tape.call(1, "kvr_FreeTestRecord", {{"record", record_reference(1)}}, code_fields(0));
  kvr_TestLabel label = label_of(*made);
  kvr_TestLabelsList list{&label, 1};
  kvr_TestLabelsList* list_out = nullptr;
  tape.call(1, "kvr_ListRecords", list_fields(&list_out, nullptr, 1, 1),
            with(code_fields(0), "list", list_content(1, list)));
  const auto status = tape.enter(EventKind::kCallback, 2, "status",
                                 status_callback_fields(static_cast<kvr_code>(83), "lid open"));
  tape.add(EventKind::kEnd, 2, "status", status, {});
  tape.call(1, "kvr_Lib_Shutdown", {}, code_fields(0));
  Event last;
  last.kind = EventKind::kClose;
  last.name = "exit";
  last.time = 1'000'000;
  return tape.text + line_of(last);
}
