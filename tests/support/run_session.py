#!/usr/bin/env python3
r"""Runs session files: whole dialogues with the console tester, each in a fresh home folder.

A session file opens with what it is about. Then come sections, each under a heading that begins
with four dashes. The empty line before a heading belongs to the heading.

What goes in:
  ---- begins at main menu [after NAME]
                            the answers and the output below begin at the main menu; what comes
                            before is that of the session NAME of tests/sessions/start_up, byte
                            for byte. NAME is "scripted" for a script and "instrument" for a bench
                            unless it is given
  ---- options              one command line argument a line
  ---- environment          NAME=value, or -NAME to take a variable away
  ---- script               the client library is the scripted one and answers as this script says,
                            see scripted_client_api_script.h
  ---- bench [NAME]         or it is the virtual instrument with this bench, the built-in one if
                            empty; after the named one of virtual_instrument/bench/, if any
  ---- tape NAME            or it is the player with the tape NAME.kvrtape beside the session, which
                            has to be played whole
  ---- program NAME         another program than console-tester
  ---- called NAME          what its command line calls it; not on windows
  ---- not on windows       the file is skipped there, for the reason given
  ---- given file PATH      a file that is there before
  ---- given folder PATH    a folder that is there before
  ---- answers              standard input

What comes out:
  ---- output               standard output
  ---- error output         standard error; without the section it must be empty
  ---- ends with            "status N", "abort", or "waiting" if the program waits for more input at
                            the end of input, for ever and without work
  ---- file PATH            a file that is there afterwards
  ---- some file PATH       a file that is there afterwards, whatever it holds
  ---- no files             no file is there afterwards, but for the given ones as they were
  ---- calls NAME ...       what was asked of the scripted library and of the clock, only lines that
                            begin with one of the names, if there are any
  ---- complaints           what the scripted library has to complain about; else it must be content

Paths begin with results/ (the results folder), home/ or work/ (the working folder). Texts may name
them as {results}, {home} and {work}. In texts \\ \t \xHH stand for a backslash, a tab and any byte,
\s for a blank at the end of a line, and a \ at the end of a line takes its line feed away. Scripts
and benches are taken as they are.

Every expected section but error output, calls and complaints has to be there. With --rebuild the
expected sections are written as they came out, for review. A start-up is written by its own session
alone, which goes to the main menu once and leaves it.
"""

import argparse
import dataclasses
import difflib
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

SHIPPED_BENCHES = pathlib.Path(__file__).resolve().parents[2] / "virtual_instrument" / "bench"
START_UPS = pathlib.Path(__file__).resolve().parents[1] / "sessions" / "start_up"
MAIN_MENU = b"!!! === KVRU3 main menu === !!!\n"
LEAVE_MAIN_MENU = b"0\n"
SECONDS_TO_END = 30.0
SECONDS_OF_SILENCE = 0.4  # after which a program counts as waiting
MOST_OUTPUT = 16 << 20  # bytes; a program that says more asks again and again, without a pause
SHOWN_OF_TOO_MUCH = 4000  # bytes
PASSED, FAILED, SKIPPED = 0, 1, 77  # exit statuses
RESULTS_FOLDER = "home/Documents/KVRU3"
INPUT_SECTIONS = ("begins at main menu", "options", "environment", "script", "bench", "tape",
                  "program", "called", "not on", "given file", "given folder", "answers")
EXPECTED_SECTIONS = ("output", "error output", "ends with", "file", "some file", "no files",
                     "calls", "complaints")


class BadSession(Exception):
    """A fault of a session file."""


class Skipped(Exception):
    """A session file that is not meant for this system. Says why."""


# Session files

def decode(lines):
    """Lines of a section as bytes."""
    text = "".join(line + "\n" for line in lines)
    text = re.sub(r"(?<!\\)((?:\\\\)*)\\\n", r"\1", text)

    def escaped(match):
        code = match.group(1)
        plain = {"\\": "\\", "t": "\t", "r": "\r", "s": " "}
        if code in plain:
            return plain[code]
        if code.startswith("x") and len(code) == 3:
            return chr(int(code[1:], 16))
        raise BadSession(f"unknown escape \\{code}")
    return re.sub(r"\\(x[0-9a-f]{2}|.)", escaped, text).encode("latin-1")


def encode(content):
    """Bytes as lines of a section."""
    def printable(match):
        known = {"\\": r"\\", "\t": r"\t", "\r": r"\r"}
        return known.get(match.group(), f"\\x{ord(match.group()):02x}")
    text = re.sub(r"[^\n -\[\]-~]", printable, content.decode("latin-1"))
    text = re.sub(r" $", r"\\s", text, flags=re.MULTILINE)
    text = re.sub(r"^----", r"\\x2d---", text, flags=re.MULTILINE)
    if text and not text.endswith("\n"):
        text += "\\\n"
    return text.split("\n")[:-1]


class Session:
    """The description and the sections, as (name, argument, lines)."""

    def __init__(self, text):
        self.path = None
        self.description = []
        self.sections = []
        lines = self.description
        for line in text.split("\n"):
            if line.startswith("---- "):
                if not lines or lines[-1] != "":
                    raise BadSession(f"no empty line before '{line}'")
                lines.pop()
                name, argument = self.split_heading(line[5:])
                lines = []
                self.sections.append((name, argument, lines))
            else:
                lines.append(line)
        if lines and lines[-1] == "":
            lines.pop()
        if not any(self.description) or not self.sections:
            raise BadSession("a session opens with a description, and then come sections")
        for name, argument, lines in self.sections:
            if name in EXPECTED_SECTIONS:
                lines[:] = encode(decode(lines))  # one way to write a text

    @staticmethod
    def split_heading(heading):
        for name in sorted(INPUT_SECTIONS + EXPECTED_SECTIONS, key=len, reverse=True):
            if heading == name or heading.startswith(name + " "):
                return name, heading[len(name) + 1:]
        raise BadSession(f"unknown heading '{heading}'")

    def all(self, name):
        return [(argument, lines) for each, argument, lines in self.sections if each == name]

    def one(self, name, default=None):
        found = self.all(name)
        if len(found) > 1:
            raise BadSession(f"more than one section '{name}'")
        if not found and default is None:
            raise BadSession(f"no section '{name}'")
        return found[0][1] if found else default

    def with_sections(self, sections):
        result = Session.__new__(Session)
        result.path = self.path
        result.description = self.description
        result.sections = list(sections)
        return result

    def has(self, name):
        return bool(self.all(name))

    def text(self):
        parts = ["\n".join(self.description)]
        for name, argument, lines in self.sections:
            heading = f"---- {name} {argument}".rstrip()
            parts.append("\n".join([heading] + lines))
        return "\n\n".join(parts) + "\n"


# Start-ups

@dataclasses.dataclass
class StartUp:
    """What comes before the answers and the output of a session."""
    answers: bytes = b""
    output: bytes = b""
    path: pathlib.Path | None = None

    def comes_before(self, output):
        """Whether a program's output begins with this start-up and goes on with the main menu."""
        return self.path is None or output.startswith(self.output + MAIN_MENU)


def start_up_of(session, folder):
    """The start-up that the heading names, from the folder's session; None without the heading."""
    if not session.has("begins at main menu"):
        return StartUp()
    if session.one("begins at main menu"):
        raise BadSession("no lines can follow 'begins at main menu'")
    after = session.all("begins at main menu")[0][0]
    named = re.fullmatch(r"(?:after (\w+))?", after)
    if not named:
        raise BadSession(f"begins at main menu: '{after}' is not 'after NAME'")
    library = "scripted" if session.has("script") else "instrument"
    return read_start_up(folder / f"{named[1] or library}.session")


def read_start_up(path):
    shown = Session(path.read_text(encoding="latin-1"))
    answers = decode(shown.one("answers"))
    before, menu, after = decode(shown.one("output")).partition(MAIN_MENU)
    if (shown.has("begins at main menu") or not before.endswith(b"\n") or not menu
            or MAIN_MENU in after or not answers.endswith(LEAVE_MAIN_MENU)):
        raise BadSession(f"{path} does not go to the main menu once and leave it with 0")
    return StartUp(answers.removesuffix(LEAVE_MAIN_MENU), before, path)


# Systems

class Posix:
    """Runs programs of this system."""
    name = "posix"
    separator = "/"
    line_end = b"\n"
    abort_status = -signal.SIGABRT

    @staticmethod
    def path(path):
        return str(path)

    @staticmethod
    def variable(name):
        """The variable that has the meaning of another one on POSIX systems."""
        return name

    @staticmethod
    def environment(folder, library):
        return {"HOME": str(folder / "home"), "LD_LIBRARY_PATH": library}

    @staticmethod
    def prepare(folder):
        """Makes the home folder."""
        (folder / "home").mkdir()


class Wine(Posix):
    """Runs Windows programs under Wine, which has this system's files on drive Z."""
    name = "windows"
    separator = "\\"
    line_end = b"\r\n"
    abort_status = 3

    @staticmethod
    def path(path):
        return "Z:" + str(path).replace("/", "\\")

    @staticmethod
    def variable(name):
        return "KVR_DOCUMENTS" if name == "HOME" else name

    @classmethod
    def environment(cls, folder, library):
        return {"KVR_DOCUMENTS": cls.path(folder / "home" / "Documents"),
                "WINEPATH": cls.path(library)}

    @staticmethod
    def prepare(folder):
        """Makes the documents folder, since Windows names only one that exists."""
        (folder / "home" / "Documents").mkdir(parents=True)


def exchanged(content, one, other):
    """Swaps two texts, so that neither can stand in place of the other."""
    swap = {one: other, other: one}
    either = b"|".join(re.escape(each) for each in sorted(swap, key=len, reverse=True))
    return re.sub(either, lambda found: swap[found.group()], content)


def without_differences(seen, folder, system):
    """The results of a run without what may differ between systems: the form of paths, the ends of
    lines, and the ending of an abort. All else must be the same everywhere. docs/install.md lists
    the differences."""
    def with_places(content):
        for token, path, end in (("{results}", RESULTS_FOLDER, system.separator),
                                 ("{home}", "home", ""), ("{work}", "work", "")):
            content = content.replace(os.fsencode(system.path(folder / path) + end), token.encode())
        return re.sub(rb"{results}.*", lambda path: path.group().replace(
            system.separator.encode(), b"/"), content)

    def plain(content):
        return with_places(exchanged(content, system.line_end, b"\n"))

    def ending(ended):
        if ended == system.abort_status:
            return b"abort\n"
        if isinstance(ended, int):
            ended = f"status {ended}" if ended >= 0 else f"signal {signal.Signals(-ended).name}"
        return ended.encode() + b"\n"

    return {
        "output": plain(seen["output"]),
        "error output": plain(seen["error output"]),
        "files": {path: content and plain(content) for path, content in seen["files"].items()},
        "ends with": ending(seen["ends with"]),
        "log": with_places(seen["log"]),  # ours
    }


# Runs

def place_of(path, folder):
    if not re.match(r"(results|home|work)/", path + "/"):
        raise BadSession(f"'{path}' begins with none of results/ home/ work/")
    return folder / os.fsdecode(re.sub(r"^results\b", RESULTS_FOLDER, path).encode("latin-1"))


def files_below(folder):
    """Every file, by its path as a session file gives it."""
    found = {}
    for top in ("home", "work"):
        for path in sorted((folder / top).rglob("*")):
            if path.is_file():
                name = os.fsencode(path.relative_to(folder).as_posix()).decode("latin-1")
                name = re.sub(f"^{RESULTS_FOLDER}/", "results/", name)
                found[name] = path.read_bytes()
    return found


def filled_in(text, folder, system):
    for name in ("home", "work"):
        text = text.replace("{" + name + "}", system.path(folder / name))
    return text


def shipped_bench(name):
    """Lines of the named bench; none without a name."""
    if not name:
        return []
    file = SHIPPED_BENCHES / f"{name}.toml"
    if not file.is_file():
        raise BadSession(f"no bench '{name}' in {SHIPPED_BENCHES}")
    return file.read_text().splitlines() + [""]


def environment_of(session, folder, libraries, system):
    environment = {name: value for name, value in os.environ.items()
                   if not name.startswith(("KVR_", "XDG_", "LC_", "LANG"))}
    environment.update(TZ="CET-1", LC_ALL="C", KVR_CALL_LOG=system.path(folder / "calls"))
    scripted = session.has("script")
    if [scripted, session.has("bench"), session.has("tape")].count(True) != 1:
        raise BadSession("one section 'script', one section 'bench' or one section 'tape'")
    if session.has("tape"):
        if not libraries["player"]:
            raise BadSession("the session plays a tape, and --player is not given")
        environment.update(system.environment(folder, libraries["player"]))
        environment.update(KVR_TAPE_FILE=system.path(tape_of(session)),
                           KVR_TAPE_RECEIPT=system.path(folder / "receipt"))
        return with_lines(environment, session, folder, system)
    environment.update(
        system.environment(folder, libraries["scripted" if scripted else "instrument"]))
    name = "script" if scripted else "bench"
    content = session.one(name)
    if not scripted:
        content = shipped_bench(session.all(name)[0][0]) + content
    if scripted or content:
        (folder / name).write_text("\n".join(content) + "\n", encoding="latin-1")
        environment[f"KVR_{name.upper()}_FILE"] = system.path(folder / name)
    return with_lines(environment, session, folder, system)


def tape_of(session):
    return session.path.resolve().parent / f"{session.all('tape')[0][0]}.kvrtape"


def check_receipt(session, folder):
    """A tape that was not played whole proves nothing."""
    if session.has("tape"):
        receipt = folder / "receipt"
        played = json.loads(receipt.read_text()) if receipt.exists() else {}
        if not played.get("complete") or played.get("divergence"):
            raise BadSession(f"the tape was not played whole: {played}")


def with_lines(environment, session, folder, system):
    """The environment with the lines of the section of that name."""
    for line in session.one("environment", []):
        name, _, value = line.partition("=")
        if line.startswith("-"):
            environment.pop(system.variable(line[1:]), None)
        else:
            environment[system.variable(name)] = filled_in(value, folder, system)
    return environment


def prepare(session, folder, system):
    """Makes the folders and the given files; returns all files that exist then."""
    system.prepare(folder)
    (folder / "work").mkdir()
    for path, _ in session.all("given folder"):
        place_of(path, folder).mkdir(parents=True, exist_ok=True)
    for path, lines in session.all("given file"):
        place = place_of(path, folder)
        place.parent.mkdir(parents=True, exist_ok=True)
        if place.is_dir():
            place.rmdir()  # a file where the system wants a folder
        content = filled_in(decode(lines).decode("latin-1"), folder, system).encode("latin-1")
        place.write_bytes(exchanged(content, b"\n", system.line_end))
    return files_below(folder)


def cpu_seconds(process):
    """Processor time of the process so far; 0 where the system doesn't report it."""
    try:
        fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rsplit(")", 1)[1].split()
    except OSError:
        return 0
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def says_too_much(output):
    return output.stat().st_size > MOST_OUTPUT


TOO_MUCH = f"more than {MOST_OUTPUT} bytes of output, and no end: does it ask without a pause?"


def wait_until_silent(process, output, seconds):
    """Waits until a program has ended, or has written nothing for a while. Returns its exit status,
    or words for its state."""
    deadline = time.monotonic() + seconds
    size = 0
    while process.poll() is None and (size == 0 or output.stat().st_size != size):
        size = output.stat().st_size
        before = cpu_seconds(process)
        try:
            process.wait(SECONDS_OF_SILENCE)
        except subprocess.TimeoutExpired:
            pass
        if says_too_much(output):
            return TOO_MUCH
        if time.monotonic() > deadline:
            return "never silent"
    if process.poll() is not None:
        return process.returncode
    busy = cpu_seconds(process) - before > SECONDS_OF_SILENCE / 2
    return "waiting, with work" if busy else "waiting"


def kill_with_children(process):
    """A child that went on writing would fill the disk."""
    if process.poll() is None:
        os.killpg(process.pid, signal.SIGKILL)
    process.wait()


def wait_for_end(process, output, seconds):
    """A program's exit status, or words why it has none."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        try:
            return process.wait(min(SECONDS_OF_SILENCE, seconds))
        except subprocess.TimeoutExpired:
            if says_too_much(output):
                return TOO_MUCH
    return f"not ended after {seconds} s"


# With many programs at a time Wine now and then does not reach its own server, and starts no program.
WINE_DID_NOT_START = b"wine: a wine server seems to be running, but I cannot connect to it."


def run(session, start_up, arguments, adjust=lambda environment, system: None):
    """Runs a session, in an environment that `adjust` may change, and returns its results."""
    for _ in range(3):
        seen = run_once(session, start_up, arguments, adjust)
        if not seen["error output"].startswith(WINE_DID_NOT_START):
            break
    return seen


def run_once(session, start_up, arguments, adjust):
    name = (session.all("program") or [("console-tester", [])])[0][0]
    if name not in arguments.programs:
        raise BadSession(f"no program '{name}'")
    program = arguments.programs[name]
    called = (session.all("called") or [(program, [])])[0][0]
    system = Wine if program.endswith(".exe") else Posix
    for unfit, reason in session.all("not on"):
        if unfit == system.name:
            raise Skipped(" ".join(reason))
    expects_wait = session.one("ends with", []) == ["waiting"]
    with tempfile.TemporaryDirectory(prefix="session-") as temporary:
        folder = pathlib.Path(temporary).resolve()
        given = prepare(session, folder, system)
        environment = environment_of(session, folder, arguments.libraries, system)
        adjust(environment, system)
        answers = folder / "answers"
        answers.write_bytes(start_up.answers + decode(session.one("answers")))
        options = [filled_in(decode([line])[:-1].decode("latin-1"), folder, system)
                   .encode("latin-1") for line in session.one("options", [])]
        output, errors = folder / "output", folder / "errors"
        with open(answers, "rb") as stdin, open(output, "wb") as stdout, \
                open(errors, "wb") as stderr:
            process = subprocess.Popen(arguments.launcher + [called] + options,
                                       executable=None if arguments.launcher else program,
                                       stdin=stdin, stdout=stdout, stderr=stderr,
                                       cwd=folder / "work", env=environment, start_new_session=True)
            try:
                ended = (wait_until_silent(process, output, arguments.seconds)
                         if expects_wait else wait_for_end(process, output, arguments.seconds))
            finally:
                kill_with_children(process)
        check_receipt(session, folder)
        files = {path: content for path, content in files_below(folder).items()
                 if given.get(path) != content}
        files.update({path: None for path in given if not place_of(path, folder).exists()})
        calls = folder / "calls"
        with open(output, "rb") as said:
            text = said.read(SHOWN_OF_TOO_MUCH if ended == TOO_MUCH else -1)
        return without_differences({
            "output": text,
            "error output": errors.read_bytes(),
            "ends with": ended,
            "files": files,
            "log": calls.read_bytes() if calls.exists() else b"",
        }, folder, system)


def blocks_of(log):
    """A log line and the indented lines below it are one block."""
    return re.findall(rb"^[^ \n].*\n(?: .*\n)*", log, flags=re.MULTILINE)


def outcome(session, seen):
    """The session with what was seen in its expected sections."""
    result = session.with_sections(section for section in session.sections
                                   if section[0] not in EXPECTED_SECTIONS)
    some_files = []

    def add(name, content, argument=""):
        result.sections.append((name, argument, encode(content)))

    add("output", seen["output"])
    if seen["error output"]:
        add("error output", seen["error output"])
    add("ends with", seen["ends with"])
    files = dict(seen["files"])
    for path, _ in sorted(session.all("some file")):
        if files.pop(path, None) is not None:
            some_files.append(path)
    for path, content in sorted(files.items()):
        add("file", b"(gone)\n" if content is None else content, path)
    for path in some_files:
        add("some file", b"", path)
    if not seen["files"]:
        add("no files", b"")
    blocks = blocks_of(seen["log"])
    for argument, _ in session.all("calls"):
        names = tuple(name.encode() for name in argument.split())
        add("calls", b"".join(block for block in blocks if not block.startswith(b"! ")
                              and (not names or block.startswith(names))), argument)
    complaints = b"".join(block[2:] for block in blocks if block.startswith(b"! "))
    if complaints and seen["ends with"] != "abort":  # some systems let it write even then
        add("complaints", complaints)
    return result


def in_order(session):
    """The session with its expected sections in the order in which outcome() writes them."""
    def rank(section):
        name, argument, _ = section
        if name not in EXPECTED_SECTIONS:
            return (0, "")
        return (EXPECTED_SECTIONS.index(name) + 1, argument if name.endswith("file") else "")
    return session.with_sections(sorted(session.sections, key=rank))


def with_start_up(session, start_up):
    """The session with that in its expected output too."""
    def output(lines):
        return encode(start_up.output + decode(lines))
    return session.with_sections((name, argument, output(lines) if name == "output" else lines)
                                 for name, argument, lines in session.sections)


def difference(expected, seen):
    return list(difflib.unified_diff(expected.text().splitlines(), seen.text().splitlines(),
                                     "expected", "seen", lineterm="", n=5))


def read_session(path):
    session = Session(path.read_text(encoding="latin-1"))
    session.path = path
    return session


def check(path, arguments):
    """Runs one file and returns the exit status for it."""
    try:
        session = read_session(path)
        start_up = start_up_of(session, arguments.start_ups)
        seen = run(session, start_up, arguments)
    except Skipped as reason:
        print(f"{path} is skipped: {reason}")
        return SKIPPED
    except (BadSession, OSError) as error:
        print(f"{path}: {error}")
        return FAILED
    if not start_up.comes_before(seen["output"]):
        print(f"{path}: the start-up is not that of {start_up.path}:")
        print("\n".join(difference(with_start_up(in_order(session), start_up),
                                   outcome(session, seen))))
        return FAILED
    seen["output"] = seen["output"].removeprefix(start_up.output)
    result = outcome(session, seen)
    if arguments.rebuild:
        path.write_text(result.text(), encoding="latin-1")
        return PASSED
    lines = difference(in_order(session), result)
    if lines:
        print(f"{path} came out otherwise:")
        print("\n".join(lines))
    return FAILED if lines else PASSED


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--program", action="append", default=[], metavar="NAME=FILE",
                        help="where a program of that name is")
    parser.add_argument("--scripted", required=True, help="folder of the scripted library")
    parser.add_argument("--instrument", required=True, help="folder of the virtual instrument")
    parser.add_argument("--player", help="folder of the library that plays tapes")
    parser.add_argument("--launcher", default="",
                        help="command that starts a program; one that ends in .exe is taken for a "
                        "Windows program under Wine")
    parser.add_argument("--start-ups", default=START_UPS, type=pathlib.Path, metavar="FOLDER",
                        help="sessions that show what comes before the main menu")
    parser.add_argument("--seconds", type=float, default=SECONDS_TO_END,
                        help="time that a program has to end")
    parser.add_argument("--rebuild", action="store_true",
                        help="write the expected sections as they come out")
    parser.add_argument("files", nargs="+", type=pathlib.Path)
    arguments = parser.parse_args()
    arguments.programs = {name: os.path.abspath(path) for name, path in
                          (each.split("=", 1) for each in arguments.program)}
    arguments.libraries = {"scripted": os.path.abspath(arguments.scripted),
                           "instrument": os.path.abspath(arguments.instrument),
                           "player": arguments.player and os.path.abspath(arguments.player)}
    arguments.launcher = arguments.launcher.split()
    # Start-ups first: when all files are rebuilt, the other sessions use the new start-ups.
    files = sorted(arguments.files,
                   key=lambda path: path.resolve().parent != arguments.start_ups.resolve())
    statuses = {check(path, arguments) for path in files}
    return FAILED if FAILED in statuses else min(statuses)


if __name__ == "__main__":
    sys.exit(main())
