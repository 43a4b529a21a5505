#include "virtual_instrument/bench/bench_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

namespace virtual_instrument {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

BenchReading read(const std::string& text) { return read_bench(text, "b.toml", built_in_bench()); }

TEST(BenchReader, TheBuiltInBenchGivesEveryKeyAndNoOther) {
  const BenchReading reading = read_bench(kBuiltInBenchText, "default.toml", Bench{});
  EXPECT_THAT(reading.problems, IsEmpty());
  EXPECT_THAT(reading.given, UnorderedElementsAreArray(bench_keys()));
}

TEST(BenchReader, TheManualNamesEveryKeyUnderItsTable) {
  std::ifstream file(KVR_TEST_DATA_DIR "/../docs/virtual-instrument.md");
  std::map<std::string, std::string> sections;
  std::string table;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("### `[")) {
      table = line.substr(6, line.find(']') - 6);
    } else if (line.starts_with("## ")) {
      table.clear();
    }
    sections[table] += line + "\n";
  }
  for (const std::string& key : bench_keys()) {
    const std::size_t dot = key.find('.');
    EXPECT_THAT(sections[key.substr(0, dot)], testing::HasSubstr("`" + key.substr(dot + 1) + "`"));
  }
}

TEST(BenchReader, EveryShippedBenchIsRead) {
  std::vector<std::string> names;
  for (const auto& entry :
       std::filesystem::directory_iterator(KVR_TEST_DATA_DIR "/../virtual_instrument/bench")) {
    if (entry.path().extension() != ".toml") {
      continue;
    }
    names.push_back(entry.path().filename().string());
    std::ifstream file(entry.path());
    std::ostringstream text;
    text << file.rdbuf();
    EXPECT_THAT(read(text.str()).problems, IsEmpty()) << names.back();
  }
  EXPECT_THAT(names, testing::UnorderedElementsAre(
                         "autotransformer.toml", "default.toml", "single-phase.toml", "dyn11.toml",
                         "three-winding.toml", "current-transformer.toml", "faulty-unit.toml"));
}

TEST(BenchReader, ShortedTurnsComeFromTheTextAlone) {
  Bench base = built_in_bench();
  base.defects.shorted_turns.push_back({});
  EXPECT_TRUE(read_bench("", "b.toml", base).bench.defects.shorted_turns.empty());
}

TEST(BenchReader, TheBuiltInBenchIsHealthy) {
  const Bench& bench = built_in_bench();
  EXPECT_EQ(bench.instrument.type, 0);
  EXPECT_TRUE(bench.instrument.calibrated);
  EXPECT_FALSE(bench.instrument.clock);
  EXPECT_EQ(bench.connection.refused, KVR_RES_OK);
  EXPECT_TRUE(bench.status.database_loaded);
  EXPECT_TRUE(bench.status.secondary_sd_mounted);
  EXPECT_TRUE(bench.status.measurement_board_connected);
  EXPECT_EQ(bench.measurement.duration, 2);
  EXPECT_EQ(bench.measurement.steps, 10);
  EXPECT_THAT(bench.faults, IsEmpty());
}

TEST(BenchReader, WhatATextLeavesOutStays) {
  const BenchReading reading = read("[measurement]\nduration = 0\n");
  EXPECT_THAT(reading.problems, IsEmpty());
  EXPECT_EQ(reading.bench.measurement.duration, 0);
  EXPECT_EQ(reading.bench.measurement.steps, 10);
  EXPECT_EQ(reading.bench.instrument.serial_number, "VI-000001");
  EXPECT_THAT(reading.given, ElementsAre("measurement.duration"));
}

TEST(BenchReader, ReadsEachKindOfValue) {
  const BenchReading reading = read(R"([instrument]
type = -3
serial_number = "S 1"
debug_mode = true
clock = 2024-03-05T12:00:00+01:00
maximum_voltage = 300

[connection]
refused = "KVR_RES_DEVICE_UNAVAILABLE"
lost_code = 180

[transformer]
vector_group = "YNd11"

[store]
file = "bench.db"
demonstration = true
empty_id_format = "T-%H%M%S"
)");
  EXPECT_THAT(reading.problems, IsEmpty());
  EXPECT_EQ(reading.bench.instrument.type, -3);
  EXPECT_EQ(reading.bench.instrument.serial_number, "S 1");
  EXPECT_TRUE(reading.bench.instrument.debug_mode);
  EXPECT_EQ(reading.bench.instrument.clock, 1709636400);
  EXPECT_EQ(reading.bench.instrument.maximum_voltage, 300);
  EXPECT_EQ(reading.bench.connection.refused, KVR_RES_DEVICE_UNAVAILABLE);
  EXPECT_EQ(reading.bench.connection.lost_code, 180);
  EXPECT_EQ(reading.bench.transformer.vector_group.clock, 11);
  EXPECT_EQ(reading.bench.store.file, "bench.db");
  EXPECT_TRUE(reading.bench.store.demonstration);
  EXPECT_EQ(reading.bench.store.empty_id_format, "T-%H%M%S");
}

TEST(BenchReader, ReadsWhatIsWrongWithTheUnit) {
  const BenchReading reading = read(R"([transformer]
vector_group = "ZNyn11"
residual_flux = 0.8

[taps]
type = "OLTC"
first = 1
last = 17
middle = 9
position = 12
step = 1.25
transition_resistance = 4.0

[leads]
open = ["H1", "X0"]
reversed = ["XB"]

[[shorted_turns]]
winding = "HC"
share = 2.5
resistance = 0.001

[[shorted_turns]]
winding = "XA"
share = 4
resistance = 1
)");
  EXPECT_THAT(reading.problems, IsEmpty());
  const Bench& bench = reading.bench;
  EXPECT_EQ(group_name(bench.transformer.vector_group), "ZNyn11");
  EXPECT_THAT(bench.transformer.residual_flux, ElementsAre(0.8, -0.4, -0.4));
  EXPECT_EQ(bench.taps.type, KVR_TAP_CHANGER_OLTC);
  EXPECT_EQ(bench.taps.last, 17);
  EXPECT_EQ(bench.taps.position, 12);
  EXPECT_EQ(bench.taps.step, 1.25);
  EXPECT_THAT(bench.defects.open_lead[Side::high], ElementsAre(false, true, false, false));
  EXPECT_THAT(bench.defects.open_lead[Side::low], ElementsAre(true, false, false, false));
  EXPECT_THAT(bench.defects.reversed_winding[Side::high], ElementsAre(false, false, false));
  EXPECT_THAT(bench.defects.reversed_winding[Side::low], ElementsAre(false, true, false));
  ASSERT_EQ(bench.defects.shorted_turns.size(), 2U);
  const ShortedTurns& first = bench.defects.shorted_turns[0];
  EXPECT_EQ(first.side, Side::high);
  EXPECT_EQ(first.limb, 2);
  EXPECT_EQ(first.fraction, 0.025);
  EXPECT_EQ(first.resistance, 0.001);
  EXPECT_EQ(bench.defects.shorted_turns[1].side, Side::low);
}

TEST(BenchReader, ReadsResidualFluxLimbByLimb) {
  EXPECT_THAT(
      read("[transformer]\nresidual_flux = [0.5, -0.3, 0]\n").bench.transformer.residual_flux,
      ElementsAre(0.5, -0.3, 0));
}

TEST(BenchReader, ReadsEveryVectorGroupAndEverySinglePhaseUnit) {
  std::vector<std::string> names{"Ii0", "Ii6", "CT", "PT"};
  for (const WindingGroup& group : three_phase_groups()) {
    names.push_back(group_name(group));
  }
  EXPECT_EQ(names.size(), 4U + 25 * 6);
  for (const std::string& name : names) {
    const BenchReading reading = read("[transformer]\nvector_group = \"" + name + "\"\n");
    EXPECT_THAT(reading.problems, IsEmpty()) << name;
    EXPECT_TRUE(exists(reading.bench.transformer.vector_group)) << name;
  }
}

TEST(BenchReader, ReadsFaults) {
  const BenchReading reading = read(R"([[faults]]
call = "kvr_GetStatus"
code = "KVR_RES_COMMUNICATION_TIMEOUT"
from = 3
times = 1

[[faults]]
call = "kvr_Test_Ratio_1ph"
null = true
)");
  EXPECT_THAT(reading.problems, IsEmpty());
  ASSERT_EQ(reading.bench.faults.size(), 2U);
  const Fault& first = reading.bench.faults[0];
  EXPECT_EQ(first.call, "kvr_GetStatus");
  EXPECT_EQ(first.code, KVR_RES_COMMUNICATION_TIMEOUT);
  EXPECT_EQ(first.from, 3);
  EXPECT_EQ(first.times, 1);
  EXPECT_FALSE(first.null);
  const Fault& second = reading.bench.faults[1];
  EXPECT_EQ(second.code, KVR_RES_OK);
  EXPECT_EQ(second.from, 1);
  EXPECT_EQ(second.times, 0);
  EXPECT_TRUE(second.null);
}

TEST(BenchReader, FaultsAreThoseOfTheTextAlone) {
  Bench base = built_in_bench();
  base.faults.emplace_back().call = "kvr_GetStatus";
  EXPECT_THAT(read_bench("", "b.toml", base).bench.faults, IsEmpty());
}

struct Mistake {
  const char* text;
  const char* problem;
};

class BenchMistakes : public testing::TestWithParam<Mistake> {};

TEST_P(BenchMistakes, AreToldWithFileLineKeyAndWhatWasExpected) {
  EXPECT_THAT(read(GetParam().text).problems, ElementsAre(GetParam().problem));
}

INSTANTIATE_TEST_SUITE_P(
    BenchReader, BenchMistakes,
    testing::Values(
        Mistake{"[status]\ndatabase_loaded = 1\n",
                "b.toml:2: status.database_loaded: expected true or false"},
        Mistake{"\n[measurement]\n\nsteps = 2.5\n",
                "b.toml:4: measurement.steps: expected a whole number from 1 to 1000000"},
        Mistake{"[measurement]\nsteps = 0\n",
                "b.toml:2: measurement.steps: expected a whole number from 1 to 1000000"},
        Mistake{"[measurement]\nduration = -1\n",
                "b.toml:2: measurement.duration: expected a number from 0 to 86400 s"},
        Mistake{"[measurement]\nduration = nan\n",
                "b.toml:2: measurement.duration: expected a number from 0 to 86400 s"},
        Mistake{"[measurement]\nduration = \"2\"\n",
                "b.toml:2: measurement.duration: expected a number from 0 to 86400 s"},
        Mistake{"[measurement]\nsamples_per_period = 100\n",
                "b.toml:2: measurement.samples_per_period: expected a power of two from 16 to "
                "512"},
        Mistake{"[instrument]\nserial_number = \"123456789012345678901\"\n",
                "b.toml:2: instrument.serial_number: expected a text of at most 20 characters"},
        Mistake{"[instrument]\nserial_number = \"a\\u0000b\"\n",
                "b.toml:2: instrument.serial_number: expected a text of at most 20 characters"},
        Mistake{"[instrument]\nclock = 2024-03-05T12:00:00\n",
                "b.toml:2: instrument.clock: expected \"system\", or a date and time with its "
                "offset like 2024-03-05T12:00:00Z"},
        Mistake{"[connection]\nrefused = \"KVR_RES_OH_NO\"\n",
                "b.toml:2: connection.refused: expected the name or the number of a code"},
        Mistake{"[connection]\nrefused = 99999999999\n",
                "b.toml:2: connection.refused: expected the name or the number of a code"},
        Mistake{"[connection]\nlost_code = 0\n",
                "b.toml:2: connection.lost_code: expected the name or the number of a code other "
                "than KVR_RES_OK"},
        Mistake{
            "[transformer]\nvector_group = \"Dyn2\"\n",
            "b.toml:2: transformer.vector_group: expected D, Y, YN, Z or ZN, then d, y, yn, z or "
            "zn, then a clock number that they can have; or Ii0, Ii6, CT or PT"},
        Mistake{
            "[transformer]\nvector_group = 11\n",
            "b.toml:2: transformer.vector_group: expected D, Y, YN, Z or ZN, then d, y, yn, z or "
            "zn, then a clock number that they can have; or Ii0, Ii6, CT or PT"},
        Mistake{"[transformer]\nkva = 0\n",
                "b.toml:2: transformer.kva: expected a number from 1e-06 to 1e+07 kVA"},
        Mistake{"[transformer]\nhysteresis_share = 1.1\n",
                "b.toml:2: transformer.hysteresis_share: expected a number from 0 to 1"},
        Mistake{"[transformer]\nresidual_flux = 11\n",
                "b.toml:2: transformer.residual_flux: expected a number from -10 to 10 per unit, "
                "or three of them"},
        Mistake{"[transformer]\nresidual_flux = nan\n",
                "b.toml:2: transformer.residual_flux: expected a number from -10 to 10 per unit, "
                "or three of them"},
        Mistake{"[transformer]\nresidual_flux = [0.1, 0.2]\n",
                "b.toml:2: transformer.residual_flux: expected a number from -10 to 10 per unit, "
                "or three of them"},
        Mistake{"[transformer]\nresidual_flux = [0.1, 0.2, \"0\"]\n",
                "b.toml:2: transformer.residual_flux: expected a number from -10 to 10 per unit, "
                "or three of them"},
        Mistake{"[transformer]\nresidual_flux = [0.1, 0.2, 10.5]\n",
                "b.toml:2: transformer.residual_flux: expected a number from -10 to 10 per unit, "
                "or three of them"},
        Mistake{"[instrument]\nminimum_voltage = 300.0\n",
                "b.toml:2: instrument.minimum_voltage: expected a maximum_voltage of at least the "
                "minimum_voltage"},
        Mistake{"[taps]\ntype = \"LTC\"\n",
                "b.toml:2: taps.type: expected \"none\", \"DETC\" or \"OLTC\""},
        Mistake{"[taps]\nfirst = 1\nlast = 5\nposition = 6\n",
                "b.toml:4: taps.position: expected a position from first to last"},
        Mistake{"[taps]\nfirst = 2\nposition = 2\nlast = 5\n",
                "b.toml:2: taps.first: expected a middle from first to last"},
        Mistake{"[taps]\nlast = 9\nstep = -20\n",
                "b.toml:3: taps.step: expected steps that leave a tenth of the turns at each "
                "position"},
        Mistake{
            "[leads]\nopen = \"H1\"\n",
            "b.toml:2: leads.open: expected a list of terminals, of H0 to H3, X0 to X3 and Y0 to "
            "Y3"},
        Mistake{
            "[leads]\nopen = [\"H1\", \"X4\"]\n",
            "b.toml:2: leads.open: expected a list of terminals, of H0 to H3, X0 to X3 and Y0 to "
            "Y3"},
        Mistake{
            "[leads]\nopen = [1]\n",
            "b.toml:2: leads.open: expected a list of terminals, of H0 to H3, X0 to X3 and Y0 to "
            "Y3"},
        Mistake{
            "[leads]\nreversed = [\"Y1\"]\n",
            "b.toml:2: leads.reversed: expected a list of limb windings, of HA, HB, HC, XA, XB, "
            "XC, YA, YB and YC, and of halves of zigzag windings, of HA1, HA2, ... XC2"},
        Mistake{"[transformer]\nvector_group = \"Ii0\"\n[leads]\nreversed = [\"XB\"]\n",
                "b.toml:4: leads.reversed: expected limb A alone in a single-phase unit"},
        Mistake{"[[shorted_turns]]\nwinding = \"HA\"\nshare = 60\nresistance = 1\n"
                "[[shorted_turns]]\nwinding = \"HA\"\nshare = 31\nresistance = 1\n",
                "b.toml:1: shorted_turns: expected at most 90 percent of a winding in all"},
        Mistake{"[[shorted_turns]]\nwinding = \"H1\"\nshare = 1\nresistance = 1\n",
                "b.toml:2: shorted_turns.winding: expected a limb winding: HA, HB, HC, XA, XB, XC, "
                "YA, YB or YC"},
        Mistake{"[[shorted_turns]]\nwinding = \"HA\"\nshare = 0\nresistance = 1\n",
                "b.toml:3: shorted_turns.share: expected a number from 0.01 to 90 percent"},
        Mistake{"[[shorted_turns]]\nwinding = \"HA\"\nshare = 1\n",
                "b.toml:1: shorted_turns.resistance: missing; expected a number from 1e-06 to "
                "1e+06 ohm"},
        Mistake{"[shorted_turns]\nwinding = \"HA\"\n",
                "b.toml:1: shorted_turns: expected tables [[shorted_turns]]"},
        Mistake{"[store]\nempty_id_format = \"a/b\"\n",
                "b.toml:2: store.empty_id_format: expected letters, digits, - _ . and %Y %m %d %H "
                "%M %S, giving at most 24 characters"},
        Mistake{"[store]\nformat = 1\n",
                "b.toml:2: store.format: no such key; expected one of file, demonstration, "
                "empty_id_format"},
        Mistake{"[colours]\nred = 1\n",
                "b.toml:1: colours: expected one of the tables instrument, connection, status, "
                "transformer, tertiary, burden, taps, leads, measurement, store, shorted_turns, "
                "faults"},
        Mistake{"store = 1\n",
                "b.toml:1: store: expected one of the tables instrument, connection, status, "
                "transformer, tertiary, burden, taps, leads, measurement, store, shorted_turns, "
                "faults"},
        Mistake{"[faults]\ncall = \"kvr_GetStatus\"\n",
                "b.toml:1: faults: expected tables [[faults]]"},
        Mistake{"[[faults]]\ncode = 1\n",
                "b.toml:1: faults.call: missing; expected the name of an exported call"},
        Mistake{"[[faults]]\ncall = \"kvr_Nothing\"\n",
                "b.toml:2: faults.call: expected the name of an exported call"},
        Mistake{"[[faults]]\ncall = \"kvr_LockAPI\"\nfrom = 0\n",
                "b.toml:3: faults.from: expected a whole number from 1 to 2147483647"},
        Mistake{"[[faults]]\ncall = \"kvr_LockAPI\"\nwhen = 1\n",
                "b.toml:3: faults.when: no such key; expected one of call, code, from, times, "
                "chance, null, delay, hang, failed_phases, phase_code"},
        Mistake{"[[faults]]\ncall = \"kvr_LockAPI\"\nchance = 101\n",
                "b.toml:3: faults.chance: expected a number from 0 to 100 percent"},
        Mistake{"[[faults]]\ncall = \"kvr_LockAPI\"\ndelay = -1\n",
                "b.toml:3: faults.delay: expected a number from 0 to 3600 s"},
        Mistake{"[[faults]]\ncall = \"kvr_LockAPI\"\nhang = 1\n",
                "b.toml:3: faults.hang: expected true or false"},
        Mistake{"[[faults]]\ncall = \"kvr_Test_Ratio_3ph\"\nfailed_phases = [\"AB\"]\n",
                "b.toml:3: faults.failed_phases: expected a list of phases, of A, B and C"},
        Mistake{"[[faults]]\ncall = \"kvr_LockAPI\"\nfailed_phases = [\"A\"]\n",
                "b.toml:3: faults.failed_phases: expected with kvr_Test_Ratio_1ph or "
                "kvr_Test_Ratio_3ph alone"},
        Mistake{"[[faults]]\ncall = \"kvr_Test_Ratio_3ph\"\nphase_code = 0\n",
                "b.toml:3: faults.phase_code: expected the name or the number of a code other than "
                "KVR_RES_OK"}));

TEST(BenchReader, TellsAllMistakesFromTheTop) {
  EXPECT_THAT(read("[store]\nb = 1\n[connection]\na = 1\n[[faults]]\n").problems,
              ElementsAre("b.toml:2: store.b: no such key; expected one of file, demonstration, "
                          "empty_id_format",
                          "b.toml:4: connection.a: no such key; expected one of refused, lost, "
                          "lost_after, lost_at_step, lost_code",
                          "b.toml:5: faults.call: missing; expected the name of an exported "
                          "call"));
}

TEST(BenchReader, TellsAProblemInOneLineWhateverTheKeyHolds) {
  const BenchReading reading = read("[instrument]\n\"a\\n\\u001b[2Jb\\u007f\" = 1\n");
  EXPECT_THAT(
      reading.problems,
      ElementsAre(testing::StartsWith("b.toml:2: instrument.a\\x0a\\x1b[2Jb\\x7f: no such key")));
}

TEST(BenchReader, TellsWhatIsNoTomlOnOneLine) {
  const auto problems = [](const std::string& text) { return read(text).problems; };
  EXPECT_THAT(problems("\n[store]\n[=]\n[a]\n"),
              ElementsAre(testing::AllOf(testing::StartsWith("b.toml:3: "),
                                         testing::HasSubstr("expected bare key"))));
  EXPECT_THAT(problems("[[\n"), ElementsAre(testing::StartsWith("b.toml:1: ")));
  EXPECT_THAT(problems("[store]\na = \xc3\xa4\n"),
              ElementsAre("b.toml:2: expected plain letters outside quotes and after a backslash"));
  EXPECT_THAT(problems("[store]\nfile = 'a\xff'\n"), ElementsAre("b.toml:2: expected UTF-8"));
}

TEST(BenchReader, FindsAMistakeAtTheEndOfALongTextAtOnce) {
  std::string text;
  for (int line = 1; line < 100'000; ++line) {
    text += "# a\n";
  }
  EXPECT_THAT(read(text + "[=]\n").problems, ElementsAre(testing::StartsWith("b.toml:100000: ")));
}

TEST(BenchReader, TellsWhereQuotesBeginNothing) {
  for (const char* const value : {"2'\xcf\xbf", "1.'#\xc3\xa4'", "2022-03-05TBB(\"\xef\xbb\xbb\"",
                                  "00=\"\xef\xb3\xbf", "0.o0=\"\xef\xb8\xbfm\"#"}) {
    const BenchReading reading = read(std::string("[store]\nfile = ") + value + "\n");
    ASSERT_EQ(reading.problems.size(), 1U) << value;
    EXPECT_THAT(reading.problems[0], testing::StartsWith("b.toml:2: ")) << value;
  }
}

TEST(BenchReader, TakesLettersBeyondAsciiInQuotes) {
  const BenchReading reading =
      read("\xef\xbb\xbf# \xc3\xa4\n[store]\nfile = \"Pr\xc3\xbc\xef\xbc\xa1.db\"\n");
  EXPECT_THAT(reading.problems, testing::IsEmpty());
  EXPECT_EQ(reading.bench.store.file, "Pr\xc3\xbc\xef\xbc\xa1.db");
  EXPECT_EQ(read("[store]\nfile = '~/\xc3\xa4~195'\n").bench.store.file, "~/\xc3\xa4~195");
}

TEST(BenchReader, CountsTheBytesOfALetterBeyondAscii) {
  const auto problems = [](const std::string& serial_number) {
    return read("[instrument]\nserial_number = '" + serial_number + "'\n").problems;
  };
  const std::string letter = "\xc3\xa4";
  EXPECT_THAT(problems("123456789012345678" + letter), IsEmpty());
  EXPECT_THAT(problems("1234567890123456789" + letter),
              ElementsAre("b.toml:2: instrument.serial_number: expected a text of at most 20 "
                          "characters"));
}

TEST(BenchReader, TellsUnknownKeysBeyondAsciiApart) {
  const std::string no_such_key =
      ": no such key; expected one of file, demonstration, empty_id_format";
  EXPECT_THAT(read("[store]\n'\xc3\xa4' = 1\n'\xc3\xb6' = 2\n").problems,
              ElementsAre("b.toml:2: store.\xc3\xa4" + no_such_key,
                          "b.toml:3: store.\xc3\xb6" + no_such_key));
}

TEST(BenchReader, TellsWhereTheTextIsNotTomlAtAll) {
  const BenchReading reading = read("[store]\nempty_id_format =\n");
  ASSERT_EQ(reading.problems.size(), 1U);
  EXPECT_THAT(reading.problems[0], testing::StartsWith("b.toml:2: "));
}

}  // namespace
}  // namespace virtual_instrument
