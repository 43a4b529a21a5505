"""Checks the tree against the tables of rooms in docs/architecture.md and the pages beside it that
begin with its name, as docs/architecture-report.md.

  check_architecture.py [--table] [ROOT]

Prints "file:line: what is wrong" for each breach and fails if there is one:
  - an include of a room that stands further up in the table, or that is in no table with the file
  - a header of the system, or a macro that names one, outside a folder "platform"
  - a folder with sources that has no row, and a row without a folder
  - a product file named like a test
--table prints instead how often each room includes each other room.
"""

import argparse
import collections
import pathlib
import re
import sys

PAGE = "docs/architecture.md"

# Headers of packages, each with the reason why it need not be in a platform room. Any other header
# with a dot or a slash in its name is one of the system; those of C++ have neither.
PACKAGE_HEADERS = {
    "CLI/CLI.hpp": "a command line, the same on every system",
    "nlohmann/json.hpp": "JSON, the same on every system",
    "plog/Log.h": "the log, the same on every system",
    "sqlite3.h": "the record store, the same on every system",
    "toml++/toml.h": "files in TOML, the same on every system",
    "utf8cpp/utf8.h": "files in TOML, the same on every system",
}

ROW = re.compile(r"\| `([\w/]+)/` \|")
INCLUDE = re.compile(r'\s*#\s*include\s*([<"])([^>"]+)[>"]')
SYSTEM_MACRO = re.compile(r"\s*#\s*(?:el)?if.*\b(_WIN32|_MSC_VER|__\w*(?:linux|unix|APPLE|MINGW)\w*)\b")
TEST_NAME = re.compile(r"(^|_)tests?(_|$)")


def read_tables(root, page):
    """The tables of rooms on the page: for each its rooms from the highest to the lowest, with
    their page and line number."""
    tables, rows = [], {}
    for number, line in enumerate((root / page).read_text(encoding="utf-8").splitlines(), 1):
        if row := ROW.match(line):
            rows[row[1]] = page, number
        elif rows and not line.startswith("|"):
            tables.append(rows)
            rows = {}
    return tables + [rows] if rows else tables


def sources(root, component):
    return sorted(path for path in (root / component).rglob("*") if path.suffix in (".h", ".cpp"))


class Tree:
    def __init__(self, root):
        self.root = root
        others = sorted((root / PAGE).parent.glob("architecture-*.md"))
        self.tables = [table for page in [PAGE, *map(self.name, others)]
                       for table in read_tables(root, page)]
        self.components = list(dict.fromkeys(room.split("/")[0] for rows in self.tables
                                             for room in rows))
        self.files = [path for component in self.components for path in sources(root, component)]

    def name(self, path):
        return path.relative_to(self.root).as_posix()

    def room_of(self, path):
        return self.name(path.parent)

    def table_of(self, room):
        """The first table that has the room: in a later table it is one that the others may use."""
        return next((list(rows) for rows in self.tables if room in rows), [])

    def included_file(self, path, include):
        candidates = (self.root / "src" / include, self.root / include, path.parent / include)
        return next((file.resolve() for file in candidates if file.is_file()), None)

    def includes(self, path):
        """For each include its line, whether it is in angle brackets, and its name."""
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            if include := INCLUDE.match(line):
                yield number, include[1] == "<", include[2]


def wrong_includes(tree, path):
    room = tree.room_of(path)
    table = tree.table_of(room)
    for number, of_system, include in tree.includes(path):
        if of_system:
            if (re.search(r"[./]", include) and include not in PACKAGE_HEADERS and
                    path.parent.name != "platform"):
                yield number, f"<{include}> is a header of the system, outside a platform room"
            continue
        file = tree.included_file(path, include)
        if file is None:
            yield number, f'"{include}" does not exist'
        elif (other := tree.room_of(file)) not in table:
            yield number, f'"{include}" is in no room that {room} may include'
        elif table.index(other) < table.index(room):
            yield number, f'"{include}" climbs from {room} to {other}'


def wrong_macros(path):
    if path.parent.name != "platform":
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            if macro := SYSTEM_MACRO.match(line):
                yield number, f"{macro[1]} names a system, outside a platform room"


def breaches(tree):
    """Every breach as file, line and what is wrong."""
    rooms_of_files = {}
    for path in tree.files:
        rooms_of_files.setdefault(tree.room_of(path), path)
    for room, path in sorted(rooms_of_files.items()):
        if not tree.table_of(room):
            yield tree.name(path), 1, f"{room} has no row in {PAGE}"
    for rows in tree.tables:
        for room, (page, number) in rows.items():
            if room not in rooms_of_files:
                yield page, number, f"{room} has no sources"
    for path in tree.files:
        if TEST_NAME.search(path.stem):
            yield tree.name(path), 1, "a product file is named like a test"
        if tree.table_of(tree.room_of(path)):
            for number, what in [*wrong_includes(tree, path), *wrong_macros(path)]:
                yield tree.name(path), number, what


def print_table(tree):
    counts = collections.Counter()
    for path in tree.files:
        for _, of_system, include in tree.includes(path):
            file = None if of_system else tree.included_file(path, include)
            if file is not None and tree.room_of(file) != tree.room_of(path):
                counts[tree.room_of(path), tree.room_of(file)] += 1
    for (room, other), count in sorted(counts.items()):
        print(f"{room:36}{other:36}{count:4}")


def main(words=None):
    parser = argparse.ArgumentParser()
    parser.add_argument("--table", action="store_true")
    parser.add_argument("root", nargs="?", type=pathlib.Path,
                        default=pathlib.Path(__file__).parents[2])
    arguments = parser.parse_args(words)
    tree = Tree(arguments.root.resolve())
    if arguments.table:
        print_table(tree)
        return 0
    found = list(breaches(tree))
    for name, number, what in found:
        print(f"{name}:{number}: {what}")
    if not tree.files:
        print(f"{PAGE}:1: no table names a room with sources")
    elif not found:
        print(f"{len(tree.files)} files in {sum(map(len, tree.tables))} rows: no breach")
    return 1 if found or not tree.files else 0


if __name__ == "__main__":
    sys.exit(main())
