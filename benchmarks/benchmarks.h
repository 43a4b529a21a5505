#pragma once

// The groups of benchmarks. A benchmark is named CASE/WHO: the same case done by the program, by
// the least code that could do it (floor), and by others. table.py uses the names.

void register_result_text();
void register_rows();
void register_whole_export();
void register_lookups();
void register_processes();
