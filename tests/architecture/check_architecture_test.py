"""Tests the check of the rooms: a small tree that keeps every rule, and one for each kind of breach."""

import contextlib
import io
import pathlib
import tempfile
import unittest

import check_architecture

PAGE = """# Architecture

| room | what it holds |
|---|---|
| `src/shell/` | menus |
| `src/text/` | words |
| `src/platform/` | the system |
| `src/api/` | records |

Another component:

| room | what it holds |
|---|---|
| `library/` | the calls |
| `library/store/` | a file |
| `src/api/` | shared |
"""

FILES = {
    "docs/architecture.md": PAGE,
    "src/shell/menu.h": '#pragma once\n#include "text/words.h"\n#include "platform/platform.h"\n',
    "src/shell/latest.cpp": '#include "menu.h"\n#include <vector>\n#include <plog/Log.h>\n',
    "src/text/words.h": '#include "api/records.h"\n',
    "src/platform/platform.h": "#include <string>\n",
    "src/platform/posix.cpp": "#include <unistd.h>\n#ifdef __linux__\n#endif\n",
    "src/api/records.h": "#include <cstdint>\n",
    "library/calls.cpp": '#include "library/store/file.h"\n#include "api/records.h"\n',
    "library/store/file.h": '#include "api/records.h"\n#ifdef NDEBUG\n#endif\n',
}


class CheckArchitecture(unittest.TestCase):
    maxDiff = None

    def run_check(self, changes, *options):
        """Exit status and output of the check in the sound tree with some files changed."""
        with tempfile.TemporaryDirectory() as folder:
            for name, text in {**FILES, **changes}.items():
                if text is not None:
                    path = pathlib.Path(folder) / name
                    path.parent.mkdir(parents=True, exist_ok=True)
                    path.write_text(text, encoding="utf-8")
            with contextlib.redirect_stdout(io.StringIO()) as output:
                status = check_architecture.main([*options, folder])
            return status, output.getvalue()

    def expect_breach(self, changes, *lines):
        self.assertEqual(self.run_check(changes), (1, "".join(line + "\n" for line in lines)))

    def test_a_sound_tree_passes(self):
        self.assertEqual(self.run_check({}), (0, "8 files in 7 rows: no breach\n"))

    def test_an_include_may_not_climb(self):
        self.expect_breach(
            {"src/text/words.h": '#include "api/records.h"\n\n#include "shell/menu.h"\n'},
            'src/text/words.h:3: "shell/menu.h" climbs from src/text to src/shell')

    def test_an_include_may_not_climb_within_another_component(self):
        self.expect_breach(
            {"library/store/file.h": '#include "library/calls.h"\n', "library/calls.h": "\n"},
            'library/store/file.h:1: "library/calls.h" climbs from library/store to library')

    def test_a_component_includes_only_rooms_of_its_own_table(self):
        self.expect_breach(
            {"library/calls.cpp": '#include "text/words.h"\n'},
            'library/calls.cpp:1: "text/words.h" is in no room that library may include')

    def test_a_shared_room_may_not_include_rooms_of_the_other_table(self):
        self.expect_breach(
            {"src/api/records.h": '#  include "library/store/file.h"\n'},
            'src/api/records.h:1: "library/store/file.h" is in no room that src/api may include')

    def test_product_files_include_no_test(self):
        self.expect_breach(
            {"src/text/words.h": '#include "tests/words.h"\n', "tests/words.h": "\n"},
            'src/text/words.h:1: "tests/words.h" is in no room that src/text may include')

    def test_an_include_that_is_not_there_is_reported(self):
        self.expect_breach({"src/text/words.h": '#include "text/gone.h"\n'},
                           'src/text/words.h:1: "text/gone.h" does not exist')

    def test_headers_of_the_system_stay_in_the_platform_room(self):
        for header in ("unistd.h", "sys/stat.h", "windows.h"):
            self.expect_breach(
                {"src/text/words.cpp": f"#include <string>\n#include <{header}>\n"},
                f"src/text/words.cpp:2: <{header}> is a header of the system, "
                "outside a platform room")

    def test_macros_of_the_system_stay_in_the_platform_room(self):
        for line in ("#ifdef _WIN32", "#if defined(_WIN32) && 1", "#elif defined _WIN32",
                     "#  ifndef _WIN32"):
            self.expect_breach(
                {"library/calls.cpp": f"\n{line}\n"},
                "library/calls.cpp:2: _WIN32 names a system, outside a platform room")

    def test_a_room_may_not_be_missing_on_the_page(self):
        self.expect_breach({"src/attic/box.h": '#include "shell/menu.h"\n'},
                           "src/attic/box.h:1: src/attic has no row in docs/architecture.md")

    def test_a_room_of_the_page_may_not_be_missing_in_the_tree(self):
        self.expect_breach({"library/store/file.h": None, "library/calls.cpp": "\n"},
                           "docs/architecture.md:15: library/store has no sources")

    def test_a_product_file_is_not_named_like_a_test(self):
        for name in ("test_run.h", "core_tests.cpp", "flow_test.cpp", "pre_test_run.h"):
            self.expect_breach({f"src/text/{name}": "\n"},
                               f"src/text/{name}:1: a product file is named like a test")

    def test_every_breach_is_reported(self):
        self.expect_breach(
            {"src/api/records.h": '#include <fcntl.h>\n#include "text/words.h"\n',
             "library/store/file_test.h": "\n"},
            "src/api/records.h:1: <fcntl.h> is a header of the system, outside a platform room",
            'src/api/records.h:2: "text/words.h" climbs from src/api to src/text',
            "library/store/file_test.h:1: a product file is named like a test")

    def test_a_page_without_rooms_fails(self):
        self.expect_breach({"docs/architecture.md": "# Architecture\n"},
                           "docs/architecture.md:1: no table names a room with sources")

    def test_the_table_counts_includes_between_rooms(self):
        rows = [("library", "library/store", 1), ("library", "src/api", 1),
                ("library/store", "src/api", 1), ("src/shell", "src/platform", 1),
                ("src/shell", "src/text", 1), ("src/text", "src/api", 1)]
        self.assertEqual(
            self.run_check({}, "--table"),
            (0, "".join(f"{room:36}{other:36}{count:4}\n" for room, other, count in rows)))


if __name__ == "__main__":
    unittest.main()
