#include <algorithm>
#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/corpus.h"
#include "fuzz/fuzz_target.h"

// Runs a target on every input of the corpora, folders and single files given. It prints the name
// of each before it runs, so that the last name is the one at fault. A missing, empty or damaged
// corpus or folder is an error.

namespace {

namespace fs = std::filesystem;

struct Input {
  std::string name;
  std::string bytes;
};

void add_corpus(const fs::path& path, std::vector<Input>& inputs) {
  std::size_t number = 0;
  for (std::string& bytes : read_corpus(path)) {
    inputs.push_back({path.filename().string() + ' ' + std::to_string(++number), std::move(bytes)});
  }
}

void add_folder(const fs::path& path, std::vector<Input>& inputs) {
  std::vector<fs::path> files(fs::directory_iterator(path), {});
  if (files.empty()) {
    throw std::runtime_error(path.string() + ": an empty folder");
  }
  std::sort(files.begin(), files.end());
  for (const fs::path& file : files) {
    inputs.push_back({file.filename().string(), read_bytes(file)});
  }
}

/// Reads all inputs before any of them runs, since a target may change the working folder.
std::vector<Input> read_inputs(const std::vector<fs::path>& paths) {
  std::vector<Input> inputs;
  for (const fs::path& path : paths) {
    if (path.extension() == ".corpus") {
      add_corpus(path, inputs);
    } else if (fs::is_directory(path)) {
      add_folder(path, inputs);
    } else {
      inputs.push_back({path.filename().string(), read_bytes(path)});
    }
  }
  if (inputs.empty()) {
    throw std::runtime_error("nothing to replay");
  }
  return inputs;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<Input> inputs;
  try {
    inputs = read_inputs({argv + 1, argv + argc});
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
  for (const Input& input : inputs) {
    std::cerr << input.name << std::endl;
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.bytes.data()),
                           input.bytes.size());
  }
  std::cerr << inputs.size() << " inputs\n";
}
