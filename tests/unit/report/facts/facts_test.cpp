#include "report/facts/facts.h"

#include <gtest/gtest.h>

#include <fstream>
#include <numbers>

#include "common/field_text.h"
#include "report/facts/raw_samples.h"
#include "support/temporary_folder.h"
#include "tape/format/sha256.h"
#include "virtual_instrument/demonstration/demonstration.h"

namespace report {
namespace {

class FactsTest : public testing::Test {
 protected:
  std::filesystem::path write(const std::string& name, std::string_view bytes) const {
    std::ofstream(folder_.path() / name, std::ios::binary) << bytes;
    return folder_.path() / name;
  }

  std::filesystem::path demonstration() const {
    const std::filesystem::path path = folder_.path() / "records.db";
    virtual_instrument::SqliteStore store({.path = path});
    virtual_instrument::fill_with_demonstration(store);
    return path;
  }

  std::string failure(const std::filesystem::path& path) const {
    try {
      read_store(path);
    } catch (const ReadFailure& failed) {
      return failed.what();
    }
    return "none";
  }

  TemporaryFolder folder_;
};

TEST_F(FactsTest, OfAStoreAreItsRecordsInTheirOrder) {
  const std::filesystem::path path = demonstration();
  const std::string before = read_bytes(path);
  const Facts facts = read_store(path);
  ASSERT_EQ(facts.records.size(), 16U);
  EXPECT_EQ(field_text(facts.records.front().nest->record_id), "demo-excitation");
  EXPECT_EQ(field_text(facts.records.back().nest->record_id), "demo-heat-run");
  EXPECT_EQ(facts.files.front().name, "records.db");
  EXPECT_EQ(facts.files.front().sha256, tape::sha256(before));
  EXPECT_EQ(read_bytes(path), before);
  EXPECT_FALSE(std::filesystem::exists(path.string() + "-wal"));
  EXPECT_TRUE(facts.remarks.empty());
}

TEST_F(FactsTest, OfAStoreCanBeChosen) {
  const Facts facts = read_store(demonstration(), {"demo-heat-run", "demo-demag"});
  ASSERT_EQ(facts.records.size(), 2U);
  EXPECT_EQ(field_text(facts.records[0].nest->record_id), "demo-demag");
  EXPECT_THROW(read_store(demonstration(), {"demo-demag", "other"}), ReadFailure);
}

TEST_F(FactsTest, ADamagedRecordIsLeftOutWithARemark) {
  const std::filesystem::path path = demonstration();
  std::string bytes = read_bytes(path);
  const std::size_t at = bytes.find("demag\0\0", bytes.find("KVRR"));
  ASSERT_NE(at, std::string::npos);
  bytes[bytes.rfind("KVRR") + 700] ^= 1;
  write("damaged.db", bytes);
  const Facts facts = read_store(folder_.path() / "damaged.db");
  EXPECT_EQ(facts.records.size(), 15U);
  ASSERT_EQ(facts.remarks.size(), 1U);
  EXPECT_NE(facts.remarks[0].find("is damaged"), std::string::npos);
}

TEST_F(FactsTest, OfOtherFilesAreRefused) {
  EXPECT_EQ(failure(folder_.path() / "missing.db"), "missing.db: can't be opened");
  EXPECT_EQ(failure(write("text.db", "no database at all")),
            "text.db: is no record store that can be read");
  EXPECT_EQ(failure(write("empty.db", "")), "empty.db: is no record store");
  EXPECT_THROW(read_runs(folder_.path() / "missing"), ReadFailure);
}

constexpr std::string_view kSeries =
    "sep=;\nKVRU3 client version;1.2\nKVRU3 software version;3.4\n"
    "Date & Time;Tue Mar  5 08:00:00 2024\n\n\nTest ID;Mode;Voltage;\n"
    "a;b;DOWN;100.00000000;99.00000000;4.00000000;24.75000000;0.12000000;0.00100000;99.10000000;"
    "10.000000;-20.000000;30.000000;0.500000;\n"
    "a;b;DOWN;200.00000000;nan;4.00000000;24.75000000;0.12000000;0.00100000;99.10000000;"
    "10.000000;-20.000000;30.000000;0.500000;\n"
    "short;row;\n";

constexpr std::string_view kRaw =
    "# RAW samples of phase A: H1-H2 and X1-X2, excited H1-H2\n"
    "# 1000 samples per second, 2 samples\n"
    "Time s;Voltage H V;Voltage X V;Current H A;Current X A\n"
    "0.00100000;1.0e+00;2.0e+00;3.0e+00;4.0e+00\n0.00200000;5.0e+00;6.0e+00;7.0e+00;8.0e+00\n";

TEST_F(FactsTest, OfASeriesFileGoByPosition) {
  write("3.4-a;b.csv", kSeries);
  write("3.4-a;b.csv.RAW.csv", kRaw);
  write("other.txt", "not looked at");
  const Facts facts = read_runs(folder_.path());
  ASSERT_EQ(facts.records.size(), 1U);
  const kvr_TestRecord& record = *facts.records[0].nest;
  EXPECT_FALSE(facts.records[0].has_setup());
  EXPECT_EQ(field_text(record.record_id), "a;b");
  EXPECT_EQ(field_text(record.timestamp), "Tue Mar  5 08:00:00 2024");
  ASSERT_EQ(record.data_count, 2U);
  const kvr_TestData_Ratio_1ph& test = *record.data_ratio_1ph[0];
  EXPECT_EQ(test.test_voltage, 100);
  EXPECT_EQ(test.phase.voltage_h, 99);
  EXPECT_EQ(test.phase.tnr, 24.75);
  EXPECT_EQ(test.phase.tnr_error, 0.12);
  EXPECT_FLOAT_EQ(test.phase.current_rms, 0.001F);
  EXPECT_FLOAT_EQ(test.phase.phase_low, static_cast<float>(-std::numbers::pi / 9));
  EXPECT_FLOAT_EQ(test.phase.phase_deviation_from_user_phasing,
                  static_cast<float>(std::numbers::pi / 360));
  EXPECT_EQ(facts.instrument.client_version, "1.2");
  EXPECT_EQ(facts.instrument.software_version, "3.4");
  EXPECT_FALSE(facts.instrument.serial_number);
  EXPECT_EQ(facts.remarks, std::vector<std::string>{
                               "3.4-a;b.csv has a row with too few values, which is left out."});
  ASSERT_EQ(facts.files.size(), 2U);
  EXPECT_EQ(facts.files[1].sha256, tape::sha256(kRaw));
  const auto samples = samples_in(record.raw_data);
  ASSERT_EQ(samples.size(), 1U);
  EXPECT_EQ(samples[0].title, "phase A: H1-H2 and X1-X2, excited H1-H2");
  EXPECT_EQ(samples[0].sample_rate, 1000);
  EXPECT_EQ(samples[0].current_low, (std::vector<double>{4, 8}));
}

TEST(RawSamples, OfAnotherFormAreNone) {
  EXPECT_TRUE(samples_in("1;2;3\n").empty());
  EXPECT_TRUE(samples_in("# RAW samples of phase A\nTime s;U\n1;2\n").empty());
  EXPECT_TRUE(samples_in("").empty());
}

TEST_F(FactsTest, OfAReportFileAreTheResultsOfSinglePhaseTests) {
  write("R1.csv",
        "sep=;\nSerial #:;VI-1\nS/W version;3.4\nDate & Time;Tue Mar  5 08:00:00 2024\n\n"
        "record_id: R1 group_id: G asset_id: A \tratio_down \tX \t #1 \t2024-03-05 08:00:00\n"
        "TEST #1 \tRatio Test DOWN\nTNR ; 25.10000000\nTNR error ; 0.40000000%\n"
        "High side Phase ; H1-H2\nLow side Phase ; X1-X2\nVoltage H ; 100.00000000\n"
        "eFi ; 1.50000000 ; 85.943669 deg\nPhase High ; 90.000000\nVoltage_rms ; 100.50000000\n\n"
        "\nSerial #:;VI-1\nS/W version;3.4\nDate & Time;later\n\n"
        "record_id: R1 group_id:  asset_id:  \tratio_auto \tDyn11 \t #1 \tnow\n"
        "TEST #1 \tVoltage Ratio AUTO (DOWN)\nTNR Ratio A: (H1-H2)/(X1-X2) ; 2.00000000\n\n");
  const Facts facts = read_runs(folder_.path());
  ASSERT_EQ(facts.records.size(), 2U);
  EXPECT_EQ(facts.instrument.serial_number, "VI-1");
  const kvr_TestRecord& record = *facts.records[0].nest;
  EXPECT_EQ(field_text(record.asset_id), "A");
  EXPECT_EQ(field_text(record.timestamp), "2024-03-05 08:00:00");
  ASSERT_TRUE(facts.records[0].has_results);
  const kvr_TestData_Ratio_Phase& phase = record.data_ratio_1ph[0]->phase;
  EXPECT_EQ(phase.tnr, 25.1);
  EXPECT_EQ(phase.tnr_error, 0.4);
  EXPECT_EQ(phase.voltage_h, 100);
  EXPECT_FLOAT_EQ(phase.efi, 1.5F);
  EXPECT_FLOAT_EQ(phase.phase_high, static_cast<float>(std::numbers::pi / 2));
  EXPECT_EQ(field_text(phase.low_side_phase), "X1-X2");
  EXPECT_FALSE(facts.records[1].has_results);
  EXPECT_EQ(facts.records[1].lines[2], (NamedText{"TNR Ratio A: (H1-H2)/(X1-X2)", "2.00000000"}));
}

}  // namespace
}  // namespace report
