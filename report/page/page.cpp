#include "report/page/page.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>

#include "report/facts/checksums.h"
#include "report/figures/numbers.h"
#include "report/page/style.h"

namespace report {
namespace {

constexpr std::size_t kIdentification = 16;  // characters

class Page {
 public:
  Page(const PageContent& content, const Settings& settings)
      : content_(content),
        settings_(settings),
        has_comma_(settings.has_decimal_comma()),
        identification_(identification_of(content.files)) {}

  std::string render() {
    head();
    out_.open("main").element("h1", title()).line_end();
    front();
    summary();
    for (const Section& section : content_.sections) {
      write(section);
    }
    files();
    end();
    out_.close().line_end().close().line_end().close().line_end();
    return out_.take();
  }

 private:
  std::string title() const { return settings_.text("report.title").value_or("Test report"); }

  std::string setting(std::string_view key) const { return stated(settings_.text(key)); }

  std::string number(std::string_view key, std::string_view unit) const {
    const auto value = settings_.number(key);
    return value ? localized(shortest(*value)) + " " + std::string(unit) : std::string(kNotStated);
  }

  /// A number with the decimal sign that report.toml asks for.
  std::string localized(std::string number) const {
    if (has_comma_) {
      std::replace(number.begin(), number.end(), '.', ',');
    }
    return number;
  }

  void head() {
    out_.literal("<!DOCTYPE html>\n");
    out_.open("html", {{"lang", "en"}}).line_end();
    out_.open("head").empty("meta", {{"charset", "utf-8"}}).line_end();
    out_.empty("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
    // Should a text ever become markup in spite of everything, it can neither run nor load.
    out_.empty("meta",
               {{"http-equiv", "Content-Security-Policy"},
                {"content", "default-src 'none'; style-src 'unsafe-inline'; img-src data:"}});
    out_.empty("link", {{"rel", "icon"}, {"href", "data:,"}}).line_end();
    out_.element("title", title()).line_end();
    write_style(out_, identification_);
    out_.close().line_end().open("body").line_end();
  }

  void list(const std::vector<NamedText>& facts) {
    if (facts.empty()) {
      return;
    }
    out_.open("dl");
    for (const auto& [name, value] : facts) {
      out_.element("dt", name).element("dd", value).line_end();
    }
    out_.close().line_end();
  }

  void front() {
    const Instrument& device = content_.instrument;
    const auto instrument = [&](const std::optional<std::string>& fact, std::string_view key) {
      return fact ? *fact : setting(key);
    };
    list({{"Report", setting("report.number")},
          {"Identification", identification_},
          {"Date of issue", setting("report.date")},
          {"Laboratory", setting("laboratory.name")},
          {"Place", setting("laboratory.place")},
          {"Customer", setting("customer.name")},
          {"Address", setting("customer.address")},
          {"Order", setting("customer.order")},
          {"Item", setting("item.description")},
          {"Manufacturer", setting("item.manufacturer")},
          {"Serial number of the item", setting("item.serial_number")},
          {"Year", setting("item.year")},
          {"Condition of the item", setting("item.condition")},
          {"Method", setting("report.method")},
          {"Deviations from the method", setting("report.deviations")},
          {"Nameplate", nameplate()},
          {"Conductor", setting("nameplate.conductor")},
          {"Ambient temperature", number("conditions.ambient_temperature",
                                         "\xc2\xb0"
                                         "C")},
          {"Winding temperature", number("conditions.winding_temperature",
                                         "\xc2\xb0"
                                         "C")},
          {"Humidity", number("conditions.humidity", "%")},
          {"Instrument", instrument(device.type, "instrument.type")},
          {"Serial number of the instrument",
           instrument(device.serial_number, "instrument.serial_number")},
          {"Versions", versions()},
          {"Calibration", calibration()},
          {"Rule of decision", settings_.rule().text()},
          {"Uncertainty", uncertainty()},
          {"Remarks", setting("report.remarks")}});
    out_.element("p", "The results relate only to the item tested.").line_end();
    for (const std::string& remark : content_.remarks) {
      out_.element("p", remark, {{"class", "w"}}).line_end();
    }
  }

  std::string nameplate() const {
    return number("nameplate.high_voltage", "V") + " / " + number("nameplate.low_voltage", "V") +
           ", " + number("nameplate.power", "kVA") + ", " + setting("nameplate.vector_group") +
           ", impedance " + number("nameplate.impedance", "%");
  }

  std::string versions() const {
    const Instrument& device = content_.instrument;
    return "hardware " + stated(device.hardware_version) + ", software " +
           stated(device.software_version) + ", firmware " + stated(device.firmware_version) +
           ", client library " + stated(device.client_version);
  }

  std::string uncertainty() const {
    const bool has_any =
        std::any_of(settings_.values.begin(), settings_.values.end(), [](const auto& value) {
          return value.first.starts_with("uncertainty.") && value.first != "uncertainty.k";
        });
    return has_any ? "U = k sqrt(uA\xc2\xb2 + uB\xc2\xb2), k = " +
                         localized(shortest(settings_.coverage_factor()))
                   : "uncertainty not stated";
  }

  static std::optional<std::chrono::sys_days> day_of(const std::optional<std::string>& text) {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    if (!text || text->size() < 10) {
      return std::nullopt;
    }
    const char* const begin = text->data();
    std::from_chars(begin, begin + 4, year);
    std::from_chars(begin + 5, begin + 7, month);
    std::from_chars(begin + 8, begin + 10, day);
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                           std::chrono::day(day)};
    return date.ok() ? std::optional(std::chrono::sys_days(date)) : std::nullopt;
  }

  /// The date, its age at the date of the report, and a flag for one that is too old.
  std::string calibration() const {
    auto date = content_.instrument.calibration_date;
    if (!date) {
      date = settings_.text("instrument.calibration_date");
    }
    const auto calibrated = day_of(date);
    const auto issued = day_of(settings_.text("report.date"));
    if (!calibrated || !issued) {
      return stated(date) + (date ? ", age not stated: the report has no date" : "");
    }
    const auto days = (*issued - *calibrated).count();
    const double months = settings_.number("instrument.calibration_months").value_or(12);
    const bool is_old = static_cast<double>(days) > months * 365.25 / 12;
    return *date + ", " + std::to_string(days) + " days before this report" +
           (is_old ? ": OLDER THAN " + localized(shortest(months)) + " MONTHS" : "");
  }

  /// Every verdict of the report in one table, and the words that they may carry.
  void summary() {
    out_.element("h2", "Summary").line_end();
    std::array<std::size_t, 5> counts{};
    for (const Section& section : content_.sections) {
      for (const Finding& finding : section.findings) {
        ++counts[static_cast<std::size_t>(finding.verdict)];
      }
    }
    std::string text;
    for (std::size_t i = 0; i < counts.size(); ++i) {
      if (counts[i] > 0) {
        text += (text.empty() ? "" : ", ") + std::to_string(counts[i]) + " " +
                std::string(verdict_text(static_cast<Verdict>(i)));
      }
    }
    out_.element("p", text.empty() ? "No value was compared with a limit."
                                   : "Values compared with limits: " + text + ".");
    out_.element(
            "p",
            "Verdicts hold for the points tested, by the rule of decision above. Limits of field "
            "practice are indicative.")
        .line_end();
    if (content_.sections.size() > 1) {
      out_.open("ol");
      for (std::size_t i = 0; i < content_.sections.size(); ++i) {
        out_.open("li")
            .element("a", content_.sections[i].title, {{"href", "#t" + std::to_string(i + 1)}})
            .close()
            .line_end();
      }
      out_.close().line_end();
    }
  }

  void write(const Section& section) {
    ++section_number_;
    out_.open("section", {{"id", "t" + std::to_string(section_number_)}});
    out_.element("h2", section.title).line_end();
    list(section.facts);
    write(section.findings);
    for (const Picture& picture : section.pictures) {
      out_.open("figure");
      std::visit([&](const auto& each) { draw(out_, each, ++picture_number_); }, picture);
      out_.close().line_end();
    }
    for (const Table& table : section.tables) {
      write(table);
    }
    for (const std::string& note : section.notes) {
      out_.element("p", note).line_end();
    }
    out_.close().line_end();
  }

  void open_table(const std::string& title) {
    out_.open("div", {{"class", "scroll"},
                      {"role", "region"},
                      {"tabindex", "0"},
                      {"aria-label", title + ", table " + std::to_string(++table_number_)}});
    out_.open("table");
  }

  void write(const std::vector<Finding>& findings) {
    if (findings.empty()) {
      return;
    }
    out_.element("h3", "Verdicts");
    open_table("Verdicts");
    out_.open("thead").open("tr");
    for (const std::string_view heading :
         {"quantity", "value", "limit", "deviation", "U", "verdict", "source of the limit"}) {
      out_.element("th", heading, {{"scope", "col"}});
    }
    out_.close().close().open("tbody").line_end();
    for (const Finding& finding : findings) {
      out_.unclosed("tr", "").unclosed("td", finding.quantity);
      for (const std::string* const text :
           {&finding.value, &finding.limit, &finding.deviation, &finding.uncertainty}) {
        out_.unclosed("td", localized(*text));
      }
      out_.unclosed("td", verdict_text(finding.verdict), {{"class", "v"}})
          .unclosed("td", finding.source)
          .line_end();
    }
    out_.close().close().close().line_end();
  }

  void write(const Table& table) {
    out_.element("h3", table.title);
    open_table(table.title);
    out_.open("thead").open("tr");
    for (const Column& column : table.columns) {
      const std::string heading = column.heading + (column.unit.empty() ? "" : ", " + column.unit);
      if (column.is_number) {
        out_.element("th", heading, {{"scope", "col"}, {"class", "n"}});
      } else {
        out_.element("th", heading, {{"scope", "col"}});
      }
    }
    out_.close().close().open("tbody").line_end();
    for (const auto& row : table.rows) {
      out_.unclosed("tr", "");
      for (std::size_t i = 0; i < row.size(); ++i) {
        if (table.columns[i].is_number) {
          out_.unclosed("td", localized(row[i].shown), {{"class", "n"}});
        } else {
          out_.unclosed("td", row[i].shown);
        }
      }
      out_.line_end();
    }
    out_.close().close().close().line_end();
    if (!table.note.empty()) {
      out_.element("p", table.note);
    }
    csv(table);
  }

  /// A value of a CSV text, in quotes where it holds what separates.
  std::string csv_value(const Column& column, const Cell& cell) const {
    const std::string& text = cell.exact.empty() ? cell.shown : cell.exact;
    if (column.is_number) {
      return localized(text);
    }
    if (text.find_first_of(",;\"\n\r") == std::string::npos) {
      return text;
    }
    std::string quoted = "\"";
    for (const char character : text) {
      quoted += character == '"' ? "\"\"" : std::string(1, character);
    }
    return quoted + "\"";
  }

  void csv(const Table& table) {
    const char* const separator = has_comma_ ? ";" : ",";
    out_.open("details").element("summary", "CSV of \xe2\x80\x9c" + table.title + "\xe2\x80\x9d");
    out_.open("pre", {{"tabindex", "0"}}).line_end();
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
      const Column& column = table.columns[i];
      const Cell heading{column.heading + (column.unit.empty() ? "" : " in " + column.unit), {}};
      out_.text(i == 0 ? "" : separator).text(csv_value({{}, {}, false}, heading));
    }
    out_.line_end();
    for (const auto& row : table.rows) {
      for (std::size_t i = 0; i < row.size(); ++i) {
        out_.text(i == 0 ? "" : separator).text(csv_value(table.columns[i], row[i]));
      }
      out_.line_end();
    }
    out_.close().close().line_end();
  }

  void files() {
    Table table{"Files", {{"name", "", false}, {"bytes"}, {"SHA-256", "", false}}, {}, {}};
    for (const SourceFile& file : content_.files) {
      table.rows.push_back(
          {text_cell(file.name), text_cell(std::to_string(file.size)), text_cell(file.sha256)});
    }
    out_.element("h2", "Files and signatures").line_end();
    write(table);
  }

  void end() {
    out_.open("div", {{"class", "sign"}});
    out_.element("div", "Tested by: " + setting("people.operator"));
    out_.element("div", "Authorised by: " + setting("people.authorised_by"));
    out_.close().line_end();
    out_.element("p", "Made by kvr-report " + content_.program_version + ". End of report " +
                          identification_ + ".");
  }

  const PageContent& content_;
  const Settings& settings_;
  bool has_comma_;
  std::string identification_;
  Markup out_;
  int section_number_ = 0;
  int picture_number_ = 0;
  int table_number_ = 0;
};

}  // namespace

std::string identification_of(const std::vector<SourceFile>& files) {
  std::string sums;
  for (const SourceFile& file : files) {
    sums += file.sha256 + "\n";
  }
  return sha256(sums).substr(0, kIdentification);
}

std::string render_page(const PageContent& content, const Settings& settings) {
  return Page(content, settings).render();
}

}  // namespace report
