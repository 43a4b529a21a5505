#include "tape/vocabulary/layouts.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "api/codes.h"

namespace tape {
namespace {

void collect(const Layout& layout, std::size_t start, const std::string& prefix,
             std::vector<PlainMember>& found) {
  for (const Member& member : layout.members) {
    for (std::size_t i = 0; i < member.count; ++i) {
      std::string path = prefix + std::string(member.name);
      if (member.count > 1) {
        path += "[" + std::to_string(i) + "]";
      }
      const std::size_t offset = start + member.offset + i * member.size;
      if (member.record != nullptr) {
        collect(*member.record, offset, path + ".", found);
        continue;
      }
      PlainMember plain{std::move(path), member};
      plain.member.offset = offset;
      plain.member.count = 1;
      found.push_back(std::move(plain));
    }
  }
}

template <class Number>
std::string number_text(std::string_view bytes) {
  Number number{};
  std::memcpy(&number, bytes.data(), sizeof number);
  char text[40];
  const auto result = std::to_chars(std::begin(text), std::end(text), number);
  return {text, result.ptr};
}

std::string integer_text(std::string_view bytes, bool is_signed) {
  switch (bytes.size()) {
    case 1:
      return std::to_string(static_cast<unsigned char>(bytes[0]));
    case 4:
      return is_signed ? number_text<std::int32_t>(bytes) : number_text<std::uint32_t>(bytes);
    case 8:
      return is_signed ? number_text<std::int64_t>(bytes) : number_text<std::uint64_t>(bytes);
    default:
      return hexadecimal(bytes);
  }
}

std::string code_text(std::string_view bytes) {
  std::int32_t number = 0;
  std::memcpy(&number, bytes.data(), sizeof number);
  return std::to_string(number) + " " + std::string(CodeToText(static_cast<kvr_code>(number)));
}

}  // namespace

const Layout* find_layout(std::string_view name) {
  const auto& layouts = all_layouts();
  const auto found = std::find_if(layouts.begin(), layouts.end(),
                                  [&](const Layout* layout) { return layout->name == name; });
  return found == layouts.end() ? nullptr : *found;
}

std::uint64_t layouts_fingerprint() {
  std::uint64_t hash = 0xcbf29ce484222325;  // FNV-1a
  const auto add = [&](std::string_view text) {
    for (const char letter : text) {
      hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001b3;
    }
  };
  for (const Layout* layout : all_layouts()) {
    add(layout->name);
    add(std::to_string(layout->size));
    for (const Member& member : layout->members) {
      add(member.name);
      for (const std::size_t number :
           {member.offset, member.size, member.count, static_cast<std::size_t>(member.type)}) {
        add("," + std::to_string(number));
      }
    }
  }
  return hash;
}

std::vector<PlainMember> plain_members(const Layout& layout) {
  std::vector<PlainMember> found;
  collect(layout, 0, "", found);
  return found;
}

std::string member_text(const PlainMember& member, std::string_view record) {
  const std::string_view bytes = record.substr(member.member.offset, member.member.size);
  switch (member.member.type) {
    case MemberType::kText:
      return in_quotes(bytes.substr(0, bytes.find('\0')));
    case MemberType::kReal:
      return bytes.size() == sizeof(float) ? number_text<float>(bytes) : number_text<double>(bytes);
    case MemberType::kCode:
      return code_text(bytes);
    case MemberType::kPointer:
      return number_text<std::uint64_t>(bytes) == "0" ? "null" : "set";
    default:
      return integer_text(bytes, member.member.is_signed);
  }
}

std::string hexadecimal(std::string_view bytes, std::size_t most) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const char letter : bytes.substr(0, most)) {
    const auto byte = static_cast<unsigned char>(letter);
    text += text.empty() ? "" : " ";
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 15U];
  }
  return text + (bytes.size() > most ? " ..." : "");
}

std::string in_quotes(std::string_view text, std::size_t most) {
  std::string result = "\"";
  for (const char letter : text.substr(0, most)) {
    if (letter == '"' || letter == '\\') {
      result += '\\';
      result += letter;
    } else if (letter >= ' ' && letter <= '~') {
      result += letter;
    } else {
      result += "\\x" + hexadecimal(std::string_view(&letter, 1));
    }
  }
  return result + (text.size() > most ? "\"..." : "\"");
}

}  // namespace tape
