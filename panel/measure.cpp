#include <ostream>
#include <utility>

#include "panel/bench_file.h"
#include "panel/commands.h"
#include "panel/kinds.h"
#include "text/text_output.h"
#include "virtual_instrument/bench/bench_unit.h"
#include "virtual_instrument/bench/instrument_time.h"
#include "virtual_instrument/recording/record_keeper.h"
#include "virtual_instrument/vocabulary/code_names.h"
#include "virtual_instrument/vocabulary/code_sentences.h"
#include "virtual_instrument/vocabulary/text_field.h"

namespace panel {
namespace {

using virtual_instrument::Bench;
using virtual_instrument::SqliteStore;
using virtual_instrument::TransformerUnit;

/// Why the instrument makes no test at all now, or KVR_RES_OK.
kvr_code hindrance(const Bench& bench, double voltage) {
  if (bench.status.emergency_button_pressed) {
    return KVR_RES_EMERGENCY_STOP_PRESSED;
  }
  if (bench.status.interlock_on) {
    return KVR_RES_INTERLOCK_ON;
  }
  if (!bench.status.measurement_board_connected) {
    return KVR_RES_MEASUREMENT_BOARD_CONNECTION;
  }
  return voltage >= bench.instrument.minimum_voltage && voltage <= bench.instrument.maximum_voltage
             ? KVR_RES_OK
             : KVR_RES_UNSUPPORTED_VOLTAGE;
}

/// Several tests of one order are told apart by their number.
std::string id_of(const MeasureOrder& order, std::size_t test) {
  std::string id = order.id;
  if (!id.empty() && order.kinds.size() > 1) {
    id.append("-").append(std::to_string(test + 1));
  }
  return id;
}

/// The tests of one order, on a unit that keeps what they leave in its core.
class Panel {
 public:
  Panel(const MeasureOrder& order, const Bench& bench)
      : order_(order),
        bench_(bench),
        unit_(make_unit(bench, order.windings)),
        settings_(settings_for(order, unit_, bench)),
        store_(open_store(bench.store)) {}

  kvr_code measure(const Kind& kind, RecordNest& record) {
    const kvr_TestRequestHeader header = header_of();
    kvr_code code = hindrance(bench_, settings_.family.test_voltage);
    if (code == KVR_RES_OK) {
      code = check_saving(header, {kind.type, kind.family}, *store_, bench_);
    }
    if (code != KVR_RES_OK) {
      return code;
    }
    const Measured measured = carry_out(kind, unit_, settings_);
    ++settings_.family.seed;
    ++made_;
    if (!virtual_instrument::is_accepted_code(measured.code)) {
      return measured.code;
    }
    code = keep_test(header, kind.type, nameplate_setup(unit_), {measured.result, ""},
                     time_on(bench_.instrument), *store_, bench_, record);
    return code == KVR_RES_OK ? measured.code : code;
  }

  bool keeps() const { return !bench_.store.file.empty(); }

 private:
  kvr_TestRequestHeader header_of() const {
    kvr_TestRequestHeader header{};
    virtual_instrument::fill_field(header.record_id, id_of(order_, made_));
    virtual_instrument::fill_field(header.asset_id, order_.asset);
    header.save_mode = !keeps()     ? KVR_SAVE_NOTHING
                       : order_.add ? KVR_SAVE_ADD_TO_RECORD
                                    : KVR_SAVE_NEW_RECORD;
    return header;
  }

  const MeasureOrder& order_;
  const Bench& bench_;
  TransformerUnit unit_;
  Settings settings_;
  const std::unique_ptr<SqliteStore> store_;
  std::size_t made_ = 0;
};

/// An ID cut to fit would name another record.
bool fits(const std::string& id, const char* what, std::ostream& words) {
  if (id.size() < kIdSize) {
    return true;
  }
  words << "instrument-panel: the " << what << " has more than " << kIdSize - 1 << " characters\n";
  return false;
}

}  // namespace

int measure(const MeasureOrder& order, std::ostream& out, std::ostream& words) {
  std::vector<const Kind*> kinds;
  for (const std::string& name : order.kinds) {
    kinds.push_back(find_kind(name));
    if (kinds.back() == nullptr) {
      words << "instrument-panel: no test '" << name << "'; the tests are:\n" << list_of_kinds();
      return kWrong;
    }
  }
  const auto bench = open_bench(order.bench_file, words);
  if (!bench || !fits(id_of(order, kinds.size() - 1), "ID", words) ||
      !fits(order.asset, "asset", words)) {
    return kWrong;
  }
  if (!has_pair(*bench, order.windings)) {
    words << kinds.front()->name << ": "
          << virtual_instrument::code_sentence(KVR_RES_TEST_CONFIG_INCOMPATIBLE) << '\n';
    return kRefused;
  }
  Panel panel(order, *bench);
  for (const Kind* kind : kinds) {
    RecordNest record;
    const kvr_code code = panel.measure(*kind, record);
    if (!record) {
      words << kind->name << ": " << virtual_instrument::code_sentence(code) << '\n';
      return kRefused;
    }
    out << KVR_Text_Output::ResultsToString(record.get()) << std::flush;
    words << (panel.keeps()
                  ? std::string("Kept as ") + record->record_id + " in " + bench->store.file
                  : "Not kept: the bench names no file for records")
          << '\n';
  }
  return kDone;
}

}  // namespace panel
