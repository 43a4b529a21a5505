#include "report/settings/settings.h"

namespace report {
namespace {

using enum ValueKind;

const std::vector<SettingKey> kKeys{
    {"report.title", kText, "", "\"Test report\"", "heading of the page"},
    {"report.number", kText, "", "\"R-2026-017\"", "your number for this report"},
    {"report.date", kText, "", "\"2026-03-14\"", "date of issue, YYYY-MM-DD"},
    {"report.decimal_separator", kChoice, ".|,", "\".\"",
     "of numbers on the page; with \",\" the CSV texts are separated by \";\""},
    {"report.remarks", kText, "", "\"Oil sample taken.\"", "free text"},
    {"report.deviations", kText, "", "\"none\"", "deviations from the method"},
    {"report.method", kText, "", "\"WI-12, turns ratio by voltage\"", "your method or procedure"},
    {"laboratory.name", kText, "", "\"Field service North\"", "who tested"},
    {"laboratory.place", kText, "", "\"Substation Westhill, bay 3\"", "where"},
    {"customer.name", kText, "", "\"Example Utility\"", "who ordered the test"},
    {"customer.address", kText, "", "\"1 Station Road\"", "of the customer"},
    {"customer.order", kText, "", "\"PO 4711\"", "the customer's reference"},
    {"people.operator", kText, "", "\"A. Operator\"", "who ran the tests"},
    {"people.authorised_by", kText, "", "\"B. Engineer\"", "who authorises the report"},
    {"item.description", kText, "", "\"Distribution transformer\"", "what was tested"},
    {"item.manufacturer", kText, "", "\"Example Works\"", "on the nameplate"},
    {"item.serial_number", kText, "", "\"T-500-11\"", "on the nameplate"},
    {"item.year", kText, "", "\"1998\"", "on the nameplate"},
    {"item.condition", kText, "", "\"in service, cleaned\"", "as found"},
    {"conditions.ambient_temperature", kNumber, "", "18.5", "degrees C"},
    {"conditions.winding_temperature", kNumber, "", "20", "degrees C, of the tested windings"},
    {"conditions.humidity", kPositive, "", "45", "percent"},
    {"conditions.correct_to", kNumber, "", "75",
     "degrees C; resistances are shown corrected to it from conditions.winding_temperature"},
    {"nameplate.high_voltage", kPositive, "", "11000", "V"},
    {"nameplate.low_voltage", kPositive, "", "433", "V"},
    {"nameplate.power", kPositive, "", "500", "kVA"},
    {"nameplate.frequency", kPositive, "", "50", "Hz"},
    {"nameplate.vector_group", kText, "", "\"Dyn11\"", ""},
    {"nameplate.impedance", kPositive, "", "4.5", "percent"},
    {"nameplate.load_losses", kPositive, "", "5500", "W"},
    {"nameplate.no_load_losses", kPositive, "", "1000", "W"},
    {"nameplate.conductor", kChoice, "copper|aluminium", "\"copper\"", "of the windings"},
    {"nameplate.accuracy_class", kText, "", "\"0.5\"", "of an instrument transformer"},
    {"nameplate.kind", kChoice, "power|current|voltage", "\"power\"",
     "power transformer, current transformer or voltage transformer"},
    {"nameplate.rated_voltage", kPositive, "", "100",
     "V at which a class holds: 100 % of the tested voltages"},
    {"nameplate.tap_ratios", kNumbers, "", "[44.0, 45.1]", "ratio of each tap, in order"},
    {"instrument.type", kText, "", "\"Transformer tester\"", ""},
    {"instrument.serial_number", kText, "", "\"12345\"", "if no tape states it"},
    {"instrument.calibration_date", kText, "", "\"2025-11-02\"", "YYYY-MM-DD"},
    {"instrument.calibration_months", kPositive, "", "12",
     "a calibration older than this at the date of the report is flagged"},
    {"uncertainty.k", kPositive, "", "2", "coverage factor"},
    {"uncertainty.ratio", kPositive, "", "0.03", "uB of a ratio error, standard, percent"},
    {"uncertainty.displacement", kPositive, "", "1", "uB of a displacement, standard, minutes"},
    {"uncertainty.resistance", kPositive, "", "0.1", "uB of a resistance, standard, percent"},
    {"uncertainty.impedance", kPositive, "", "0.3", "uB of an impedance, standard, percent"},
    {"uncertainty.losses", kPositive, "", "1", "uB of losses, standard, percent"},
    {"decision.rule", kChoice, "simple acceptance|guard band", "\"simple acceptance\"", ""},
    {"decision.guard_factor", kPositive, "", "1", "guard band as a multiple of U"},
    {"heat_run.times", kNumbers, "", "[60, 120, 180, 240]",
     "s after shut-down of each reading, if the record does not hold them"},
    {"heat_run.resistances", kNumbers, "", "[0.5622, 0.5498, 0.5391, 0.5298]",
     "ohm, to evaluate readings that are in no record"},
    {"heat_run.cold_resistance", kPositive, "", "0.4511", "ohm, of the first winding"},
    {"heat_run.cold_resistance_low", kPositive, "", "0.00071", "ohm, of the second winding"},
    {"heat_run.cold_temperature", kNumber, "", "20", "degrees C, of both"},
    {"heat_run.ambient_temperature", kNumber, "", "21", "degrees C, at the end of the heat run"},
    {"errors.percent_of_rated", kNumbers, "", "[120, 100, 20, 5]",
     "current or voltage of each comparison with a standard"},
    {"errors.ratio", kNumbers, "", "[-0.543, -0.600, -0.950, -1.434]",
     "percent, against the standard"},
    {"errors.displacement", kNumbers, "", "[15.5, 17.5, 25.8, 35.8]",
     "minutes, against the standard"},
    {"errors.standard_ratio", kNumbers, "", "[-0.134, -0.156, -0.205, -0.356]",
     "percent, of the standard itself"},
    {"errors.standard_displacement", kNumbers, "", "[3.7, 4.0, 6.0, 8.0]",
     "minutes, of the standard itself"},
    {"current_transformer.nominal_ratio", kPositive, "", "200", "primary over secondary"},
    {"current_transformer.turns_ratio", kPositive, "", "199.5", "if turns compensate"},
    {"current_transformer.secondary_current", kPositive, "", "5", "A"},
    {"current_transformer.exciting_current", kPositive, "", "1", "A, seen from the primary side"},
    {"current_transformer.power_factor", kNumber, "", "0.4", "of the exciting current, 0 to 1"},
    {"current_transformer.magnetizing_current", kPositive, "", "0.9165",
     "A, seen from the primary side, in place of the exciting current"},
    {"current_transformer.loss_current", kPositive, "", "0.4", "A, with the magnetizing current"},
    {"current_transformer.core_loss", kPositive, "", "0.01",
     "W, in place of the loss current; needs resistance and reactance"},
    {"current_transformer.resistance", kPositive, "", "1", "ohm, of burden and secondary winding"},
    {"current_transformer.reactance", kNumber, "", "0.5", "ohm, of the same"},
    {"core_losses.frequencies", kNumbers, "", "[40, 50, 60]", "Hz, of each reading"},
    {"core_losses.losses", kNumbers, "", "[52, 70, 90]", "W, of each reading"},
    {"core_losses.flux", kNumbers, "", "[1, 1, 1]", "of each reading, relative; 1 if left out"},
    {"core_losses.exponent", kPositive, "", "1.6", "of the flux in the loss by hysteresis"},
    {"load_losses.measured", kPositive, "", "4400", "W, at rated current"},
    {"load_losses.i2r", kPositive, "", "4000", "W, the currents squared by the resistances"},
    {"load_losses.temperature", kNumber, "", "20",
     "degrees C, of both; they are shown at conditions.correct_to as well"},
    {"readings.values", kNumbers, "", "[5.007, 4.994, 5.005]", "repeated readings to evaluate"},
    {"readings.unit", kText, "", "\"V\"", "of these readings"},
    {"readings.quantity", kText, "", "\"voltage\"", "what they are"},
    {"readings.uncertainty", kPositive, "", "0.002", "uB, standard, in the same unit"},
};

/// The limits are keys too, one for each row of their table.
std::vector<SettingKey> with_limits() {
  static const std::vector<std::string> kNames = [] {
    std::vector<std::string> names;
    for (const LimitRow& row : limit_rows()) {
      names.push_back("limits." + std::string(row.key));
    }
    return names;
  }();
  static const std::vector<std::string> kExamples = [] {
    std::vector<std::string> examples;
    for (const LimitRow& row : limit_rows()) {
      std::string text = std::to_string(row.value);
      examples.push_back(text.substr(0, text.find_last_not_of('0') + 1) +
                         (text.find_last_not_of('0') == text.find('.') ? "0" : ""));
    }
    return examples;
  }();
  std::vector<SettingKey> keys = kKeys;
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    keys.push_back({kNames[i], kPositive, "", kExamples[i], limit_rows()[i].quantity});
  }
  return keys;
}

}  // namespace

const std::vector<SettingKey>& setting_keys() {
  static const std::vector<SettingKey> keys = with_limits();
  return keys;
}

}  // namespace report
