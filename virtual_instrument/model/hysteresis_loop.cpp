#include "virtual_instrument/model/hysteresis_loop.h"

#include <algorithm>
#include <limits>

namespace virtual_instrument {
namespace {

/// Each band of reaches is narrower by this factor than the one before.
constexpr double kNarrowing = 0.75;

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

/// The elements with the values of each kind together, for loops over them.
struct Springs {
  std::array<double, kStopElements> slope;
  std::array<double, kStopElements> limit;

  explicit Springs(const StopElements& elements) : slope{}, limit{} {
    for (std::size_t number = 0; number < kStopElements; ++number) {
      slope[number] = elements[number].force / elements[number].reach;
      limit[number] = elements[number].force;
    }
  }

  void move(StopState& state, double change) const {
    for (std::size_t number = 0; number < kStopElements; ++number) {
      const double force = state[number] + slope[number] * change;
      state[number] = std::min(std::max(force, -limit[number]), limit[number]);
    }
  }
};

std::size_t highest_step(std::span<const double> flux) {
  return static_cast<std::size_t>(std::max_element(flux.begin(), flux.end()) - flux.begin());
}

std::size_t lowest_step(std::span<const double> flux) {
  return static_cast<std::size_t>(std::min_element(flux.begin(), flux.end()) - flux.begin());
}

/// The steps whose fluxes bring the elements into the state of the period's highest step.
std::array<std::size_t, 3> approach(std::span<const double> flux) {
  const std::size_t highest = highest_step(flux);
  return {highest, lowest_step(flux), highest};
}

}  // namespace

StopElements stop_elements(const HysteresisLoop& loop) {
  StopElements elements{};
  double end = 1;
  for (StopElement& element : elements) {
    const double begin = end * kNarrowing;
    element.force = loop.strength * (end - begin);
    element.reach = loop.reach * (end + begin) / 2;
    end = begin;
  }
  elements.back().force += loop.strength * end;
  return elements;
}

void move(const StopElements& elements, StopState& state, double change) {
  Springs(elements).move(state, change);
}

double total_force(const StopState& state) {
  std::array<double, 4> sums{};
  for (std::size_t number = 0; number < kStopElements; number += sums.size()) {
    for (std::size_t part = 0; part < sums.size(); ++part) {
      sums[part] += state[number + part];
    }
  }
  return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

double loop_area(const StopElements& elements, double amplitude) {
  double area = 0;
  for (const StopElement& element : elements) {
    area += 4 * element.force * std::max(0.0, amplitude - element.reach);
  }
  return area;
}

double held_force(const StopElements& elements, double amplitude) {
  double sum = 0;
  for (const StopElement& element : elements) {
    sum += element.force * std::max(0.0, 1 - amplitude / element.reach);
  }
  return sum;
}

StopState held_state(const StopElements& elements, double amplitude, double direction) {
  StopState state{};
  for (std::size_t number = 0; number < kStopElements; ++number) {
    const StopElement& element = elements[number];
    state[number] = -direction * element.force * std::max(0.0, 1 - amplitude / element.reach);
  }
  return state;
}

void add_loop(const StopElements& elements, const StopState& start, std::span<const double> flux,
              std::span<double> force) {
  const Springs springs(elements);
  StopState state = start;
  const double first = total_force(start);
  double last = 0;
  for (const std::size_t step : approach(flux)) {
    springs.move(state, flux[step] - last);
    last = flux[step];
  }
  const std::size_t highest = highest_step(flux);
  for (std::size_t count = 0; count < flux.size(); ++count) {
    const std::size_t step = (highest + count) % flux.size();
    springs.move(state, flux[step] - last);
    last = flux[step];
    force[step] += total_force(state) - first;
  }
}

LoopDerivatives loop_derivatives(const StopElements& elements, const StopState& start,
                                 std::span<const double> flux) {
  LoopDerivatives derivatives{std::vector<double>(flux.size()), {}};
  std::vector<std::size_t> slip_at(flux.size(), kNever);  // index among the slips, by step
  const Springs springs(elements);
  StopState state = start;
  std::array<std::size_t, kStopElements> slipped{};  // the step where each element last slipped
  slipped.fill(kNever);
  double last = 0;
  const auto move_to = [&](std::size_t step) {
    for (std::size_t number = 0; number < kStopElements; ++number) {
      const double limit = springs.limit[number];
      const double force = state[number] + springs.slope[number] * (flux[step] - last);
      state[number] = std::min(std::max(force, -limit), limit);
      slipped[number] = state[number] == force ? slipped[number] : step;
    }
    last = flux[step];
  };
  for (const std::size_t step : approach(flux)) {
    move_to(step);
  }
  const std::size_t highest = highest_step(flux);
  for (std::size_t count = 0; count < flux.size(); ++count) {
    const std::size_t step = (highest + count) % flux.size();
    move_to(step);
    for (std::size_t number = 0; number < kStopElements; ++number) {
      const double slope = springs.slope[number];
      const std::size_t slip = slipped[number];
      if (slip == step) {
        continue;
      }
      derivatives.slope[step] += slope;
      if (slip == kNever) {
        continue;
      }
      if (slip_at[slip] == kNever) {
        slip_at[slip] = derivatives.slips.size();
        derivatives.slips.push_back({slip, std::vector<double>(flux.size())});
      }
      derivatives.slips[slip_at[slip]].slope[step] -= slope;
    }
  }
  return derivatives;
}

}  // namespace virtual_instrument
