#include "virtual_instrument/measurement/three_phase_ratio.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <numbers>
#include <stdexcept>
#include <vector>

#include "virtual_instrument/measurement/leads.h"
#include "virtual_instrument/measurement/phase_result.h"
#include "virtual_instrument/measurement/ratio_setup.h"
#include "virtual_instrument/measurement/unit_waveforms.h"
#include "virtual_instrument/model/equivalent_circuit.h"
#include "virtual_instrument/model/sequence.h"
#include "virtual_instrument/vocabulary/text_field.h"

namespace virtual_instrument {
namespace {

constexpr std::array<const char*, 3> kPhaseNames{"A", "B", "C"};

std::size_t index(int number) { return static_cast<std::size_t>(number); }

Side side_name(int side) { return side == kHighSide ? Side::high : Side::low; }

/// The pair of lines that carries the name of a phase.
TerminalPair line_pair(int phase) { return terminal_pairs(KVR_WINDING_D)[index(phase)]; }

/// What one phase gave.
struct PhaseReading {
  kvr_code code = KVR_RES_NOT_TESTED;
  SampledTest pair;        ///< the voltages that the turns ratio is made of
  PhaseConnection wiring;  ///< where they were taken
  double turns_per_voltage_ratio = 1;
  double voltage_lead = 0;  ///< rad, of the excited pair before the line of the measured current
  Complex high;             ///< V r.m.s., the line against the neutral
  Complex low;
  double line_ratio = 0;  ///< of line voltages; 0: not measured, follows from the turns ratio
};

struct Attempt {
  kvr_code code;
  kvr_TestData_Ratio_3ph data;
  std::string raw_data;
  std::array<double, 3> residual_flux;
  double least_low_voltage;  ///< V r.m.s.
  double voltage_ratio;      ///< greatest of the phases
  int clock;                 ///< as it was found
};

class ThreePhaseRatioTest {
 public:
  ThreePhaseRatioTest(const TransformerUnit& unit, const kvr_Ratio3phRequest& request,
                      const Bench& bench, Noise& noise)
      : unit_(unit),
        request_(request),
        bench_(bench),
        noise_(noise),
        excited_(request.test_type == KVR_TEST_RATIO_UP ? kLowSide : kHighSide),
        frequency_(request.setup.line_frequency),
        group_{request.setup.windings[0].winding_type, request.setup.windings[1].winding_type, 0},
        network_(unit_network(unit, kInputResistance)),
        peaks_{} {}

  /// `clock` spares finding it.
  Attempt run(std::optional<int> clock = std::nullopt) {
    clock_is_known_ = clock.has_value();
    group_.clock = clock.value_or(0);
    request_.testing_mode = settled_mode();
    if (request_.testing_mode == KVR_TESTING_MODE_3PH_1_1) {
      one_by_one();
    } else {
      all_at_once();
    }
    return result();
  }

 private:
  bool is_tested(int phase) const {
    return request_.tested_phase == kAllPhases || request_.tested_phase == phase;
  }

  kvr_WindingType type(int side) const { return side == kHighSide ? group_.high : group_.low; }

  /// An automatic test of all phases uses the three-phase source, one of one phase does not.
  kvr_TestingMode settled_mode() const {
    if (request_.testing_mode != KVR_TESTING_MODE_3PH_AUTO) {
      return request_.testing_mode;
    }
    return request_.tested_phase == kAllPhases ? KVR_TESTING_MODE_3PH_3_3
                                               : KVR_TESTING_MODE_3PH_1_1;
  }

  PeriodicState solve(const Network& network, const std::vector<VoltageSource>& sources) {
    PeriodicState state = solve_network(network, sources, frequency_);
    for (std::size_t limb = 0; limb < 3; ++limb) {
      peaks_[limb] = std::max(peaks_[limb], state.peak_flux[limb]);
    }
    blind_open_leads(unit_, state);
    return state;
  }

  void refuse(kvr_code code) {
    for (int phase = 0; phase < 3; ++phase) {
      if (is_tested(phase)) {
        readings_[index(phase)].code = code;
      }
    }
  }

  // ---- one source, phase by phase

  void one_by_one() {
    if (!clock_is_known_) {
      find_clock_with_one_source();
    }
    if (detection_ != KVR_RES_OK) {
      refuse(detection_);
      return;
    }
    const std::vector<PhaseConnection> wirings = phase_connections(group_);
    for (int phase = 0; phase < 3; ++phase) {
      if (is_tested(phase)) {
        read_alone(phase, wirings[index(phase)]);
      }
    }
  }

  void read_alone(int phase, const PhaseConnection& wiring) {
    PhaseReading& reading = readings_[index(phase)];
    reading.wiring = wiring;
    reading.turns_per_voltage_ratio = 1 / wiring.ratio;
    reading.code = lead_code(unit_, kHighSide, wiring.high);
    if (reading.code == KVR_RES_OK) {
      reading.code = lead_code(unit_, kLowSide, wiring.low);
    }
    Network network = network_;
    if (wiring.shorted) {
      if (reading.code == KVR_RES_OK) {
        reading.code = lead_code(unit_, wiring.shorted_side, *wiring.shorted);
      }
      network.branches.push_back(jumper(wiring.shorted_side, *wiring.shorted));
    }
    if (reading.code != KVR_RES_OK) {
      return;
    }
    const TerminalPair excited = excited_ == kHighSide ? wiring.high : wiring.low;
    const std::vector<VoltageSource> sources =
        pair_sources(excited_, excited, request_.test_voltage);
    const PeriodicState state = solve(network, sources);
    const auto current =
        terminal_waveform(terminal_current(state, sources, excited_, excited.plus));
    const std::vector<double> none(current.size());
    reading.pair =
        sample({terminal_waveform(terminal_voltage(state, kHighSide, wiring.high)),
                terminal_waveform(terminal_voltage(state, kLowSide, wiring.low)),
                excited_ == kHighSide ? current : none, excited_ == kLowSide ? current : none},
               side_name(excited_), frequency_, bench_.measurement, noise_);
    // The lines as they would lie on a three-phase source.
    reading.high = magnitude(phasor(reading.pair.voltage_high)) * phasor_at(-phase / 3.0);
    reading.low = low_line(reading, wiring.ratio);
    limit(reading);
  }

  /// Excites one phase and looks which clock explains best what the lines of the low side show.
  /// Where a faulty limb blurs that, the other phases have their say too.
  void find_clock_with_one_source() {
    const std::vector<TerminalPair> pairs = terminal_pairs(group_.high);
    const std::size_t first = pairs.size() - 3;
    std::array<double, 12> likeness{};
    double best = 0;
    for (std::size_t phase = 0; phase < 3; ++phase) {
      const TerminalPair pair = pairs[first + phase];
      detection_ = detection_code(pair);
      if (detection_ != KVR_RES_OK) {
        // Phases that don't need the open lead can still be measured, if the clock is known.
        assume_entered_clock(detection_);
        return;
      }
      add_likeness(pair, likeness);
      const auto likeliest = std::max_element(likeness.begin(), likeness.end());
      group_.clock = static_cast<int>(likeliest - likeness.begin());
      best = *likeliest / static_cast<double>(phase + 1);
      constexpr double kClear = 0.95;
      if (best > kClear) {
        return;
      }
    }
    constexpr double kLikeEnough = 0.85;
    if (best < kLikeEnough) {
      assume_entered_clock(KVR_RES_CANNOT_DETECT_PHASING);
    }
  }

  /// Whether all leads that finding the clock takes make contact.
  kvr_code detection_code(TerminalPair pair) const {
    kvr_code code = lead_code(unit_, kHighSide, pair);
    for (int line = 1; line <= 3 && code == KVR_RES_OK; ++line) {
      code = lead_code(unit_, kLowSide, line);
    }
    return code;
  }

  /// Adds, clock by clock, how well it explains what shows while `pair` is excited.
  void add_likeness(TerminalPair pair, std::array<double, 12>& likeness) {
    const std::vector<VoltageSource> sources = pair_sources(kHighSide, pair, request_.test_voltage);
    const PeriodicState state = solve(network_, sources);
    std::array<double, 3> shown{};
    for (int line = 1; line <= 3; ++line) {
      shown[index(line - 1)] = line_voltage_to_mean(state, kLowSide, line)[1].real();
    }
    for (int clock = 0; clock < 12; ++clock) {
      const WindingGroup candidate{group_.high, group_.low, clock};
      if (exists(candidate)) {
        likeness[index(clock)] += cosine(shown, expected_lines(candidate, pair));
      }
    }
  }

  /// The lines of the low side if the flux of the excited limbs returns evenly through the others.
  static std::array<double, 3> expected_lines(const WindingGroup& candidate, TerminalPair pair) {
    const auto windings = phase_windings(candidate);
    const std::array<double, 3> turns = turns_between(windings[kHighSide], pair).value();
    const double mean = (turns[0] + turns[1] + turns[2]) / 3;
    const auto lines =
        line_phasors(windings[kLowSide], {turns[0] - mean, turns[1] - mean, turns[2] - mean});
    return {lines[0].real(), lines[1].real(), lines[2].real()};
  }

  static double cosine(const std::array<double, 3>& a, const std::array<double, 3>& b) {
    double product = 0;
    double square_a = 0;
    double square_b = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      product += a[i] * b[i];
      square_a += a[i] * a[i];
      square_b += b[i] * b[i];
    }
    return square_a * square_b == 0 ? 0 : product / std::sqrt(square_a * square_b);
  }

  void assume_entered_clock(kvr_code otherwise) {
    const int clock = request_.setup.connections[0].clock;
    const WindingGroup entered{group_.high, group_.low, clock};
    detection_ = exists(entered) ? KVR_RES_OK : otherwise;
    group_.clock = exists(entered) ? clock : 0;
  }

  // ---- a three-phase source

  void all_at_once() {
    for (int line = 1; line <= 3; ++line) {
      const kvr_code code = lead_code(unit_, excited_, line);
      if (code != KVR_RES_OK) {
        refuse(code);
        return;
      }
    }
    if (has_neutral(type(excited_)) && lead_code(unit_, excited_, 0) != KVR_RES_OK) {
      refuse(lead_code(unit_, excited_, 0));
      return;
    }
    const std::vector<VoltageSource> sources = three_phase_sources();
    const PeriodicState state = solve(network_, sources);
    std::array<SampledTest, 3> lines = sample_lines(state, sources);
    find_clock(lines);
    if (detection_ != KVR_RES_OK) {
      refuse(detection_);
      return;
    }
    const std::vector<PhaseConnection> wirings = phase_connections(group_);
    for (int phase = 0; phase < 3; ++phase) {
      if (!is_tested(phase)) {
        continue;
      }
      if (request_.testing_mode == KVR_TESTING_MODE_3PH_3_1 && phase > 0) {
        lines = sample_lines(state, sources);
      }
      read_lines(phase, wirings[index(phase)], lines);
    }
  }

  /// The test voltage lies on the pair of the excited side that phase A is tested by.
  std::vector<VoltageSource> three_phase_sources() const {
    const WindingGroup any = first_group();
    const PhaseConnection wiring = phase_connections(any).front();
    const TerminalPair pair = excited_ == kHighSide ? wiring.high : wiring.low;
    const bool to_neutral = pair.plus == 0 || pair.minus == 0;
    std::vector<VoltageSource> sources = balanced_sources(
        unit_, excited_, request_.test_voltage * (to_neutral ? std::numbers::sqrt3 : 1));
    if (has_neutral(type(excited_))) {
      sources.push_back({terminal_node(excited_, 0), 0});
    }
    return sources;
  }

  WindingGroup first_group() const {
    const WindingGroup even{group_.high, group_.low, 0};
    return exists(even) ? even : WindingGroup{group_.high, group_.low, 1};
  }

  /// A side's line against its neutral, or against the middle of the lines where there is none.
  Spectrum line_voltage(const PeriodicState& state, int side, int line) const {
    return has_neutral(type(side)) && lead_connected(unit_, side, 0)
               ? terminal_voltage(state, side, {line, 0})
               : line_voltage_to_mean(state, side, line);
  }

  std::array<SampledTest, 3> sample_lines(const PeriodicState& state,
                                          const std::vector<VoltageSource>& sources) {
    std::array<SampledTest, 3> lines;
    for (int line = 1; line <= 3; ++line) {
      lines[index(line - 1)] =
          sample({terminal_waveform(line_voltage(state, kHighSide, line)),
                  terminal_waveform(line_voltage(state, kLowSide, line)),
                  terminal_waveform(terminal_current(state, sources, kHighSide, line)),
                  terminal_waveform(terminal_current(state, sources, kLowSide, line))},
                 side_name(excited_), frequency_, bench_.measurement, noise_);
    }
    return lines;
  }

  Complex phasor(const Samples& samples) const {
    return fundamental(samples, bench_.measurement.samples_per_period);
  }

  std::array<Complex, 3> phasors(const std::array<SampledTest, 3>& lines,
                                 Samples SampledTest::*channel) const {
    return {phasor(lines[0].*channel), phasor(lines[1].*channel), phasor(lines[2].*channel)};
  }

  void find_clock(const std::array<SampledTest, 3>& lines) {
    const Complex high = sequence_components(phasors(lines, &SampledTest::voltage_high)).positive;
    const Complex low = sequence_components(phasors(lines, &SampledTest::voltage_low)).positive;
    const double hours = degrees(angle(high * std::conj(low))) / 30;
    const int parity = first_group().clock;
    const int clock = parity + 2 * static_cast<int>(std::lround((hours - parity) / 2));
    group_.clock = (clock + 12) % 12;
    constexpr double kSmallestShare = 1e-6;
    detection_ = magnitude(low) > kSmallestShare * magnitude(high) &&
                         magnitude(high) > kSmallestShare * magnitude(low)
                     ? KVR_RES_OK
                     : KVR_RES_CANNOT_DETECT_PHASING;
  }

  static Samples pair_samples(const std::array<SampledTest, 3>& lines,
                              Samples SampledTest::*channel, TerminalPair pair) {
    Samples samples(lines.front().voltage_high.size());
    for (std::size_t number = 0; number < samples.size(); ++number) {
      samples[number] += pair.plus == 0 ? 0 : (lines[index(pair.plus - 1)].*channel)[number];
      samples[number] -= pair.minus == 0 ? 0 : (lines[index(pair.minus - 1)].*channel)[number];
    }
    return samples;
  }

  /// What the lead of a pair's first terminal delivers; of its second one, turned round, where the
  /// first is the neutral.
  static Samples pair_current(const std::array<SampledTest, 3>& lines,
                              Samples SampledTest::*channel, TerminalPair pair) {
    return pair_samples(lines, channel,
                        pair.plus == 0 ? TerminalPair{0, pair.minus} : TerminalPair{pair.plus, 0});
  }

  void read_lines(int phase, const PhaseConnection& wiring,
                  const std::array<SampledTest, 3>& lines) {
    PhaseReading& reading = readings_[index(phase)];
    reading.wiring = wiring;
    const int measured = 1 - excited_;
    reading.code = lead_code(unit_, measured, measured == kHighSide ? wiring.high : wiring.low);
    if (reading.code != KVR_RES_OK) {
      return;
    }
    reading.pair = lines.front();
    reading.pair.voltage_high = pair_samples(lines, &SampledTest::voltage_high, wiring.high);
    reading.pair.voltage_low = pair_samples(lines, &SampledTest::voltage_low, wiring.low);
    reading.pair.current_high = pair_current(lines, &SampledTest::current_high, wiring.high);
    reading.pair.current_low = pair_current(lines, &SampledTest::current_low, wiring.low);
    const Complex ratio = balanced_ratio(wiring);
    reading.turns_per_voltage_ratio = 1 / magnitude(ratio);
    reading.voltage_lead = lead_of(excited_ == kHighSide ? wiring.high : wiring.low);
    reading.high = phasor(lines[index(phase)].voltage_high);
    reading.low = phasor(lines[index(phase)].voltage_low);
    if (all_lines_connected()) {
      reading.line_ratio =
          magnitude(phasor(pair_samples(lines, &SampledTest::voltage_high, line_pair(phase)))) /
          magnitude(phasor(pair_samples(lines, &SampledTest::voltage_low, line_pair(phase))));
    } else if (excited_ == kHighSide) {
      reading.low = low_line(reading, ratio);
    } else {
      reading.high = reading.low * quotient(reading.high, low_line(reading, ratio));
    }
    limit(reading);
  }

  bool all_lines_connected() const {
    for (const int side : {kHighSide, kLowSide}) {
      for (int line = 1; line <= 3; ++line) {
        if (!lead_connected(unit_, side, line)) {
          return false;
        }
      }
    }
    return true;
  }

  /// The low side's line that belongs to reading.high, from the pair's voltages and what their
  /// ratio would be for limb windings of equal turns.
  Complex low_line(const PhaseReading& reading, Complex pair_ratio) const {
    const Complex turns =
        quotient(phasor(reading.pair.voltage_low) * pair_ratio, phasor(reading.pair.voltage_high));
    return reading.high * turns * turns_factor(group_) * phasor_at(-group_.clock / 12.0);
  }

  /// Voltage ratio of a wiring's pairs for limb windings of equal turns on a balanced source.
  Complex balanced_ratio(const PhaseConnection& wiring) const {
    const auto windings = phase_windings(group_);
    const auto induced = [](const std::array<double, 3>& turns) {
      return turns[0] + turns[1] * phasor_at(-1.0 / 3) + turns[2] * phasor_at(1.0 / 3);
    };
    return quotient(induced(turns_between(windings[kHighSide], wiring.high).value()),
                    induced(turns_between(windings[kLowSide], wiring.low).value()));
  }

  /// By how much the voltage of a pair leads that of its first line against the neutral.
  static double lead_of(TerminalPair pair) {
    if (pair.plus == 0 || pair.minus == 0) {
      return 0;
    }
    return pair.minus % 3 + 1 == pair.plus ? -std::numbers::pi / 6 : std::numbers::pi / 6;
  }

  // ---- the result

  /// What the instrument's protection makes of a reading.
  void limit(PhaseReading& reading) const {
    if (excited_ == kLowSide) {
      const double ratio = rms(reading.pair.voltage_high) / rms(reading.pair.voltage_low);
      if (ratio > kHighestStepUpRatio) {
        reading.code = KVR_STEPUP_RATIO_TOO_HIGH;
        return;
      }
    }
    reading.code = check_limits(reading.pair, reading.voltage_lead, bench_.instrument);
  }

  Attempt result() const {
    Attempt attempt{KVR_RES_OK,  repeat_request<kvr_TestData_Ratio_3ph>(request_), {}, {}, 0, 0,
                    group_.clock};
    attempt.residual_flux = residual_flux_after(unit_.core, peaks_);
    kvr_TestData_Ratio_3ph& data = attempt.data;
    data.tvr_multiplier = turns_factor(first_group());
    data.reference_ratio = nameplate_ratio(request_.setup);
    int good = 0;
    kvr_code failure = KVR_RES_OK;
    for (int phase = 0; phase < 3; ++phase) {
      const PhaseReading& reading = readings_[index(phase)];
      if (reading.code == KVR_RES_OK) {
        fill_phase(data, phase, reading);
        ++good;
        const double low = rms(reading.pair.voltage_low);
        attempt.least_low_voltage = good == 1 ? low : std::min(attempt.least_low_voltage, low);
        attempt.voltage_ratio =
            std::max(attempt.voltage_ratio, rms(reading.pair.voltage_high) / low);
        if (request_.setup.raw_data_requested != 0) {
          attempt.raw_data += raw_text(reading.pair, names(data.phases[phase]));
        }
      } else {
        data.phases[phase].status = reading.code;
        failure =
            reading.code == KVR_RES_NOT_TESTED || failure != KVR_RES_OK ? failure : reading.code;
      }
    }
    if (good == 3) {
      fill_summary(data);
    } else if (failure != KVR_RES_OK) {
      data.health_state = KVR_HEALTH_BAD;
      attempt.code = good > 0 ? KVR_RES_PARTIAL_RESULT_CHECK_STATUS : failure;
    }
    return attempt;
  }

  static PhaseNames names(const kvr_TestData_Ratio_Phase& phase) {
    return {phase.phase_name, phase.high_side_phase, phase.low_side_phase};
  }

  void fill_phase(kvr_TestData_Ratio_3ph& data, int phase, const PhaseReading& reading) const {
    const std::string high = pair_name(kHighSide, reading.wiring.high);
    const std::string low = pair_name(kLowSide, reading.wiring.low);
    const std::optional<double> entered = entered_phase_shift(request_.setup);
    const double reference = data.reference_ratio * data.tvr_multiplier;
    // phase_result() compares the ratio of the pair's voltages with one of the same pair.
    const RatioRules rules{false, reading.turns_per_voltage_ratio,
                           reference / reading.turns_per_voltage_ratio, entered,
                           reading.voltage_lead};
    kvr_TestData_Ratio_Phase& result = data.phases[phase];
    result = phase_result(reading.pair, {kPhaseNames[index(phase)], high, low}, rules);
    result.tvr = reading.line_ratio > 0 ? reading.line_ratio : result.tnr / data.tvr_multiplier;
    fill_name(result.tvr_high, pair_name(kHighSide, line_pair(phase)));
    fill_name(result.tvr_low, pair_name(kLowSide, line_pair(phase)));
    const double shift = fold_angle(angle(reading.high * std::conj(reading.low)));
    result.phase_high = static_cast<float>(angle(reading.high));
    result.phase_low = static_cast<float>(angle(reading.low));
    result.phase_shift_absolute = static_cast<float>(shift);
    result.phase_deviation_from_user_phasing = static_cast<float>(phase_deviation(shift, entered));
  }

  template <std::size_t size>
  static void fill_name(char (&field)[size], const std::string& name) {
    std::memset(field, 0, size);
    fill_field(field, name);
  }

  /// What all three phases tell together. Distortion is what the unit adds: a component of the low
  /// side against its positive sequence, less what the source's own brings there.
  void fill_summary(kvr_TestData_Ratio_3ph& data) const {
    const SequenceComponents high =
        sequence_components({readings_[0].high, readings_[1].high, readings_[2].high});
    const SequenceComponents low =
        sequence_components({readings_[0].low, readings_[1].low, readings_[2].low});
    const Complex shift =
        quotient(high.positive, low.positive) / magnitude(quotient(high.positive, low.positive));
    // A vector group turns the negative sequence the other way round than the positive one.
    const Complex negative = quotient(low.negative, low.positive) -
                             quotient(high.negative, high.positive) * shift * shift;
    const Complex zero = quotient(low.zero, low.positive);

    fill(data.positive_seq_hi, data.positive_phase_hi, high.positive);
    fill(data.negative_seq_hi, data.negative_phase_hi, high.negative);
    fill(data.zero_seq_hi, data.zero_phase_hi, high.zero);
    fill(data.positive_seq_lo, data.positive_phase_lo, low.positive);
    fill(data.negative_seq_lo, data.negative_phase_lo, low.negative);
    fill(data.zero_seq_lo, data.zero_phase_lo, low.zero);
    fill(data.negative_distortion_index, data.negative_distortion_phase, negative);
    fill(data.zero_distortion_index, data.zero_distortion_phase, zero);
    data.ratio_3ph = magnitude(high.positive) / magnitude(low.positive) * data.tvr_multiplier;
    data.ratio_3ph_error =
        error_percent(data.ratio_3ph, data.reference_ratio * data.tvr_multiplier);
    data.phase_3ph = static_cast<float>(angle(shift));
    data.health_state = health(data);
  }

  static void fill(float& size, float& phase, Complex value) {
    size = static_cast<float>(magnitude(value));
    phase = static_cast<float>(angle(value));
  }

  /// From the worst of all figures, each as a fraction or in radians.
  static kvr_HealthState health(const kvr_TestData_Ratio_3ph& data) {
    double worst = std::max<double>(data.negative_distortion_index, data.zero_distortion_index);
    worst = std::max(worst, std::abs(data.ratio_3ph_error) / 100);
    for (const kvr_TestData_Ratio_Phase& phase : data.phases) {
      worst = std::max(worst, std::abs(phase.tnr_error) / 100);
      worst = std::max<double>(worst, std::abs(phase.phase_deviation_from_user_phasing));
    }
    struct Grade {
      double below;
      kvr_HealthState state;
    };
    constexpr Grade kGrades[] = {
        {0.001, KVR_HEALTH_EXCELLENT}, {0.005, KVR_HEALTH_GOOD}, {0.02, KVR_HEALTH_MODERATE}};
    for (const Grade& grade : kGrades) {
      if (worst < grade.below) {
        return grade.state;
      }
    }
    return KVR_HEALTH_BAD;
  }

  const TransformerUnit& unit_;
  kvr_Ratio3phRequest request_;
  const Bench& bench_;
  Noise& noise_;
  const int excited_;
  const double frequency_;
  WindingGroup group_;  ///< the windings as they were entered, the clock as it was found
  bool clock_is_known_ = false;
  kvr_code detection_ = KVR_RES_OK;
  const Network network_;
  std::array<PhaseReading, 3> readings_;
  std::array<double, 3> peaks_;
};

bool is_direction(kvr_TestType type) {
  return type == KVR_TEST_RATIO_DOWN || type == KVR_TEST_RATIO_UP;
}

/// The voltage at which an automatic test steps up: the one asked for, or as much less as the high
/// side needs to stay within what the instrument can take.
double step_up_voltage(const Attempt& down, const kvr_Ratio3phRequest& request,
                       const InstrumentSettings& limits) {
  constexpr double kMargin = 0.9;
  return std::min<double>(request.test_voltage,
                          kMargin * limits.maximum_induced_voltage / down.voltage_ratio);
}

ThreePhaseRatio outcome(const Attempt& attempt) {
  return {attempt.code, attempt.data,     std::nullopt,
          std::nullopt, attempt.raw_data, attempt.residual_flux};
}

bool has_result(kvr_code code) {
  return code == KVR_RES_OK || code == KVR_RES_PARTIAL_RESULT_CHECK_STATUS;
}

/// Both directions; the one that steps down counts unless it leaves too little to measure.
ThreePhaseRatio measure_both(TransformerUnit unit, const kvr_Ratio3phRequest& request,
                             const Bench& bench, Noise& noise) {
  kvr_Ratio3phRequest directed = request;
  directed.test_type = KVR_TEST_RATIO_DOWN;
  const Attempt down = ThreePhaseRatioTest(unit, directed, bench, noise).run();
  ThreePhaseRatio result = outcome(down);
  if (!has_result(down.code)) {
    return result;
  }
  result.step_down = down.data;
  const double voltage = step_up_voltage(down, request, bench.instrument);
  if (down.voltage_ratio > kHighestStepUpRatio || voltage < bench.instrument.minimum_voltage) {
    return result;
  }
  unit.core.residual_flux = down.residual_flux;
  directed.test_type = KVR_TEST_RATIO_UP;
  directed.test_voltage = static_cast<float>(voltage);
  const Attempt up = ThreePhaseRatioTest(unit, directed, bench, noise).run(down.clock);
  result.residual_flux = up.residual_flux;
  if (!has_result(up.code)) {
    return result;
  }
  result.step_up = up.data;
  if (down.least_low_voltage < bench.measurement.smallest_voltage) {
    result.code = up.code;
    result.data = up.data;
  }
  result.raw_data += up.raw_data;
  return result;
}

}  // namespace

kvr_code check_three_phase_ratio(const kvr_Ratio3phRequest& request, const Bench& bench) {
  if (!is_direction(request.test_type) && request.test_type != KVR_TEST_RATIO_AUTO) {
    return KVR_RES_TESTING_METHOD_NOT_SUPPORTED;
  }
  if (request.testing_mode < KVR_TESTING_MODE_3PH_3_3 ||
      request.testing_mode > KVR_TESTING_MODE_3PH_AUTO ||
      (request.tested_phase != kAllPhases &&
       (request.tested_phase < 0 || request.tested_phase > 2))) {
    return KVR_RES_INCORRECT_PARAMETERS;
  }
  const kvr_code code = check_setup(request.setup, request.test_voltage, bench);
  if (code != KVR_RES_OK) {
    return code;
  }
  const kvr_TestSetup& setup = request.setup;
  WindingGroup group{setup.windings[0].winding_type, setup.windings[1].winding_type, 0};
  if (!is_three_phase(group.high) || !is_three_phase(group.low)) {
    return KVR_RES_VECTOR_GROUP_INCORRECT;
  }
  // An angle comes with a clock of 0, whatever the windings are.
  group.clock = setup.connections[0].clock;
  const bool by_clock = group.clock != kClockUnknown && setup.windings[1].phase_shift == 0;
  return by_clock && group.clock != 0 && !exists(group) ? KVR_RES_PHASING_INCORRECT : KVR_RES_OK;
}

ThreePhaseRatio measure_three_phase_ratio(const TransformerUnit& unit,
                                          const kvr_Ratio3phRequest& request, const Bench& bench,
                                          std::uint64_t seed) {
  Noise noise(seed);
  try {
    return request.test_type == KVR_TEST_RATIO_AUTO
               ? measure_both(unit, request, bench, noise)
               : outcome(ThreePhaseRatioTest(unit, request, bench, noise).run());
  } catch (const std::runtime_error&) {
    // No steady state: the source would hunt for a voltage until it gave up.
    return {KVR_RES_NO_EXCITATION, {}, std::nullopt, std::nullopt, {}, unit.core.residual_flux};
  }
}

}  // namespace virtual_instrument
