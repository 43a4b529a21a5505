#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The one writer of HTML and SVG. Names of elements and attributes are literals of the program;
// every text and every value of an attribute is escaped here, so no text of a record becomes
// markup.

namespace report {

/// A literal, and nothing that was computed.
class MarkupName {
 public:
  template <std::size_t size>
  consteval MarkupName(const char (&name)[size]) : name_(name, size - 1) {}  // NOLINT
  std::string_view view() const { return name_; }

 private:
  std::string_view name_;
};

struct Attribute {
  MarkupName name;
  std::string value;
};

using Attributes = std::initializer_list<Attribute>;

/// Well-formed UTF-8 without characters that HTML does not allow: each wrong byte or character
/// becomes U+FFFD, the sign for what can't be shown.
std::string clean_text(std::string_view text);

class Markup {
 public:
  Markup& open(MarkupName element, Attributes attributes = {});
  Markup& close();
  /// An element without content, closed as SVG or as HTML wants it.
  Markup& empty(MarkupName element, Attributes attributes = {});
  Markup& text(std::string_view text);
  /// An element with only a text in it.
  Markup& element(MarkupName name, std::string_view content, Attributes attributes = {});
  Markup& line_end();
  /// A cell of a table: HTML closes these by itself, which halves the size of long tables.
  Markup& unclosed(MarkupName name, std::string_view content, Attributes attributes = {});

  /// Markup of the program's own, such as a style sheet.
  Markup& literal(MarkupName markup);

  std::string take();

 private:
  void begin(MarkupName element, Attributes attributes);

  std::string out_;
  std::vector<std::string_view> open_;
};

}  // namespace report
