#include "virtual_instrument/model/flux_equations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "unit/virtual_instrument/model/units.h"
#include "virtual_instrument/model/equivalent_circuit.h"
#include "virtual_instrument/model/iron_shape.h"
#include "virtual_instrument/model/winding_network.h"

namespace virtual_instrument {
namespace {

/// Some value from -1 to 1 for each number, no two alike.
double scattered(std::size_t number) {
  return phasor_at(0.37 * static_cast<double>(number)).imag();
}

/// Fluxes that saturate the core in a part of the period, with all harmonics in them.
std::vector<double> some_fluxes(const FluxEquations& equations, double rated) {
  std::vector<double> fluxes(equations.free_fluxes().size());
  for (const FreeFlux& free : equations.free_fluxes()) {
    const double size = rated * (free.harmonic == 1 ? 1.0 : 0.1);
    for (std::size_t part = 0; part < free.parts(); ++part) {
      fluxes[free.position + part] = size * scattered(free.position + part + 1);
    }
  }
  return fluxes;
}

/// Compares each derivative with the difference that a small change of one flux makes.
void expect_derivatives(const TransformerUnit& unit, double voltage) {
  const Network network = unit_network(unit, 1e6);
  const std::vector<VoltageSource> sources = balanced_sources(unit, Side::high, voltage);
  const FluxEquations equations(network, sources, 50);
  const double rated = rated_flux(unit);
  const std::vector<double> fluxes = some_fluxes(equations, rated);
  const SquareMatrix<double> derivatives = equations.jacobian(fluxes);
  const double change = 1e-6 * rated;
  for (std::size_t column = 0; column < fluxes.size(); ++column) {
    std::vector<double> more = fluxes;
    std::vector<double> less = fluxes;
    more[column] += change;
    less[column] -= change;
    const std::vector<double> after = equations.balance_at(more).residual;
    const std::vector<double> before = equations.balance_at(less).residual;
    double greatest = 0;
    for (std::size_t row = 0; row < fluxes.size(); ++row) {
      greatest = std::max(greatest, std::abs(derivatives(row, column)));
    }
    for (std::size_t row = 0; row < fluxes.size(); ++row) {
      EXPECT_NEAR(derivatives(row, column), (after[row] - before[row]) / (2 * change),
                  1e-4 * greatest)
          << "row " << row << ", column " << column;
    }
  }
}

TEST(FluxEquations, HaveTheDerivativesOfTheirResiduals) {
  expect_derivatives(three_phase_unit(), 11000);
  expect_derivatives(single_phase_unit(), 8000);
  TransformerUnit unit = saturating_three_phase_unit();
  expect_derivatives(unit, 11000);
  const double knee = unit.core.limb.knee_flux;
  unit.core.residual_flux = {0.8 * knee, -0.5 * knee, -0.3 * knee};
  expect_derivatives(unit, 11000);
}

TEST(FluxEquations, HaveTheDerivativesOfLoopsAndOfTheWayOutside) {
  TransformerUnit unit = saturating_three_phase_unit();
  shape_iron(unit.core, rated_flux(unit));
  ASSERT_TRUE(has_loop(unit.core));
  expect_derivatives(unit, 11000);
  unit.core.outside = {true, tank_reluctance(700, 50), 0, 1};
  expect_derivatives(unit, 11000);
  const double knee = unit.core.limb.knee_flux;
  unit.core.residual_flux = {0.5 * knee, -0.3 * knee, -0.2 * knee};
  expect_derivatives(unit, 11000);
  unit.core.outside = {true, 0, 2, 1};
  expect_derivatives(unit, 11000);
}

TEST(FluxEquations, HoldOnlyTheHarmonicsThatCanDifferFromZero) {
  const auto harmonics = [](const TransformerUnit& unit) {
    const Network network = unit_network(unit, 1e6);
    const std::vector<VoltageSource> sources = balanced_sources(unit, Side::high, 100);
    std::vector<int> held;
    const FluxEquations equations(network, sources, 50);
    for (const FreeFlux& free : equations.free_fluxes()) {
      if (free.outer == 0) {
        held.push_back(free.harmonic);
      }
    }
    return held;
  };
  EXPECT_EQ(harmonics(three_phase_unit()), std::vector<int>{1});
  TransformerUnit unit = saturating_three_phase_unit();
  EXPECT_EQ(harmonics(unit), (std::vector<int>{1, 3, 5, 7, 9, 11, 13, 15}));
  unit.core.residual_flux[2] = 0.1;
  EXPECT_EQ(harmonics(unit),
            (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}));
}

TEST(FluxEquations, MeasureABalanceByItsLargestResidual) {
  EXPECT_EQ(largest({1, -3, 2}), 3);
  EXPECT_EQ(largest({}), 0);
  const TransformerUnit unit = saturating_three_phase_unit();
  const Network network = unit_network(unit, 1e6);
  const std::vector<VoltageSource> sources = balanced_sources(unit, Side::high, 11000);
  const FluxEquations equations(network, sources, 50);
  const FluxBalance balance = equations.balance_at(some_fluxes(equations, rated_flux(unit)));
  EXPECT_EQ(balance.size, largest(balance.residual));
  EXPECT_GT(balance.scale, 0);
}

}  // namespace
}  // namespace virtual_instrument
