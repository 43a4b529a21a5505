#include "report/markup/markup.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace report {
namespace {

constexpr std::string_view kReplacement = "\xef\xbf\xbd";

struct Character {
  std::uint32_t code;
  std::size_t size;  ///< in bytes; 0 for a byte that begins no character
};

bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xc0) == 0x80; }

/// Bytes of the character that begins with `lead`; 0 for a byte that begins none.
std::size_t size_after(unsigned char lead) {
  if (lead < 0x80) {
    return 1;
  }
  if (lead < 0xc2 || lead >= 0xf5) {
    return 0;
  }
  return lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
}

Character first_of(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t size = size_after(lead);
  if (size <= 1) {
    return {lead, size};
  }
  if (text.size() < size ||
      !std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(size),
                   is_continuation)) {
    return {0, 0};
  }
  std::uint32_t code = lead & (0xffU >> (size + 1));
  for (std::size_t i = 1; i < size; ++i) {
    code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3f);
  }
  constexpr std::array<std::uint32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
  const bool is_surrogate = code >= 0xd800 && code < 0xe000;
  return code < kSmallest[size] || code > 0x10ffff || is_surrogate ? Character{0, 0}
                                                                   : Character{code, size};
}

/// Whether a character may stand in HTML.
bool is_allowed(std::uint32_t code) {
  const bool is_control =
      (code < 0x20 && code != '\t' && code != '\n') || (code >= 0x7f && code < 0xa0);
  const bool is_no_character = (code & 0xfffe) == 0xfffe || (code >= 0xfdd0 && code <= 0xfdef);
  return !is_control && !is_no_character;
}

void append_escaped(std::string& out, std::string_view text) {
  for (const char character : text) {
    switch (character) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += character;
    }
  }
}

bool is_plain(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](unsigned char byte) {
    return (byte >= 0x20 && byte < 0x7f) || byte == '\n' || byte == '\t';
  });
}

}  // namespace

std::string clean_text(std::string_view text) {
  if (is_plain(text)) {
    return std::string(text);
  }
  std::string clean;
  while (!text.empty()) {
    const Character character = first_of(text);
    const std::size_t size = std::max<std::size_t>(character.size, 1);
    clean += character.size > 0 && is_allowed(character.code) ? text.substr(0, size) : kReplacement;
    text.remove_prefix(size);
  }
  return clean;
}

void Markup::begin(MarkupName element, Attributes attributes) {
  out_ += '<';
  out_ += element.view();
  for (const Attribute& attribute : attributes) {
    out_ += ' ';
    out_ += attribute.name.view();
    out_ += "=\"";
    append_escaped(out_, clean_text(attribute.value));
    out_ += '"';
  }
}

Markup& Markup::open(MarkupName element, Attributes attributes) {
  begin(element, attributes);
  out_ += '>';
  open_.push_back(element.view());
  return *this;
}

Markup& Markup::close() {
  out_ += "</";
  out_ += open_.back();
  out_ += '>';
  open_.pop_back();
  return *this;
}

Markup& Markup::empty(MarkupName element, Attributes attributes) {
  begin(element, attributes);
  const bool is_in_svg = std::find(open_.begin(), open_.end(), "svg") != open_.end();
  out_ += is_in_svg ? "/>" : ">";
  return *this;
}

Markup& Markup::text(std::string_view text) {
  append_escaped(out_, is_plain(text) ? text : clean_text(text));
  return *this;
}

Markup& Markup::element(MarkupName name, std::string_view content, Attributes attributes) {
  return open(name, attributes).text(content).close();
}

Markup& Markup::line_end() {
  out_ += '\n';
  return *this;
}

Markup& Markup::unclosed(MarkupName name, std::string_view content, Attributes attributes) {
  begin(name, attributes);
  out_ += '>';
  return text(content);
}

Markup& Markup::literal(MarkupName markup) {
  out_ += markup.view();
  return *this;
}

std::string Markup::take() { return std::move(out_); }

}  // namespace report
