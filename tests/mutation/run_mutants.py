#!/usr/bin/env python3
"""Changes the sources in one place at a time and sees whether a test fails: how good are the tests?

  run_mutants.py [--rooms ROOM,...] [--own-tests] [--sample N] [--seed S] [--build FOLDER]

A room is a folder or a file: src/text, virtual_instrument/session, virtual_instrument/exports.cpp;
src and virtual_instrument are all rooms of theirs.

Builds a copy of the tree with all mutants in it (see mutants.py), finds out which tests reach which
mutant, and runs each mutant against those until one fails: the tests of its own folder first, then
the quickest. A test that takes far longer with a mutant than without has failed. Mutants that
explained.txt explains are not run. Fails when fewer than 95 of 100 are killed.
"""

import argparse
import collections
import concurrent.futures
import hashlib
import json
import os
import pathlib
import random
import resource
import shutil
import subprocess
import sys
import tempfile
import time

import mutants

ROOT = pathlib.Path(__file__).resolve().parents[2]
HERE = ROOT / "tests" / "mutation"
JOBS = os.cpu_count() or 1
LEAST_KILLED = 0.95

SOURCES = ("src", "virtual_instrument")

# Quick ones by the case, then whole sessions, then the slow ones.
SLOW_PROGRAMS = ("fault-tests", "session-sweep")
OTHER_ROOMS = ("support",)  # whose tests are of no room
LONGEST = 120.0  # seconds that a test may take
LONG_CASE = 0.5  # seconds; cases that take longer are tried after those that don't
LARGEST_FILE = 5 << 30
LARGEST_MEMORY = 6 << 30


class Test:
    """A command that fails when it notices a mutant."""

    def __init__(self, name, command, folder=None):
        self.name = name
        self.command = command
        self.folder = folder  # of the source, if it is a case of a googletest program
        self.seconds = 0.0
        self.reaches = frozenset()

    def group(self):
        """Tests of one group are run together."""
        if self.folder is None:
            return self.name
        return self.command[0], self.folder, self.seconds > LONG_CASE


PASSED, FAILED, OUT_OF_TIME = "passed", "failed", "out of time"


def set_limits(seconds):
    """A mutant that goes round and round fills neither disk nor memory, and ends when nobody waits for
    it any more."""
    resource.setrlimit(resource.RLIMIT_FSIZE, (LARGEST_FILE, LARGEST_FILE))
    resource.setrlimit(resource.RLIMIT_AS, (LARGEST_MEMORY, LARGEST_MEMORY))
    resource.setrlimit(resource.RLIMIT_CPU, (int(seconds) + 1, int(seconds) + 1))


def run(command, environment, seconds):
    """How the command ends, in a folder of its own. A test program that ends in the middle of a test
    has failed, whatever its status: googletest leaves a file then."""
    with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryDirectory() as marks:
        ended_early = pathlib.Path(marks) / "ended-early"
        environment = dict(os.environ, TEST_PREMATURE_EXIT_FILE=str(ended_early), **environment)
        process = subprocess.Popen(command, cwd=folder, env=environment,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, start_new_session=True,
                                   preexec_fn=lambda: set_limits(seconds))
        try:
            good = process.wait(seconds) == 0 and not ended_early.exists()
            return PASSED if good else FAILED
        except subprocess.TimeoutExpired:
            return OUT_OF_TIME
        finally:
            try:
                os.killpg(process.pid, 9)
            except ProcessLookupError:
                pass
            process.wait()


def copy_tree(target, mutated):
    """Copies what git knows, but for the files that are written with mutants in them."""
    names = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"],
                           cwd=ROOT, check=True, capture_output=True, text=True).stdout.split("\n")
    kept = set(filter(None, names))
    for path in [path for path in target.rglob("*") if path.is_file()]:
        if str(path.relative_to(target)) not in kept:
            path.unlink()
    for name in kept:
        source, copy = ROOT / name, target / name
        if not source.is_file() or name in mutated:
            continue
        if not copy.exists() or copy.read_bytes() != source.read_bytes():
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)  # with a new time, for what is built of it


def compiler_flags(folder):
    return ["-std=c++20", f"-I{folder}", f"-I{folder}/src",
            "-DKVR_CLIENT_KEY=\"development-client-key\"", "-DKVR_VERSION=\"1.1.0.7\"",
            "-D_GLIBCXX_ASSERTIONS"]


def build(tree, folder, targets):
    subprocess.run(["cmake", "-S", tree, "-B", folder, "-G", "Ninja",
                    "-DCMAKE_BUILD_TYPE=Release", "-DKVR_BUILD_TESTS=ON",
                    "-DCMAKE_CXX_FLAGS_RELEASE=-O1", "-DCMAKE_UNITY_BUILD=ON",
                    f"-DCMAKE_CXX_FLAGS=-w -D_GLIBCXX_ASSERTIONS -include {HERE}/mutant.h"],
                   check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", folder, "--target", *targets], check=True)


def cases_of(program):
    """The cases of a test program, each with the folder of its source below the program's."""
    with tempfile.TemporaryDirectory() as folder:
        listing = pathlib.Path(folder) / "cases.json"
        subprocess.run([program, "--gtest_list_tests", f"--gtest_output=json:{listing}"],
                       check=True, stdout=subprocess.DEVNULL)
        suites = json.loads(listing.read_text())["testsuites"]
    for suite in suites:
        for case in suite["testsuite"]:
            parts = pathlib.PurePath(case["file"]).parts
            below = parts[len(parts) - parts[::-1].index("unit"):-1]
            yield f"{suite['name']}.{case['name']}", "/".join(below)


def unit_tests(folder, rooms):
    tests = []
    for room in rooms:
        program = str(folder / "bin" / f"unit-{room}")
        tests += [Test(f"{room}: {case}", [program, "--gtest_filter=" + case], where)
                  for case, where in cases_of(program)]
    return tests


def whole_program_tests(tree, folder):
    sessions = [Test(f"session: {session.stem}",
                     [sys.executable, str(tree / "tests/support/run_session.py"),
                      "--program", f"console-tester={folder}/under-test/console-tester-under-test",
                      "--program",
                      f"tester-workbench={folder}/under-test/tester-workbench-under-test",
                      "--scripted", f"{folder}/scripted", "--instrument", f"{folder}/lib",
                      str(session)])
                for session in sorted((tree / "tests" / "sessions").rglob("*.session"))]
    terminals = [Test(f"pty: {script.stem}",
                      ["env", f"KVR_CONSOLE_TESTER={folder}/bin/console-tester",
                       f"KVR_TESTER_WORKBENCH={folder}/bin/tester-workbench",
                       f"KVR_SCRIPTED_LIBRARY={folder}/scripted",
                       sys.executable, "-B", str(script)])
                 for script in sorted((tree / "tests" / "pty").glob("*.py"))
                 if script.stem != "console"]
    return sessions + terminals


def slow_tests(folder):
    return [Test(program, ["env", "KVR_SWEEP_STRIDE=101", str(folder / "bin" / program),
                           "--gtest_fail_fast"])
            for program in SLOW_PROGRAMS]


def measure(test, count):
    """What the test reaches, and how long it takes. A test that fails as it is is no use."""
    with tempfile.NamedTemporaryFile() as reached:
        reached.write(bytes(count + 1))
        reached.flush()
        start = time.monotonic()
        passed = run(test.command, {"TZ": "CET-1", "MUTANTS_REACHED": reached.name}, LONGEST)
        test.seconds = time.monotonic() - start
        data = pathlib.Path(reached.name).read_bytes()
    test.reaches = frozenset(number for number, byte in enumerate(data) if byte)
    return passed == PASSED


def batches(tests, file):
    """The tests as commands, the likeliest to notice a mutant of this file first, then the quickest."""
    groups = collections.defaultdict(list)
    for test in tests:
        groups[test.group()].append(test)
    own = str(pathlib.PurePath(file.removeprefix("src/")).parent)

    def rank(group):
        seconds = sum(test.seconds for test in group)
        return group[0].folder != own or group[0].seconds > LONG_CASE, seconds

    for together in sorted(groups.values(), key=rank):
        seconds = min(4.0 + 6 * sum(test.seconds for test in together), LONGEST)
        if together[0].folder is not None:
            names = ":".join(test.command[1].removeprefix("--gtest_filter=") for test in together)
            yield [together[0].command[0], "--gtest_fail_fast"], {"GTEST_FILTER": names}, seconds
        else:
            yield together[0].command, {}, seconds


def outcome(mutant, tests):
    """How the first test ends that notices the mutant; PASSED if none does."""
    reaching = [test for test in tests if mutant.number in test.reaches]
    for command, environment, seconds in batches(reaching, mutant.file):
        ended = run(command, {"TZ": "CET-1", "MUTANT": str(mutant.number), **environment}, seconds)
        if ended != PASSED:
            return ended
    return PASSED


def key_of(finders, chosen):
    """Names the sources and the mutants chosen."""
    texts = b"".join(finder.source for finder in finders.values())
    return hashlib.sha256(texts + repr(chosen).encode()).hexdigest()


def remembered(file, finders, chosen):
    """The mutants that compiled the last time, if they are of the same sources; else none."""
    last = json.loads(file.read_text()) if file.exists() else {}
    return set(last["kept"]) if last.get("key") == key_of(finders, chosen) else set()


def read_explained(rooms):
    """The names of mutants in explained.txt, each under the paragraph that explains it, of these
    rooms."""
    return {line for line in (HERE / "explained.txt").read_text().splitlines()
            if ": " in line and mutants.is_in_rooms(line.split(": ")[0], rooms)}


def test_rooms(rooms):
    """The test programs that belong to these rooms, by their folders in tests/unit."""
    folders = [path.name for path in sorted((ROOT / "tests" / "unit").iterdir())
               if path.is_dir() and path.name not in OTHER_ROOMS]
    mirrored = {folder: folder if folder == "virtual_instrument" else f"src/{folder}"
                for folder in folders}
    return [folder for folder in folders
            if any(mutants.is_in_rooms(room, [mirrored[folder]]) or
                   mutants.is_in_rooms(mirrored[folder], [room]) for room in rooms)]


def room_of(mutant):
    """The folder below src/ or virtual_instrument/, or the file if it is in none."""
    return "/".join(mutant.file.split("/")[:2])


def print_table(heading, rows):
    """`rows` hold a name, and the mutants that the ways of counting count."""
    width = max(len(name) for name, _ in rows)
    print(f"{'':<{width}} " + " ".join(f"{title:>9}" for title in heading))
    for name, counts in rows:
        print(f"{name:<{width}} " + " ".join(f"{count:>9}" for count in counts))


def report(found, explained, ends):
    """Prints what became of the mutants in `ends`, by room and by kind."""
    def counts(mutants_of):
        of = [end for number, end in ends.items() if mutants_of(found[number])]
        killed = len(of) - of.count(PASSED)
        share = f"{100 * killed / len(of):.1f} %" if of else "-"
        return [len(of), killed, share, of.count(OUT_OF_TIME), of.count(PASSED),
                sum(mutants_of(mutant) for mutant in explained)]

    rows = [(room, counts(lambda mutant, room=room: room_of(mutant) == room))
            for room in sorted({room_of(mutant) for mutant in found.values()})]
    rows += [(kind, counts(lambda mutant, kind=kind: mutant.kind == kind))
             for kind in mutants.KINDS]
    rows.append(("all", counts(lambda mutant: True)))
    print_table(["run", "killed", "rate", "by time", "survive", "explained"], rows)


def sample(numbers, arguments):
    """As many of them as are asked for, or all."""
    if not arguments.sample:
        return numbers
    return random.Random(arguments.seed).sample(numbers, min(arguments.sample, len(numbers)))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--sample", type=int, default=0, help="that many mutants, chosen by --seed")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--rooms", type=lambda text: text.split(","), default=list(SOURCES),
                        help="mutants of these folders or files only")
    parser.add_argument("--own-tests", action="store_true",
                        help="the quick unit tests of these rooms only")
    parser.add_argument("--of-all", action="store_true",
                        help="build all mutants in, so that another sample needs no other build")
    parser.add_argument("--again", action="store_true",
                        help="those that survived the last run only, all of them built in")
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build" / "mutation")
    parser.add_argument("--list", action="store_true", help="print the mutants, run none")
    arguments = parser.parse_args()
    start = time.monotonic()

    resources = subprocess.run(["clang", "-print-resource-dir"], check=True, capture_output=True,
                               text=True).stdout.strip()
    finders = mutants.find_mutants(ROOT, compiler_flags(ROOT) + ["-resource-dir", resources],
                                   arguments.rooms)
    found = {place.mutant.number: place.mutant
             for finder in finders.values() for place in finder.places}
    names = read_explained(arguments.rooms)
    unknown = names - {mutant.name() for mutant in found.values()}
    if unknown:
        print("explained.txt explains what is no mutant:", *sorted(unknown), sep="\n  ")
        return 1
    explained = [mutant for mutant in found.values() if mutant.name() in names]
    to_run = [number for number, mutant in found.items() if mutant.name() not in names]
    if arguments.list:
        print(*(found[number] for number in to_run), sep="\n")
        return 0
    # Explained ones too, so that one more explanation needs no other build.
    chosen = list(found) if arguments.of_all or arguments.again else sample(to_run, arguments)

    tree, folder = arguments.build / "tree", arguments.build / "build"
    copy_tree(tree, finders)
    flags = compiler_flags(tree) + ["-include", str(HERE / "mutant.h")]
    kept = remembered(arguments.build / "compilable.json", finders, chosen)
    kept = mutants.write_mutants(tree, finders, kept or chosen, flags, JOBS, not kept)
    (arguments.build / "compilable.json").write_text(
        json.dumps({"key": key_of(finders, chosen), "kept": sorted(kept)}))
    rooms = test_rooms(arguments.rooms if arguments.own_tests else SOURCES)
    programs = [] if arguments.own_tests else [
        "console-tester", "console-tester-under-test", "tester-workbench",
        "tester-workbench-under-test", "kvr-client-api", "scripted-client-api", *SLOW_PROGRAMS]
    build(tree, folder, [f"unit-{room}" for room in rooms] + programs)

    tests = unit_tests(folder, rooms)
    if not arguments.own_tests:
        tests += whole_program_tests(tree, folder) + slow_tests(folder)
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        passed = list(pool.map(lambda test: measure(test, len(found)), tests))
    unfit = [test.name for test, good in zip(tests, passed) if not good]
    tests = [test for test, good in zip(tests, passed) if good]
    print(f"{len(chosen)} mutants, {len(chosen) - len(kept)} of them do not compile; "
          f"{len(tests)} tests; {time.monotonic() - start:.0f} s so far", flush=True)
    if unfit:
        print("tests that fail without a mutant are left out:", *unfit, sep="\n  ")

    survivors_file = arguments.build / "survivors.txt"
    last_survivors = survivors_file.read_text().splitlines() if arguments.again else []
    tried = sample([number for number in to_run if number in kept and
                    (not arguments.again or found[number].name() in last_survivors)], arguments)
    ends = {}
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        waiting = {pool.submit(outcome, found[number], tests): number for number in tried}
        for future in concurrent.futures.as_completed(waiting):
            number = waiting[future]
            ends[number] = future.result()
            if ends[number] == PASSED:
                print(f"[{len(ends)}/{len(tried)}] survives: {found[number]}", flush=True)
    report(found, explained, ends)
    print(f"{time.monotonic() - start:.0f} s")
    survivors = [found[number].name() for number in sorted(ends) if ends[number] == PASSED]
    survivors_file.write_text("\n".join(survivors) + "\n")
    return 0 if len(survivors) <= (1 - LEAST_KILLED) * len(ends) else 1


if __name__ == "__main__":
    sys.exit(main())
