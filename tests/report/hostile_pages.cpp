// Writes pages of random records into a folder: texts that try to be markup, numbers that are none,
// empty and long arrays.
//
//   hostile-pages FOLDER COUNT [SEED]

#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <random>
#include <string_view>

#include "record_form/record_codec.h"
#include "record_form/record_shape.h"
#include "report/page/page.h"
#include "report/sections/sections.h"
#include "virtual_instrument/demonstration/demonstration.h"

namespace {

using Random = std::mt19937;

std::uint32_t below(Random& random, std::size_t count) {
  return static_cast<std::uint32_t>(random() % count);
}

constexpr std::string_view kTexts[] = {"</td><script>alert(1)</script>",
                                       "\"onload=alert(1) x=\"",
                                       "'><img src=x onerror=a()>",
                                       "--></style><b>",
                                       "]]></svg><p>",
                                       "&lt;&#0;&bogus;",
                                       "\xff\xfe\x80",
                                       "\xed\xa0\x80\xc2\x85",
                                       "\x01\x1b[31m\r\n",
                                       "\xe2\x80\xae"
                                       "abc",
                                       "=cmd|' /C calc'!A0",
                                       "",
                                       "a;b,c\"d"};

struct HostileNames {
  Random& random;

  template <std::size_t size>
  void name(char (&field)[size]) {
    const std::string_view text = kTexts[below(random, std::size(kTexts))];
    // Sometimes without its end, as a library could do it.
    std::memset(field, below(random, 4) == 0 ? '<' : 0, size);
    text.substr(0, size).copy(field, size);
  }
  template <class Record>
  void one(Record*& record) {
    if (record != nullptr) {
      describe(*record, *this);
    }
  }
  template <class Record>
  void block(Record*& records, std::uint32_t count) {
    for (std::uint32_t i = 0; records != nullptr && i < count; ++i) {
      describe(records[i], *this);
    }
  }
  template <class Record>
  void each(Record**& records, std::uint32_t count) {
    for (std::uint32_t i = 0; records != nullptr && i < count; ++i) {
      one(records[i]);
    }
  }
  void text(const char*& text) {
    delete[] text;
    text = nullptr;
    const std::string_view end = kTexts[below(random, std::size(kTexts))];
    if (below(random, 2) == 0) {
      text = new_text("# RAW samples of " + std::string(end) +
                      "\n# 1000 samples per second, 2 samples\n"
                      "Time s;Voltage H V;Voltage X V;Current H A;Current X A\n"
                      "0.001;nan;inf;-inf;1e300\n0.002;1;2;3;<b>\n");
    }
  }
};

/// Some words of the stored form become other numbers; what can't be decoded then is left as it
/// was.
RecordNest with_wild_numbers(const kvr_TestRecord& record, Random& random) {
  const auto form = encode_record(record);
  for (int attempt = 0; attempt < 20; ++attempt) {
    auto bytes = *form;
    for (std::uint32_t change = below(random, 60); change > 0; --change) {
      const std::size_t at = 8 + below(random, bytes.size() - 16) / 4 * 4;
      const float floats[] = {std::nanf(""), HUGE_VALF, -HUGE_VALF, 0.0F, -0.0F,
                              1e38F,         1e-42F,    -1.0F,      1.5F};
      const double doubles[] = {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e308, -1e308, 4e-320};
      if (below(random, 2) == 0) {
        std::memcpy(&bytes[at], &floats[below(random, std::size(floats))], 4);
      } else {
        std::memcpy(&bytes[at], &doubles[below(random, std::size(doubles))], 8);
      }
    }
    if (RecordNest wild = decode_record(bytes)) {
      return wild;
    }
  }
  return decode_record(*form);
}

/// The same record with its tests many times over.
RecordNest repeated(const kvr_TestRecord& record, std::size_t times) {
  const auto form = encode_record(record);
  std::vector<RecordNest> parts;
  for (std::size_t i = 0; i < times; ++i) {
    parts.push_back(decode_record(*form));
  }
  return join_records(std::move(parts));
}

template <typename Value>
void append(std::vector<Value>& values, std::vector<Value> more) {
  values.insert(values.end(), std::make_move_iterator(more.begin()),
                std::make_move_iterator(more.end()));
}

std::string page_of(RecordNest nest, bool is_compared) {
  const report::Record record{std::move(nest), report::Origin::kStore, "<file>.db", {}, true};
  report::PageContent content;
  content.files.push_back({"<i>&amp;.db", 7, std::string(64, 'a')});
  content.remarks.emplace_back(kTexts[0]);
  content.program_version = "<0>";
  content.instrument.serial_number = kTexts[1];
  content.instrument.calibration_date = kTexts[3];
  report::Settings settings;
  content.sections.push_back(report::section_of(record, settings));
  if (is_compared) {
    settings.texts["report.decimal_separator"] = ",";
    const std::vector<report::Section> alone = content.sections;
    append(content.sections, report::phase_sections(alone, settings));
    append(content.sections, report::comparison_sections(alone, alone));
  }
  settings.texts["customer.name"] = kTexts[2];
  settings.texts["report.title"] = kTexts[0];
  return report::render_page(content, settings);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "hostile-pages FOLDER COUNT [SEED]\n";
    return 1;
  }
  const std::filesystem::path folder = argv[1];
  const int count = std::atoi(argv[2]);
  Random random(argc > 3 ? static_cast<unsigned>(std::atoi(argv[3])) : 1U);
  const auto samples = virtual_instrument::demonstration_records();
  for (int i = 0; i < count; ++i) {
    const kvr_TestRecord& sample = *samples[below(random, samples.size())].record;
    RecordNest record = with_wild_numbers(sample, random);
    if (i % 50 == 49) {
      record = repeated(*record, 20);
    }
    if (i == 0) {  // a ratio test of one phase; a parser takes a minute for the longest
      record = repeated(*samples[7].record, count < 1000 ? 300 : 10'000);
    }
    HostileNames names{random};
    describe(*record, names);
    std::ofstream(folder / (std::to_string(i) + ".html"), std::ios::binary)
        << page_of(std::move(record), i % 3 == 1);
  }
}
