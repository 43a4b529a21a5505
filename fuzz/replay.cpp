#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/fuzz_target.h"

// Runs a target on every file of the folders and on the files given, in the order of their names.
// An empty corpus is a mistake.

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> inputs(int count, char** names) {
  std::vector<fs::path> files;
  for (int i = 0; i < count; ++i) {  // a target may change the working folder
    if (fs::is_directory(names[i])) {
      for (const fs::directory_entry& entry : fs::directory_iterator(fs::absolute(names[i]))) {
        files.push_back(entry.path());
      }
    } else {
      files.push_back(fs::absolute(names[i]));
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<fs::path> files = inputs(argc - 1, argv + 1);
  for (const fs::path& path : files) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
      std::cerr << path.string() << ": can't be read\n";
      return 1;
    }
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    std::cerr << path.filename().string() << std::endl;  // the last one named is the one at fault
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  std::cerr << files.size() << " inputs\n";
  return files.empty() ? 1 : 0;
}
