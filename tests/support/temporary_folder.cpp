#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
  std::random_device random;
  do {
    path_ = fs::temp_directory_path() / ("kvr-test-" + std::to_string(random()));
  } while (!fs::create_directory(path_));
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TemporaryFolder::prefix() const { return (path_ / "").string(); }

std::string TemporaryFolder::read(const fs::path& file, std::ios::openmode mode) const {
  std::ifstream input(path_ / file, mode);
  EXPECT_TRUE(input.good()) << "no file " << file;
  return {std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
}

void TemporaryFolder::write(const fs::path& file, const std::string& content,
                            std::ios::openmode mode) const {
  std::ofstream(path_ / file, mode) << content;
}

WorkingFolder::WorkingFolder(const fs::path& folder) : before_(fs::current_path()) {
  fs::current_path(folder);
}

WorkingFolder::~WorkingFolder() { fs::current_path(before_); }
