#pragma once

#include <filesystem>
#include <ios>
#include <string>

/// A new empty folder for a test, removed with its content at the end.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  /// The path with a separator at its end, as the program stores folders.
  std::string prefix() const;
  /// The content of a file in it; fails the test when there is no such file.
  std::string read(const std::filesystem::path& file, std::ios::openmode mode = {}) const;
  void write(const std::filesystem::path& file, const std::string& content,
             std::ios::openmode mode = {}) const;
  /// Whether it holds nothing.
  bool empty() const { return std::filesystem::is_empty(path_); }

 private:
  std::filesystem::path path_;
};

/// Makes a folder the working folder for as long as it lives.
class WorkingFolder {
 public:
  explicit WorkingFolder(const std::filesystem::path& folder);
  ~WorkingFolder();
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;

 private:
  std::filesystem::path before_;
};
