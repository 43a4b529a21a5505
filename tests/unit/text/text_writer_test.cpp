#include "text/text_writer.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <iomanip>
#include <limits>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "unit/text/plain_insertion.h"

namespace {

using std::ios_base;

struct Notation {
  const char* name;
  ios_base::fmtflags flags;
};

constexpr Notation kNotations[] = {{"general", ios_base::fmtflags{}},
                                   {"fixed", ios_base::fixed},
                                   {"scientific", ios_base::scientific}};
constexpr int kPrecisions[] = {0, 1, 2, 4, 6, 8, 17, -1};

std::string written(double value, ios_base::fmtflags flags, int precision) {
  std::ostringstream out;
  out.setf(flags, ios_base::floatfield);
  out.precision(precision);
  TextWriter(out) << value;
  return out.str();
}

void expect_as_inserted(double value) {
  for (const Notation& notation : kNotations) {
    for (const int precision : kPrecisions) {
      std::ostringstream expected;
      expected.setf(notation.flags, ios_base::floatfield);
      expected.precision(precision);
      insert_plainly(expected, value);
      ASSERT_EQ(written(value, notation.flags, precision), expected.str())
          << notation.name << ", precision " << precision << ", " << std::hexfloat << value;
    }
  }
}

TEST(TextWriterNumbers, NotFiniteAndSignedZeroAreWords) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const Notation& notation : kNotations) {
    EXPECT_EQ(written(nan, notation.flags, 8), "nan") << notation.name;
    EXPECT_EQ(written(std::copysign(nan, -1.0), notation.flags, 8), "-nan") << notation.name;
    EXPECT_EQ(written(kInfinity, notation.flags, 8), "inf") << notation.name;
    EXPECT_EQ(written(-kInfinity, notation.flags, 8), "-inf") << notation.name;
  }
  EXPECT_EQ(written(-0.0, ios_base::fixed, 8), "-0.00000000");
  EXPECT_EQ(written(-0.0, {}, 6), "-0");
  EXPECT_EQ(written(-0.001, ios_base::fixed, 1), "-0.0");
}

TEST(TextWriterNumbers, WidenedSinglesShowTheirDigits) {
  EXPECT_EQ(written(0.1F, ios_base::fixed, 8), "0.10000000");
  EXPECT_EQ(written(230.1F, ios_base::fixed, 8), "230.10000610");
  EXPECT_EQ(written(1234567.0F, {}, 6), "1.23457e+06");
  EXPECT_EQ(written(100000.0F, {}, 6), "100000");
}

TEST(TextWriterNumbers, TiesRoundToEven) {
  EXPECT_EQ(written(0.5, ios_base::fixed, 0), "0");
  EXPECT_EQ(written(1.5, ios_base::fixed, 0), "2");
  EXPECT_EQ(written(2.5, ios_base::fixed, 0), "2");
  EXPECT_EQ(written(0.03125, ios_base::fixed, 4), "0.0312");
  EXPECT_EQ(written(0.25, ios_base::fixed, 1), "0.2");
  EXPECT_EQ(written(0.75, ios_base::fixed, 1), "0.8");
}

TEST(TextWriterNumbers, ExtremesAreAsInserted) {
  using Limits = std::numeric_limits<double>;
  using FloatLimits = std::numeric_limits<float>;
  for (const double value :
       {0.0, Limits::max(), Limits::min(), Limits::denorm_min(), Limits::epsilon(),
        static_cast<double>(FloatLimits::max()), static_cast<double>(FloatLimits::min()),
        static_cast<double>(FloatLimits::denorm_min()), 0.1, 1.0 / 3, 9.9999995, 9.99999949,
        0.00001, 0.000099999995, 999999.5, 1e21, 1e22, 1e23, 123456789.123456789}) {
    expect_as_inserted(value);
    expect_as_inserted(-value);
  }
}

TEST(TextWriterNumbers, LadderOfPowersIsAsInserted) {
  for (int exponent = -1074; exponent < 1024; ++exponent) {
    const double power = std::ldexp(1.0, exponent);
    expect_as_inserted(power);
    expect_as_inserted(std::nextafter(power, 0.0));
  }
  for (int exponent = -320; exponent <= 308; ++exponent) {
    expect_as_inserted(std::pow(10.0, exponent));
    expect_as_inserted(5 * std::pow(10.0, exponent));
  }
}

TEST(TextWriterNumbers, RandomBitsAreAsInserted) {
  std::mt19937_64 random(20240229);
  for (int round = 0; round < 5000; ++round) {
    expect_as_inserted(std::bit_cast<double>(random()));
    expect_as_inserted(std::bit_cast<float>(static_cast<std::uint32_t>(random())));
  }
}

TEST(TextWriterNumbers, MeasuredValuesAreAsInserted) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> value(-1000, 1000);
  for (int round = 0; round < 5000; ++round) {
    expect_as_inserted(value(random));
    expect_as_inserted(static_cast<float>(value(random)));
  }
}

TEST(TextWriterNumbers, PrecisionInTheThousandsIsAsInserted) {
  for (const int precision : {3000, 4096, 9000}) {
    std::ostringstream expected;
    expected << "before" << std::fixed << std::setprecision(precision) << 1.0 / 3 << "behind";
    std::ostringstream out;
    out << std::fixed << std::setprecision(precision);
    TextWriter(out) << "before" << 1.0 / 3 << "behind";
    EXPECT_EQ(out.str(), expected.str()) << precision;
  }
}

TEST(TextWriterNumbers, IntegersAreDecimal) {
  std::ostringstream out;
  TextWriter(out) << std::numeric_limits<std::int32_t>::min() << ' '
                  << std::numeric_limits<std::int32_t>::max() << ' '
                  << std::numeric_limits<std::uint32_t>::max() << ' ' << 0 << ' ' << -1;
  EXPECT_EQ(out.str(), "-2147483648 2147483647 4294967295 0 -1");
}

TEST(TextWriterNumbers, LocaleOfTheStreamIsNotAsked) {
  struct Comma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  std::ostringstream out;
  out.imbue(std::locale(std::locale::classic(), new Comma));
  TextWriter(out) << 1234567.5 << ' ' << 1234567;
  EXPECT_EQ(out.str(), "1.23457e+06 1234567");
}

TEST(TextWriterState, FollowsTheStreamsFormatWhereverItIsChanged) {
  std::ostringstream out;
  std::optional<TextWriter> text(std::in_place, out);
  *text << 2.5 << ' ';
  text->fixed();
  text->precision(4);
  EXPECT_EQ(out.precision(), 4);
  EXPECT_EQ(out.flags() & ios_base::floatfield, ios_base::fixed);
  *text << 2.5 << ' ';
  out.precision(1);
  *text << 2.5 << ' ';
  out.unsetf(ios_base::floatfield);
  out.precision(6);
  *text << 2.5;
  EXPECT_EQ(out.str(), "");  // not before the end
  text.reset();
  EXPECT_EQ(out.str(), "2.5 2.5000 2.5 2.5");
}

TEST(TextWriterTexts, LiteralsViewsStringsAndCharacters) {
  std::ostringstream out;
  const char* const c_text = "pointer";
  TextWriter(out) << "literal" << ',' << std::string_view("view") << ',' << std::string("string")
                  << ',' << c_text << ',' << std::string_view() << "";
  EXPECT_EQ(out.str(), "literal,view,string,pointer,");
}

TEST(TextWriterTexts, FieldEndsAtItsZeroOrItsEnd) {
  struct {
    char full[4] = {'f', 'u', 'l', 'l'};
    char next[8] = "beyond";
    char with_rest[8] = {'a', 'b', '\0', 'r', 'e', 's', 't', '\0'};
    char empty[4] = {};
  } record;
  std::ostringstream out;
  TextWriter(out) << record.full << ',' << record.with_rest << ',' << record.empty << ',';
  EXPECT_EQ(out.str(), "full,ab,,");
}

TEST(TextWriterTexts, LongTextsStayInOrder) {
  for (const std::size_t size : {4095U, 4096U, 4097U, 20000U}) {
    const std::string large(size, 'x');
    std::ostringstream out;
    TextWriter(out) << "a" << large << 1 << large << "b" << 2.5;
    EXPECT_EQ(out.str(), "a" + large + "1" + large + "b2.5") << size;
  }
}

TEST(TextWriterTexts, PiecesOfAllSizesMeetTheBufferAtAllPositions) {
  std::mt19937 random(3);
  std::ostringstream expected;
  std::ostringstream out;
  {
    TextWriter text(out);
    for (int round = 0; round < 20000; ++round) {
      const std::string piece(random() % 30, static_cast<char>('a' + random() % 26));
      expected << piece << round / 7.0 << round;
      text << piece << round / 7.0 << round;
    }
  }
  EXPECT_EQ(out.str(), expected.str());
}

TEST(TextWriterFailures, NullTextLeavesTheStreamBadAndWhatStoodBefore) {
  const char* const null_text = nullptr;
  std::ostringstream out;
  TextWriter(out) << "before" << null_text << "behind" << 1 << 2.5;
  EXPECT_TRUE(out.bad());
  EXPECT_EQ(out.str(), "before");
}

TEST(TextWriterFailures, FailedStreamTakesNothing) {
  std::ostringstream out;
  out << "before";
  out.setstate(ios_base::failbit);
  TextWriter(out) << "behind" << 1 << 2.5;
  EXPECT_EQ(out.str(), "before");
}

TEST(TextWriterFailures, ExceptionLeavesWhatWasWritten) {
  std::ostringstream out;
  try {
    TextWriter text(out);
    text << "before" << 1.5;
    throw std::runtime_error("on its way");
  } catch (const std::runtime_error&) {
  }
  EXPECT_EQ(out.str(), "before1.5");
}

/// Takes nothing at all.
class FullBuffer : public std::streambuf {};

TEST(TextWriterFailures, StreamThatThrowsOnlyStaysFailed) {
  FullBuffer full;
  std::ostream out(&full);
  out.exceptions(ios_base::badbit);
  EXPECT_NO_THROW(TextWriter(out) << "lost");
  EXPECT_TRUE(out.bad());
}

}  // namespace
