#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "unit/virtual_instrument/bench/units_of_benches.h"
#include "virtual_instrument/measurement/unit_waveforms.h"

// The pictures of docs/virtual-instrument-model.md are drawn from the model itself, from the unit
// of the built-in bench. With KVR_REBUILD_GOLDENS=1 they are rewritten.

namespace virtual_instrument {
namespace {

constexpr const char* kHead =
    "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 640 %d\" width=\"640\" height=\"%d\" "
    "font-family=\"sans-serif\" font-size=\"12\">\n<title>%s</title>\n"
    "<rect width=\"640\" height=\"%d\" fill=\"#ffffff\"/>\n";

template <typename... Values>
std::string text(const char* format, const Values&... values) {
  std::array<char, 512> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, values...);
  return buffer.data();
}

std::string words(double x, double y, const std::string& said) {
  return text("<text x=\"%.0f\" y=\"%.0f\">", x, y) + said + "</text>\n";
}

// ---- the loop

/// Force against flux, per unit of the linear current and flux at rated voltage.
class LoopPlot {
 public:
  explicit LoopPlot(const TransformerUnit& unit)
      : core_(unit.core), rated_(rated_flux(unit)), elements_(stop_elements(unit.core.loop)) {}

  void go_to(double flux, std::string& points) {
    const double step = flux > flux_ ? 0.025 : -0.025;
    const int steps = static_cast<int>(std::lround((flux - flux_) / step));
    for (int number = 0; number < steps; ++number) {
      move(elements_, state_, step * rated_);
      flux_ += step;
      points += point();
    }
  }

  std::string point() const {
    const double force = magnetizing_force(core_, 1, flux_ * rated_) + total_force(state_);
    const double current = force / (rated_ / core_.limb.inductance);
    return text("%.1f,%.1f ", 320 + 125 * current, 210 - 160 * flux_);
  }

 private:
  const Core core_;
  const double rated_;
  const StopElements elements_;
  StopState state_{};
  double flux_ = 0;
};

std::string line(const std::string& points, const char* color, const char* width) {
  return "<polyline fill=\"none\" stroke=\"" + std::string(color) + "\" stroke-width=\"" + width +
         "\" points=\"" + points + "\"/>\n";
}

std::string loop_picture() {
  const TransformerUnit unit = unit_of("");
  std::string svg = text(kHead, 420, 420, "Hysteresis loops of the built-in unit", 420);
  svg += line("20,210 620,210", "#999999", "1") + line("320,10 320,410", "#999999", "1");
  svg += words(500, 228, "magnetomotive force") + words(328, 22, "flux");
  for (const double amplitude : {0.3, 0.6, 1.0, 1.05}) {
    LoopPlot plot(unit);
    std::string way;
    plot.go_to(amplitude, way);
    std::string loop = plot.point();
    plot.go_to(-amplitude, loop);
    plot.go_to(amplitude, loop);
    svg += line(loop, amplitude == 1.0 ? "#b03030" : "#3060a0", "1.5");
  }
  LoopPlot plot(unit);
  std::string first = plot.point();
  plot.go_to(1.05, first);
  svg += line(first, "#666666", "1");
  std::string way;
  plot.go_to(0.2, way);
  std::string minor = plot.point();
  plot.go_to(0.45, minor);
  plot.go_to(0.2, minor);
  svg += line(minor, "#208040", "1.5");
  svg += words(24, 376, "red: rated voltage; blue: 0.3, 0.6 and 1.05 of it");
  svg += words(24, 392, "grey: from virgin iron; green: a minor loop");
  return svg + "</svg>\n";
}

// ---- the core

/// Fluxes of the limbs, and of the path outside, with limb A excited at rated voltage, per unit of
/// that of limb A.
std::array<double, 4> flux_shares(const TransformerUnit& unit) {
  const PeriodicState state =
      excite_pair(unit_network(unit, kInputResistance),
                  {Side::high, {1, 0}, 2400 / std::sqrt(3.0), unit.frequency, Side::low, {1, 0}});
  const Complex first = state.flux[0][1];
  std::array<double, 4> shares{};
  for (std::size_t limb = 0; limb < 3; ++limb) {
    shares[limb] = quotient(state.flux[limb][1], first).real();
  }
  shares[3] = -(shares[0] + shares[1] + shares[2]);
  return shares;
}

std::string core_picture() {
  const std::pair<const char*, const char*> forms[] = {
      {"zero_sequence_impedance = 0\n", "closed"},
      {"", "three limbs in a tank"},
      {"core_form = \"five-limb\"\n", "five limbs"},
      {"core_form = \"shell\"\n", "shell"},
      {"core_form = \"bank\"\n", "bank"},
  };
  std::string svg = text(kHead, 400, 400, "Where the flux of limb A returns", 400);
  svg += words(24, 24, "Flux with limb A of the built-in unit excited at rated voltage");
  double top = 40;
  for (const auto& [keys, name] : forms) {
    const std::array<double, 4> shares = flux_shares(unit_of(keys));
    svg += words(24, top + 34, name);
    const char* const paths[] = {"A", "B", "C", "outside"};
    for (std::size_t path = 0; path < 4; ++path) {
      const double x = 200 + 105 * static_cast<double>(path);
      // Hardly anything is nothing, whatever its sign.
      const double share = std::abs(shares[path]) < 5e-4 ? 0 : shares[path];
      const double height = 50 * std::abs(share);
      svg += text("<rect x=\"%.0f\" y=\"%.1f\" width=\"24\" height=\"%.1f\" fill=\"%s\"/>\n", x,
                  top + 54 - height, height, share < 0 ? "#3060a0" : "#b03030");
      svg += words(x + 30, top + 52, std::string(paths[path]) + text(" %.3f", share));
    }
    top += 70;
  }
  return svg + "</svg>\n";
}

void compare(const std::string& name, const std::string& drawn) {
  const std::string path = std::string(KVR_TEST_DATA_DIR) + "/../docs/images/" + name;
  if (std::getenv("KVR_REBUILD_GOLDENS") != nullptr) {
    std::ofstream(path, std::ios::binary) << drawn;
    FAIL() << "rewritten";
  }
  std::ifstream file(path, std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), drawn) << name;
}

TEST(IronPictures, ShowTheLoops) { compare("hysteresis-loop.svg", loop_picture()); }

TEST(IronPictures, ShowWhereFluxReturns) { compare("core-forms.svg", core_picture()); }

}  // namespace
}  // namespace virtual_instrument
