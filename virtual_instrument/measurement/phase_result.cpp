#include "virtual_instrument/measurement/phase_result.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "virtual_instrument/vocabulary/text_field.h"

namespace virtual_instrument {
namespace {

std::string decimal(double value, int decimals) {
  std::array<char, 64> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value,
                                     std::chars_format::fixed, decimals)
                           .ptr};
}

std::string scientific(double value) {
  std::array<char, 64> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value,
                                     std::chars_format::scientific, 6)
                           .ptr};
}

}  // namespace

double phase_deviation(double shift, std::optional<double> user_shift) {
  constexpr double kHour = std::numbers::pi / 6;
  return fold_angle(shift - user_shift.value_or(kHour * std::round(shift / kHour)));
}

double error_percent(double value, double reference) {
  return reference == 0 ? 0 : (value / reference - 1) * 100;
}

kvr_TestData_Ratio_Phase phase_result(const SampledTest& test, const PhaseNames& names,
                                      const RatioRules& rules) {
  const auto phasor = [&test](const Samples& samples) {
    return fundamental(samples, test.samples_per_period);
  };
  const Complex high = phasor(test.voltage[Side::high]);
  const Complex low = phasor(test.voltage[Side::low]);
  const Samples& source = test.voltage[test.excited];
  const Samples& current = test.current[test.excited];
  const double rms_high = rms(test.voltage[Side::high]);
  const double rms_low = rms(test.voltage[Side::low]);
  const double shift = fold_angle(angle(high) - angle(low));
  const double turns = rules.turns_per_voltage_ratio;
  const auto ratio = [&rules](double of_high, double of_low) {
    return rules.low_to_high ? of_low / of_high : of_high / of_low;
  };

  kvr_TestData_Ratio_Phase result{};
  result.status = KVR_RES_OK;
  fill_field(result.phase_name, names.phase);
  fill_field(result.high_side_phase, names.high);
  fill_field(result.low_side_phase, names.low);
  fill_field(result.tvr_name, names.phase);
  fill_field(result.tvr_high, names.high);
  fill_field(result.tvr_low, names.low);
  result.voltage_h = static_cast<float>(magnitude(high));
  result.voltage_x = static_cast<float>(magnitude(low));
  result.tvr = ratio(magnitude(high), magnitude(low));
  result.tnr = result.tvr * turns;
  result.tnr_error = error_percent(result.tnr, rules.reference * turns);
  result.true_ratio = ratio(rms_high, rms_low) * turns;
  result.true_ratio_error = error_percent(result.true_ratio, rules.reference * turns);
  result.frequency = static_cast<float>(measured_frequency(source, test.sample_rate));
  result.phase_high = static_cast<float>(angle(high));
  result.phase_low = static_cast<float>(angle(low));
  result.phase_shift_absolute = static_cast<float>(shift);
  result.phase_deviation_from_user_phasing =
      static_cast<float>(phase_deviation(shift, rules.user_shift));
  result.efi = static_cast<float>(
      fold_angle(angle(phasor(source)) - rules.voltage_lead - angle(phasor(current))));
  result.voltage_rms = static_cast<float>(rms(source));
  result.current_rms = static_cast<float>(rms(current));
  result.vol_rms_high = static_cast<float>(rms_high);
  result.vol_rms_low = static_cast<float>(rms_low);
  result.curr_h = static_cast<float>(magnitude(phasor(test.current[Side::high])));
  result.curr_x = static_cast<float>(magnitude(phasor(test.current[Side::low])));
  result.induced_voltage = static_cast<float>(rms(test.voltage[other_side(test.excited)]));
  return result;
}

std::string raw_text(const SampledTest& test, const PhaseNames& names) {
  std::string text = "# RAW samples of phase " + std::string(names.phase) + ": " +
                     std::string(names.high) + " and " + std::string(names.low) + ", excited " +
                     std::string(test.excited == Side::high ? names.high : names.low) + "\n" +
                     "# " + decimal(test.sample_rate, 0) + " samples per second, " +
                     std::to_string(test.voltage[Side::high].size()) + " samples\n" +
                     "Time s;Voltage H V;Voltage X V;Current H A;Current X A\n";
  for (std::size_t number = 0; number < test.voltage[Side::high].size(); ++number) {
    text += decimal(static_cast<double>(number + 1) / test.sample_rate, 8);
    for (const Samples* channel : {&test.voltage[Side::high], &test.voltage[Side::low],
                                   &test.current[Side::high], &test.current[Side::low]}) {
      text += ";" + scientific((*channel)[number]);
    }
    text += "\n";
  }
  return text;
}

}  // namespace virtual_instrument
