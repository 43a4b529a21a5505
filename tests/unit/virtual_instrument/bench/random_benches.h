#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "virtual_instrument/bench/bench_reader.h"

// Benches from texts and from seeds, for tests of all that an instrument measures on them.

/// The bench of a text without problems, as an instrument without noise has it.
inline virtual_instrument::Bench bench_of(const std::string& text) {
  virtual_instrument::BenchReading reading =
      virtual_instrument::read_bench(text, "bench", virtual_instrument::built_in_bench());
  EXPECT_EQ(reading.problems, std::vector<std::string>()) << text;
  reading.bench.measurement.noise = 0;
  return reading.bench;
}

/// A bench whose unit and faults come from a seed. Every one is free of problems. Some four fifths
/// have sound windings, and four fifths all their leads.
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
  text += random() % 3 == 0 ? "residual_flux = [0.5, -0.3, -0.2]\n" : "";
  const bool can_be_autotransformer = (group == "YNyn0" || group == "Ii0") && ratio > 1.3;
  text += can_be_autotransformer && random() % 2 == 0 ? "autotransformer = true\n" : "";
  text += random() % 4 == 0 ? "winding_capacitance = 1.0\n" : "";
  text += random() % 4 == 0 ? "conductor = \"aluminium\"\n" : "";
  text += random() % 2 == 0 ? "stray_share = 0.15\n" : "";
  const char* const forms[] = {"three-limb", "three-limb", "five-limb", "shell", "bank"};
  text += "core_form = \"" + std::string(forms[random() % 5]) + "\"\n";
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
  const char* const open = random() % 5 == 0 ? "\"H1\"" : "";
  const char* const reversed = random() % 10 == 0 ? "\"XA\"" : "";
  text += std::string("[leads]\nopen = [") + open + "]\nreversed = [" + reversed + "]\n";
  if (random() % 10 == 0) {
    text += "[[shorted_turns]]\nwinding = \"HA\"\nshare = 2.0\nresistance = 0.01\n";
  }
  return text + "[measurement]\nduration = 0.0\n";
}
