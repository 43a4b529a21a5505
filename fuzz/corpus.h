#pragma once

#include <filesystem>
#include <string>
#include <vector>

// A corpus file holds the inputs with which a fuzz target has reached new code:
//
//   corpus of 2 inputs, CRC-32 9754145e
//   0:
//   5:bytes
//
// The first line counts the inputs and has the checksum of all that follows it. Then comes each
// input: its length, a colon, its bytes, a line feed. They are sorted by length and then by their
// bytes, without duplicates, so the same inputs always make the same file. corpus.py packs and
// unpacks it.

/// Throws std::runtime_error, which names the file, if it is damaged or has no inputs.
std::vector<std::string> read_corpus(const std::filesystem::path& path);

/// The bytes of any file. Throws std::runtime_error where it can't be read.
std::string read_bytes(const std::filesystem::path& path);
