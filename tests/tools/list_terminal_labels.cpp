#include <fstream>
#include <iostream>

#include "support/terminal_label_listing.h"

/// Writes the listing of all terminal labels to the file named on the command line.
int main(int argument_count, char** arguments) {
  if (argument_count != 2) {
    std::cerr << "usage: list-terminal-labels <file to write>\n";
    return 2;
  }
  std::ofstream file(arguments[1], std::ios::binary);
  file << terminal_label_listing::text() << std::flush;
  if (!file.good()) {
    std::cerr << "list-terminal-labels: can't write " << arguments[1] << '\n';
    return 1;
  }
  return 0;
}
