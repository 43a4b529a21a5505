#include "report/drawing/scale.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "report/figures/numbers.h"

namespace report {
namespace {

constexpr int kMostTicks = 7;

/// The nearest number to the power, which std::pow of some systems misses.
double power_of_ten(double exponent) {
  const std::string text = "1e" + std::to_string(static_cast<int>(exponent));
  double power = 0;
  std::from_chars(text.data(), text.data() + text.size(), power);
  return power > 0 ? power : std::pow(10, exponent);  // too small for from_chars
}

std::string tick_text(double value) {
  // A sum of steps such as 0.1 carries rounding that no reader wants.
  const double rounded = std::abs(value) < 1e-300 ? 0 : value;
  if (rounded != 0 && (std::abs(rounded) < 1e-4 || std::abs(rounded) >= 1e6)) {
    std::string text = significant(rounded, 6);
    std::string short_text = shortest(rounded);
    return short_text.size() < text.size() ? short_text : text;
  }
  return shortest(rounded);
}

/// The C library's pow() differs in the last bit between systems. `exponent` is a whole number.
double power_of_ten(double exponent) {
  double power = 1;
  for (double step = 0; step < std::abs(exponent); ++step) {
    power *= 10;
  }
  return exponent < 0 ? 1 / power : power;
}

/// 1, 2 or 5 times a power of ten, so that at most kMostTicks fit.
double round_step(double span) {
  const double raw = span / (kMostTicks - 1);
  const double power = power_of_ten(std::floor(std::log10(raw)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (raw <= factor * power * (1 + 1e-9)) {
      return factor * power;
    }
  }
  return 10 * power;
}

/// `count` steps, rounded to the digits that the step has.
double multiple(double step, double count) {
  const double decimals = std::max(0.0, -std::floor(std::log10(step) + 1e-9));
  const double scale = power_of_ten(decimals);
  return decimals > 15 ? step * count : std::round(step * count * scale) / scale;
}

}  // namespace

Scale::Scale(const std::vector<double>& values, bool logarithmic, double begin, double end)
    : logarithmic_(logarithmic), begin_(begin), end_(end) {
  bool is_first = true;
  for (const double value : values) {
    if (!std::isfinite(value) || std::abs(value) > 1e300) {
      continue;
    }
    lowest_ = is_first ? value : std::min(lowest_, value);
    highest_ = is_first ? value : std::max(highest_, value);
    is_first = false;
  }
  logarithmic_ = logarithmic_ && lowest_ > 1e-300;
  if (logarithmic_) {
    lowest_ = power_of_ten(std::floor(std::log10(lowest_) + 1e-9));
    highest_ = power_of_ten(std::ceil(std::log10(highest_) - 1e-9));
    highest_ = std::max(highest_, lowest_ * 10);
    return;
  }
  const double size = std::max(std::abs(lowest_), std::abs(highest_));
  if (highest_ - lowest_ <= 1e-9 * size || highest_ == lowest_) {
    const double margin = size == 0 ? 1 : 0.1 * size;
    lowest_ -= margin;
    highest_ += margin;
  }
  const double step = round_step(highest_ - lowest_);
  lowest_ = multiple(step, std::floor(lowest_ / step + 1e-9));
  highest_ = multiple(step, std::ceil(highest_ / step - 1e-9));
}

double Scale::inner(double value) const { return logarithmic_ ? std::log10(value) : value; }

double Scale::at(double value) const {
  const double share = (inner(value) - inner(lowest_)) / (inner(highest_) - inner(lowest_));
  return begin_ + share * (end_ - begin_);
}

bool Scale::contains(double value) const {
  const double slack = 1e-9 * std::max(std::abs(lowest_), std::abs(highest_));
  return value >= lowest_ - slack && value <= highest_ + slack && (!logarithmic_ || value > 0);
}

std::vector<Tick> Scale::ticks() const {
  std::vector<Tick> ticks;
  if (logarithmic_) {
    const double decades = std::log10(highest_ / lowest_);
    const double step = std::ceil(decades / kMostTicks - 1e-9);
    for (int i = 0; i * step <= decades + 1e-9; ++i) {
      const double decade = i * step;
      const double value = power_of_ten(std::round(std::log10(lowest_) + decade));
      ticks.push_back({value, tick_text(value)});
      if (decades <= 2.1 && decade + 0.5 < decades) {
        for (const double factor : {2.0, 5.0}) {
          ticks.push_back({value * factor, tick_text(value * factor)});
        }
      }
    }
    return ticks;
  }
  const double step = round_step(highest_ - lowest_);
  const int count = static_cast<int>(std::lround((highest_ - lowest_) / step));
  for (int i = 0; i <= std::min(count, 2 * kMostTicks); ++i) {
    const double value = multiple(step, std::round(lowest_ / step) + i);
    ticks.push_back({value, tick_text(value)});
  }
  return ticks;
}

}  // namespace report
