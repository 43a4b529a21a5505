#include <ostream>

#include "panel/bench_file.h"
#include "panel/commands.h"
#include "text/text_output.h"
#include "virtual_instrument/vocabulary/code_sentences.h"

namespace panel {
namespace {

using virtual_instrument::SqliteStore;

int refuse(const std::string& what, kvr_code code, std::ostream& words) {
  words << what << ": " << virtual_instrument::code_sentence(code) << '\n';
  return kRefused;
}

int list(SqliteStore& store, const std::string& file, std::ostream& out, std::ostream& words) {
  virtual_instrument::Labels labels;
  if (const kvr_code code = store.list(virtual_instrument::SortKey::kDateTime, true, labels);
      code != KVR_RES_OK) {
    return refuse(file, code, words);
  }
  for (std::uint32_t number = 0; number < labels->count; ++number) {
    out << KVR_Text_Output::RecordHeaderToText(&labels->entries[number]) << '\n';
  }
  return kDone;
}

}  // namespace

int show_records(const std::string& bench_file, const std::vector<std::string>& ids,
                 std::ostream& out, std::ostream& words) {
  const auto bench = open_bench(bench_file, words);
  if (!bench) {
    return kWrong;
  }
  if (bench->store.file.empty() && !bench->store.demonstration) {
    words << "instrument-panel: the bench names no file for records\n";
    return kWrong;
  }
  const auto store = open_store(bench->store);
  if (ids.empty()) {
    return list(*store, bench->store.file, out, words);
  }
  for (const std::string& id : ids) {
    RecordNest record;
    if (const kvr_code code = store->read(id, record); code != KVR_RES_OK) {
      return refuse(id, code, words);
    }
    out << KVR_Text_Output::ResultsToString(record.get());
  }
  return kDone;
}

int check_benches(const std::vector<std::string>& bench_files, std::ostream& out,
                  std::ostream& words) {
  int status = kDone;
  for (const std::string& file : bench_files) {
    if (open_bench(file, words)) {
      out << file << ": no problems\n";
    } else {
      status = kWrong;
    }
  }
  return status;
}

}  // namespace panel
