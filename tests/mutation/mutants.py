"""Writes mutants into a copy of the sources.

All mutants of a file are compiled in together, each behind a question to mutant.h whether it is the
chosen one, so that one build serves them all. A mutant changes one thing:

  comparison   < becomes <= and >=, == becomes !=, and the like
  arithmetic   + becomes -, << becomes >>, ++ becomes --, a sign is dropped, and the like
  constant     a number is one more, a character the next one, true is false
  condition    && becomes ||, a condition is negated
  statement    a call, an assignment, a break, a continue or a throw is dropped
  text         two neighbouring characters of a text change places

Left out: log lines, which nobody tests for; what has to be known to the compiler, such as the
layouts of records, which it checks itself; Windows sources, which are not in this build.
"""

import collections
import concurrent.futures
import dataclasses
import os
import pathlib
import re
import subprocess

import clang.cindex
from clang.cindex import CursorKind as Kind
from clang.cindex import TypeKind

KINDS = ("comparison", "arithmetic", "constant", "condition", "statement", "text")

COMPARISONS = {"<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"),
               "==": ("!=",), "!=": ("==",)}
ARITHMETIC = {"+": ("-",), "-": ("+",), "*": ("/",), "/": ("*",), "%": ("*",), "<<": (">>",),
              ">>": ("<<",), "&": ("|",), "|": ("&",), "^": ("&",),
              "+=": ("-=",), "-=": ("+=",), "*=": ("/=",), "/=": ("*=",), "|=": ("&=",),
              "&=": ("|=",), "^=": ("&=",), "<<=": (">>=",), ">>=": ("<<=",)}
LOGIC = {"&&": ("||",), "||": ("&&",)}
STEPS = {"++": "--", "--": "++"}

STATEMENTS = {Kind.CALL_EXPR, Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR,
              Kind.UNARY_OPERATOR, Kind.CXX_DELETE_EXPR, Kind.CXX_THROW_EXPR, Kind.BREAK_STMT,
              Kind.CONTINUE_STMT, Kind.UNEXPOSED_EXPR}
DECLARATIONS = {Kind.VAR_DECL, Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.FUNCTION_TEMPLATE,
                Kind.CONSTRUCTOR}
LOG_LINE = re.compile(r"PLOG|LOG_")
# A number's digits and its suffix. What a macro holds has no such text.
NUMBER = re.compile(r"(0[xX][0-9a-fA-F']+|[0-9][0-9'.]*([eE][-+]?[0-9]+)?)[uUlLfF]*$")


@dataclasses.dataclass
class Mutant:
    kind: str
    file: str
    line: int
    before: str
    after: str
    within: str  # the line of the source
    number: int = 0

    def name(self):
        """What it is called in explained.txt, where line numbers would go out of date."""
        before, after = (re.sub(r"\s+", " ", text) for text in (self.before, self.after))
        return f"{self.file}: {self.kind}: {before} => {after or 'nothing'} in: {self.within}"

    def __str__(self):
        return self.name().replace(":", f":{self.line}:", 1)


@dataclasses.dataclass
class Place:
    """Where a mutant takes the place of the bytes from `start` to `end`."""
    start: int
    end: int
    mutant: Mutant
    is_statement: bool = False


@dataclasses.dataclass
class Constant:
    """A constexpr declaration."""
    start: int
    end: int
    name: str
    is_variable: bool

    def holds(self, place):
        return self.start <= place.start and place.end <= self.end


class MutantFinder:
    """The places of one file's mutants."""

    def __init__(self, name, source):
        self.name = name
        self.source = source  # bytes: offsets count them
        self.places = []
        self.seen = set()
        self.constants = []

    def text(self, start, end):
        return self.source[start:end].decode()

    def add(self, kind, start, end, after, is_statement=False):
        before = self.text(start, end)
        if (start, end, after) in self.seen:
            return
        self.seen.add((start, end, after))
        line = self.source.count(b"\n", 0, start)
        within = self.source.split(b"\n")[line].decode().strip()
        self.places.append(Place(start, end, Mutant(kind, self.name, line + 1, before, after, within),
                                 is_statement))

    def visit(self, cursor):
        kind = cursor.kind
        if kind in (Kind.STATIC_ASSERT, Kind.ENUM_DECL, Kind.PARM_DECL):
            return
        start, end = cursor.extent.start.offset, cursor.extent.end.offset
        if kind.is_statement() or kind.is_expression():
            if LOG_LINE.match(self.text(start, end)):
                return
        if kind in DECLARATIONS:
            head = re.split(rb"[={]", self.source[start:end])[0]
            if re.search(rb"\bconstexpr\b", head):
                self.constants.append(Constant(start, end, cursor.spelling, kind == Kind.VAR_DECL))
        handler = {
            Kind.BINARY_OPERATOR: self.binary, Kind.COMPOUND_ASSIGNMENT_OPERATOR: self.binary,
            Kind.UNARY_OPERATOR: self.unary, Kind.INTEGER_LITERAL: self.number,
            Kind.FLOATING_LITERAL: self.number, Kind.CHARACTER_LITERAL: self.character,
            Kind.CXX_BOOL_LITERAL_EXPR: self.truth, Kind.STRING_LITERAL: self.string,
            Kind.IF_STMT: self.condition, Kind.WHILE_STMT: self.condition,
            Kind.DO_STMT: self.last_condition, Kind.CONDITIONAL_OPERATOR: self.condition,
            Kind.FOR_STMT: self.for_condition, Kind.COMPOUND_STMT: self.statements,
        }.get(kind)
        if handler is not None:
            handler(cursor, start, end)
        for child in self.changeable(cursor):
            self.visit(child)

    def changeable(self, cursor):
        """The children of a cursor, without a condition that only the compiler can decide."""
        children = list(cursor.get_children())
        return children[1:] if self.is_decided_by_the_compiler(cursor) else children

    def is_decided_by_the_compiler(self, cursor):
        return cursor.kind == Kind.IF_STMT and re.match(
            r"if\s+constexpr\b", self.text(cursor.extent.start.offset, cursor.extent.end.offset))

    def operands(self, cursor):
        return [(child.extent.start.offset, child.extent.end.offset)
                for child in cursor.get_children()]

    def binary(self, cursor, start, end):
        operands = self.operands(cursor)
        if len(operands) != 2:
            return
        (_, left_end), (right_start, _) = operands
        operator = self.text(left_end, right_start).strip()
        if operator == "<<" and cursor.type.kind == TypeKind.DEPENDENT:
            return  # into a stream
        for kind, table in (("comparison", COMPARISONS), ("arithmetic", ARITHMETIC),
                            ("condition", LOGIC)):
            for other in table.get(operator, ()):
                self.add(kind, start, end,
                         f"{self.text(start, left_end)} {other} {self.text(right_start, end)}")

    def unary(self, cursor, start, end):
        operands = self.operands(cursor)
        if len(operands) != 1:
            return
        operand_start, operand_end = operands[0]
        operand = self.text(operand_start, operand_end)
        prefix = self.text(start, operand_start).strip()
        suffix = self.text(operand_end, end).strip()
        if prefix in STEPS:
            self.add("arithmetic", start, end, STEPS[prefix] + operand)
        elif suffix in STEPS:
            self.add("arithmetic", start, end, operand + STEPS[suffix])
        elif prefix in ("-", "~"):
            self.add("arithmetic", start, end, operand)

    def number(self, _cursor, start, end):
        before = self.text(start, end)
        if NUMBER.match(before):
            self.add("constant", start, end, f"{before} + 1")

    def character(self, _cursor, start, end):
        self.add("constant", start, end, f"char({self.text(start, end)} + 1)")

    def truth(self, _cursor, start, end):
        self.add("constant", start, end,
                 {"true": "false", "false": "true"}[self.text(start, end)])

    def string(self, _cursor, start, end):
        """Each piece between quotes."""
        before = self.text(start, end)
        for piece in re.finditer(r'"((?:[^"\\]|\\.)*)"', before):
            changed = swapped(piece[1])
            if changed is not None:
                after = before[:piece.start(1)] + changed + before[piece.end(1):]
                self.add("text", start, end, after)

    def negate(self, cursor):
        start, end = cursor.extent.start.offset, cursor.extent.end.offset
        self.add("condition", start, end, f"!({self.text(start, end)})")

    def condition(self, cursor, _start, _end):
        if self.is_decided_by_the_compiler(cursor):
            return
        for child in cursor.get_children():
            if child.kind.is_expression():
                self.negate(child)
                return
            if child.kind != Kind.DECL_STMT:  # a variable is the condition
                return

    def last_condition(self, cursor, _start, _end):
        self.negate(list(cursor.get_children())[-1])

    def for_condition(self, cursor, start, _end):
        """The expression between the two semicolons."""
        for child in cursor.get_children():
            if (child.kind.is_expression() and
                    ";" in self.text(start, child.extent.start.offset) and
                    self.text(child.extent.end.offset, len(self.source)).lstrip()[0] == ";"):
                self.negate(child)
                return

    def statements(self, cursor, _start, _end):
        for child in cursor.get_children():
            start, end = child.extent.start.offset, child.extent.end.offset
            before = self.text(start, end)
            is_void_return = child.kind == Kind.RETURN_STMT and before == "return"
            if (child.kind in STATEMENTS or is_void_return) and not LOG_LINE.match(before):
                self.add("statement", start, end, "", is_statement=True)


def swapped(text):
    """The text with its last two different neighbours in the other order; None without any."""
    characters = re.findall(r"\\.|.", text)
    for at in range(len(characters) - 1, 0, -1):
        if characters[at] != characters[at - 1]:
            characters[at - 1], characters[at] = characters[at], characters[at - 1]
            return "".join(characters)
    return None


# What the file looks like

OPENING, CLOSING = "/*{%d*/", "/*%d}*/"
MARK = re.compile(r"/\*\{(\d+)\*/")


def mutated(finder, kept):
    """The file's text with the mutants among `kept` built in."""
    source = finder.source
    # The outermost first.
    places = sorted((place for place in finder.places if place.mutant.number in kept),
                    key=lambda place: (place.start, -place.end))
    edits = keyword_edits(finder, places)

    def plain(start, end):
        out, at = [], start
        for edit_start, edit_end, text in edits:
            if start <= edit_start and edit_end <= end:
                out += [source[at:edit_start].decode(), text]
                at = edit_end
        return "".join(out) + source[at:end].decode()

    def render(start, end, inside):
        out, at = [], start
        index = 0
        while index < len(inside):
            place = inside[index]
            within = [other for other in inside[index + 1:] if other.end <= place.end]
            same = [other for other in within
                    if (other.start, other.end) == (place.start, place.end)]
            nested = [other for other in within if other not in same]
            out += [plain(at, place.start), wrapped([place] + same,
                                                    render(place.start, place.end, nested))]
            at = place.end
            index += 1 + len(within)
        return "".join(out) + plain(at, end)

    return render(0, len(source), places)


def wrapped(places, inner):
    for place in sorted(places, key=lambda place: place.is_statement):
        number = place.mutant.number
        marks = OPENING % number, CLOSING % number
        if place.is_statement:
            inner = f"if (mutant::on({number})) {{{marks[0]}}} else {marks[1]} {inner}"
        else:
            inner = f"(mutant::on({number}) ? {marks[0]}({place.mutant.after}){marks[1]} : {inner})"
    return inner


def keyword_edits(finder, places):
    """What constexpr turns into where a mutant has the value known only to the running program."""
    edits = []
    for constant in finder.constants:
        if any(constant.holds(place) for place in places):
            at = finder.source.index(b"constexpr", constant.start)
            is_static = b"static" in finder.source[constant.start:at]
            after = "" if is_static else "static" if constant.is_variable else "inline"
            edits.append((at, at + len(b"constexpr"), after))
    return sorted(edits)


# What doesn't compile

ERROR = re.compile(r"^([^:\n]+):(\d+):(\d+): (?:fatal )?error: (.*)", re.M)
WORD = re.compile(r"\w+")


def numbers_at_fault(message_text, texts, finders):
    """The numbers of the mutants that the compiler's errors lie in. Where they lie in none, what is at
    fault may be a constant named on the line or in the error, and failing that anything else on the
    line."""
    enclosing, constants, on_line = set(), set(), set()
    for file, line, column, complaint in ERROR.findall(message_text):
        name = next((name for name in texts if file.endswith("/" + name)), None)
        if name is None:
            continue
        text, lines = texts[name], texts[name].split("\n")
        where = sum(len(line_text) + 1 for line_text in lines[:int(line) - 1]) + int(column) - 1
        around = [int(match[1]) for match in MARK.finditer(text, 0, where + 1)
                  if text.find(CLOSING % int(match[1]), match.start()) > where]
        enclosing.update(around[-1:])
        words = set(WORD.findall(lines[int(line) - 1] + " " + complaint))
        constants.update(place.mutant.number for finder in finders.values()
                         for constant in finder.constants if constant.name in words
                         for place in finder.places if constant.holds(place))
        on_line.update(int(match[1]) for match in MARK.finditer(lines[int(line) - 1]))
    return enclosing, constants, on_line


def is_in_rooms(name, rooms):
    """Whether a file or folder is one of these, or in one of them. Names are paths from the root."""
    return any(name == room or name.startswith(room + "/") for room in rooms)


def find_mutants(root, flags, rooms):
    """The finders of all files in these rooms, by name, with the mutants numbered from 1."""
    index = clang.cindex.Index.create()
    finders = {}

    def is_wanted(file):
        return file.is_relative_to(root) and is_in_rooms(str(file.relative_to(root)), rooms)

    for path in sorted(root / name for name in rooms):
        if not path.exists():
            raise SystemExit(f"there is no room {path.relative_to(root)}")
    for path in sorted({*root.glob("src/**/*.cpp"), *root.glob("virtual_instrument/**/*.cpp")}):
        if "windows" in path.name or path.name.endswith("main.cpp") or not is_wanted(path):
            continue
        unit = index.parse(str(path), args=flags)
        errors = [str(problem) for problem in unit.diagnostics if problem.severity >= 3]
        if errors:
            raise SystemExit(f"{path}: can't be parsed: {errors[0]}")
        declarations = collections.defaultdict(list)
        for cursor in unit.cursor.get_children():
            if cursor.location.file is not None:
                declarations[pathlib.Path(cursor.location.file.name).resolve()].append(cursor)
        for file, cursors in declarations.items():
            if not is_wanted(file):
                continue
            name = str(file.relative_to(root))
            if name in finders or name.startswith("src/api/") and name.endswith(".h"):
                continue
            finders[name] = MutantFinder(name, file.read_bytes())
            for cursor in cursors:
                finders[name].visit(cursor)
    number = 0
    for name in sorted(finders):
        for place in sorted(finders[name].places, key=lambda place: place.start):
            number += 1
            place.mutant.number = number
    return finders


def write_texts(tree, texts):
    for name, text in texts.items():
        path = tree / name
        path.parent.mkdir(parents=True, exist_ok=True)
        if not path.exists() or path.read_text() != text:
            path.write_text(text)


def write_mutants(tree, finders, wanted, flags, jobs, are_tried):
    """Writes the wanted mutants into `tree`, a copy; gives the numbers of those that compile. With
    `are_tried` not set all of them are known to."""
    kept = set(wanted)
    units = [name for name in finders if name.endswith(".cpp")]
    checked = units
    all_hold = True  # whether what compiled before still does
    while True:
        built_in = frozenset(kept)
        texts = {name: mutated(finder, kept) for name, finder in finders.items()}
        write_texts(tree, texts)
        if not are_tried:
            return kept
        messages = compile_all([tree / name for name in checked], flags, jobs)
        failed = [name for name, message in zip(checked, messages.values()) if message]
        if not failed and all_hold:
            return kept
        if not failed:
            checked, all_hold = units, True
            continue
        for message in filter(None, messages.values()):
            suspects = numbers_at_fault(message, texts, finders)
            at_fault = next((group & built_in for group in suspects if group & built_in), set())
            if not at_fault:
                raise SystemExit(message[:4000])
            kept -= at_fault
            changed = {place.mutant.file for finder in finders.values()
                       for place in finder.places if place.mutant.number in at_fault}
            all_hold = all_hold and not any(name.endswith(".h") for name in changed)
        checked = failed


def compile_all(paths, flags, jobs):
    """What the compiler has against each file, which is nothing for a good one."""
    def complaint(path):
        done = subprocess.run(["g++", *flags, "-w", "-fsyntax-only", "-fmax-errors=0", str(path)],
                              capture_output=True, text=True, check=False,
                              env=dict(os.environ, LC_ALL="C"))
        return done.stderr if done.returncode != 0 else ""

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        return dict(zip(paths, pool.map(complaint, paths)))
