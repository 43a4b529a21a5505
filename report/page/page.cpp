#include "report/page/page.h"

#include <algorithm>
#include <array>

#include "report/figures/numbers.h"
#include "report/page/csv.h"
#include "report/page/front_matter.h"
#include "report/page/style.h"
#include "tape/format/sha256.h"

namespace report {
namespace {

constexpr std::size_t kIdentification = 16;  // characters

class Page {
 public:
  Page(const PageContent& content, const Settings& settings)
      : content_(content), settings_(settings), identification_(identification_of(content.files)) {}

  std::string render() {
    head();
    out_.open("main").element("h1", title()).line_end();
    list(front_matter(content_, settings_));
    out_.element("p", "The results relate only to the item tested.").line_end();
    for (const std::string& remark : content_.remarks) {
      out_.element("p", remark, {{"class", "w"}}).line_end();
    }
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
  /// Words of ours with numbers among them.
  std::string prose(const std::string& text) const {
    return settings_.has_decimal_comma() ? with_decimal_commas(text) : text;
  }

  std::string title() const { return settings_.text("report.title").value_or("Test report"); }

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
      std::visit(
          [&](const auto& each) {
            draw(out_, each, ++picture_number_, settings_.has_decimal_comma());
          },
          picture);
      out_.close().line_end();
    }
    for (const Table& table : section.tables) {
      write(table);
    }
    for (const std::string& note : section.notes) {
      out_.element("p", prose(note)).line_end();
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
      out_.unclosed("tr", "").unclosed("td", prose(finding.quantity));
      for (const std::string* const text :
           {&finding.value, &finding.limit, &finding.deviation, &finding.uncertainty}) {
        out_.unclosed("td", localized(*text, settings_));
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
          out_.unclosed("td", localized(row[i].shown, settings_), {{"class", "n"}});
        } else {
          out_.unclosed("td", row[i].shown);
        }
      }
      out_.line_end();
    }
    out_.close().close().close().line_end();
    if (!table.note.empty()) {
      out_.element("p", prose(table.note));
    }
    out_.open("details").element("summary", "CSV of \xe2\x80\x9c" + table.title + "\xe2\x80\x9d");
    out_.element("pre", csv_text(table, settings_), {{"tabindex", "0"}}).close().line_end();
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
    out_.element("div", "Tested by: " + stated(settings_.text("people.operator")));
    out_.element("div", "Authorised by: " + stated(settings_.text("people.authorised_by")));
    out_.close().line_end();
    out_.element("p", "Made by kvr-report " + content_.program_version + ". End of report " +
                          identification_ + ".");
  }

  const PageContent& content_;
  const Settings& settings_;
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
  return tape::sha256(sums).substr(0, kIdentification);
}

std::string render_page(const PageContent& content, const Settings& settings) {
  return Page(content, settings).render();
}

}  // namespace report
