#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace toml_file {

/// What is wrong in a file, for a person who mends it: "FILE:LINE: KEY: what was expected".
class Problems {
 public:
  explicit Problems(std::string_view file_name) : file_name_(file_name) {}

  /// `key` may be empty. Line 0 stands for a value of the command line, -e. What was already said
  /// is not said again.
  void add(unsigned line, std::string_view key, std::string_view what);

  std::size_t size() const { return found_.size(); }
  bool empty() const { return found_.empty(); }

  /// In the order of their lines: tables come in the order of their names, people read from the
  /// top.
  std::vector<std::string> in_order() const;

 private:
  struct Found {
    unsigned line;
    std::string text;
  };

  std::string file_name_;
  std::vector<Found> found_;
  std::unordered_set<std::string> said_;
};

}  // namespace toml_file
