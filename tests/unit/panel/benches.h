#pragma once

#include <random>
#include <string>

// Benches for the tests of the panel.

/// A bench whose unit, faults and store settings come from a seed. Every one is free of problems.
inline std::string random_bench(std::uint32_t seed) {
  std::mt19937 random(seed);  // its numbers are the same everywhere, those of distributions are not
  const auto pick = [&random](double low, double high) {
    return low + (high - low) * static_cast<double>(random()) / 4294967296.0;
  };
  const char* const groups[] = {"YNyn0", "Dyn11", "YNd1", "Dyn5", "Yzn11", "Dd0",
                                "Yy6",   "Ii0",   "Ii6",  "CT",   "PT",    "YNd11"};
  const double high = pick(2000, 30000);
  const double kva = pick(1, 500);
  const double impedance = high * high / (kva * 1000);
  const double ratio = pick(1, 40);
  const std::string group = groups[random() % 12];
  std::string text = "[transformer]\nvector_group = \"" + group + "\"\n";
  const auto set = [&text](const char* key, double value) {
    text += std::string(key) + " = " + std::to_string(value) + "\n";
  };
  set("high_voltage", high);
  set("low_voltage", high / ratio);
  set("kva", kva);
  set("frequency", random() % 2 == 0 ? 50 : 60);
  set("high_resistance", impedance * pick(0.002, 0.01));
  set("high_reactance", impedance * pick(0.01, 0.05));
  set("low_resistance", impedance * pick(0.002, 0.01) / (ratio * ratio));
  set("low_reactance", impedance * pick(0.01, 0.05) / (ratio * ratio));
  set("core_resistance", impedance * pick(100, 1000));
  set("magnetizing_reactance", impedance * pick(30, 300));
  set("saturated_reactance", impedance * pick(0.1, 0.5));
  set("temperature", pick(-10, 90));
  text += random() % 4 == 0 ? "saturation = false\n" : "";
  text += random() % 3 == 0 ? "residual_flux = 0.4\n" : "";
  const bool can_be_autotransformer = (group == "YNyn0" || group == "Ii0") && ratio > 1.3;
  text += can_be_autotransformer && random() % 2 == 0 ? "autotransformer = true\n" : "";
  text += random() % 4 == 0 ? "winding_capacitance = 1.0\n" : "";
  text += "[taps]\ntype = \"" + std::string(random() % 2 == 0 ? "OLTC" : "none") +
          "\"\nfirst = 1\nlast = 5\nmiddle = 3\nposition = 2\nstep = 2.5\ntransition_resistance = "
          "5.0\n";
  text += random() % 4 == 0 ? "side = \"low\"\n" : "";
  if (group.find_first_of("DYZ") == 0 && random() % 4 == 0) {
    text += "[tertiary]\n";
    set("voltage", high / 5);
    set("resistance", impedance * 0.001);
    set("reactance", impedance * 0.004);
  }
  if (random() % 6 == 0) {
    text += "[burden]\n";
    set("resistance", impedance * 20 / (ratio * ratio));
    set("reactance", impedance * 10 / (ratio * ratio));
  }
  if (random() % 6 == 0) {
    text += "[instrument]\n";
    set("source_resistance", impedance * 0.01);
    set("source_inductance", impedance * 0.05);
  }
  text += random() % 5 == 0 ? "[leads]\nopen = [\"H1\"]\n" : "";
  return text + "[measurement]\nduration = 0.0\n";
}
