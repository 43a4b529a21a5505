#!/usr/bin/env python3
"""Changes src/ in one place at a time and sees whether a test fails: how good are the tests?

  run_mutants.py [--rooms ROOM,...] [--own-tests] [--sample N] [--seed S] [--build FOLDER]

Builds a copy of the tree with all mutants in it (see mutants.py), finds out which tests reach which
mutant, and runs each mutant against those, the quickest first, until one fails. Mutants that
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

# Quick ones by the case, then whole sessions, then the slow ones.
SLOW_PROGRAMS = ("fault-tests", "session-sweep")
OTHER_ROOMS = ("support", "virtual_instrument")
LONGEST = 120.0  # seconds that a slow test may take
LARGEST_FILE = 5 << 30


class Test:
    """A command that fails when it notices a mutant."""

    def __init__(self, name, command, filtered=False):
        self.name = name
        self.command = command
        self.filtered = filtered  # a case of a googletest program
        self.seconds = 0.0
        self.reaches = frozenset()


def set_limits(seconds):
    """A mutant that goes round and round fills no disk, and ends when nobody waits for it any more."""
    resource.setrlimit(resource.RLIMIT_FSIZE, (LARGEST_FILE, LARGEST_FILE))
    resource.setrlimit(resource.RLIMIT_CPU, (int(seconds) + 1, int(seconds) + 1))


def run(command, environment, seconds):
    """Whether the command succeeds, in a folder of its own. A test program that ends in the middle of
    a test does not, whatever its status: googletest leaves a file then."""
    with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryDirectory() as marks:
        ended_early = pathlib.Path(marks) / "ended-early"
        environment = dict(os.environ, TEST_PREMATURE_EXIT_FILE=str(ended_early), **environment)
        process = subprocess.Popen(command, cwd=folder, env=environment,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, start_new_session=True,
                                   preexec_fn=lambda: set_limits(seconds))
        try:
            return process.wait(seconds) == 0 and not ended_early.exists()
        except subprocess.TimeoutExpired:
            return False
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
    return ["-std=c++20", f"-I{folder}/src", "-DKVR_CLIENT_KEY=\"development-client-key\"",
            "-D_GLIBCXX_ASSERTIONS"]


def build(tree, folder, targets):
    subprocess.run(["cmake", "-S", tree, "-B", folder, "-G", "Ninja",
                    "-DCMAKE_BUILD_TYPE=Debug", "-DKVR_BUILD_TESTS=ON",
                    "-DCMAKE_CXX_FLAGS_DEBUG=-O0",
                    f"-DCMAKE_CXX_FLAGS=-w -D_GLIBCXX_ASSERTIONS -include {HERE}/mutant.h"],
                   check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", folder, "--target", *targets], check=True)


def cases_of(program):
    listing = subprocess.run([program, "--gtest_list_tests"], check=True, capture_output=True,
                             text=True).stdout
    suite = ""
    for line in listing.splitlines():
        text = line.split("#")[0].rstrip()
        if not text.startswith(" "):
            suite = text
        elif suite and text.strip():
            yield suite + text.strip()


def unit_tests(folder, rooms):
    tests = []
    for room in rooms:
        program = str(folder / "bin" / f"unit-{room}")
        tests += [Test(f"{room}: {case}", [program, "--gtest_filter=" + case], filtered=True)
                  for case in cases_of(program)]
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
    return passed


def batches(tests):
    """The tests as commands: the cases of one program together."""
    programs = collections.defaultdict(list)
    for test in sorted(tests, key=lambda test: test.seconds):
        programs[test.command[0] if test.filtered else test.name].append(test)
    for together in sorted(programs.values(), key=lambda group: sum(t.seconds for t in group)):
        seconds = 5.0 + 10 * sum(test.seconds for test in together)
        if together[0].filtered:
            names = ":".join(test.command[1].removeprefix("--gtest_filter=") for test in together)
            yield ([together[0].command[0], "--gtest_fail_fast"], {"GTEST_FILTER": names},
                   min(seconds, LONGEST))
        else:
            yield together[0].command, {}, min(seconds, LONGEST)


def is_killed(mutant, tests):
    reaching = [test for test in tests if mutant.number in test.reaches]
    return any(not run(command, {"TZ": "CET-1", "MUTANT": str(mutant.number), **environment},
                       seconds)
               for command, environment, seconds in batches(reaching))


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
    folders or of all."""
    return {line for line in (HERE / "explained.txt").read_text().splitlines()
            if line.startswith("src/") and (not rooms or line.split("/")[1] in rooms)}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--sample", type=int, default=0, help="that many mutants, chosen by --seed")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--rooms", type=lambda text: text.split(","), default=[],
                        help="mutants of these folders of src/ only")
    parser.add_argument("--own-tests", action="store_true",
                        help="the quick unit tests of these rooms only, or of all without --rooms")
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build" / "mutation")
    parser.add_argument("--list", action="store_true", help="print the mutants, run none")
    arguments = parser.parse_args()

    resources = subprocess.run(["clang", "-print-resource-dir"], check=True, capture_output=True,
                               text=True).stdout.strip()
    finders = mutants.find_mutants(ROOT, compiler_flags(ROOT) + ["-resource-dir", resources],
                                   arguments.rooms)
    found = {place.mutant.number: place.mutant
             for finder in finders.values() for place in finder.places}
    if arguments.list:
        print(*found.values(), sep="\n")
        return 0
    explained = read_explained(arguments.rooms)
    unknown = explained - {mutant.name() for mutant in found.values()}
    if unknown:
        print("explained.txt explains what is no mutant:", *sorted(unknown), sep="\n  ")
        return 1
    chosen = [number for number, mutant in found.items() if mutant.name() not in explained]
    if arguments.sample:
        chosen = random.Random(arguments.seed).sample(chosen, min(arguments.sample, len(chosen)))

    tree, folder = arguments.build / "tree", arguments.build / "build"
    copy_tree(tree, finders)
    flags = compiler_flags(tree) + ["-include", str(HERE / "mutant.h")]
    kept = remembered(arguments.build / "compilable.json", finders, chosen)
    kept = mutants.write_mutants(tree, finders, kept or chosen, flags, JOBS, not kept)
    (arguments.build / "compilable.json").write_text(
        json.dumps({"key": key_of(finders, chosen), "kept": sorted(kept)}))
    rooms = [path.name for path in sorted((ROOT / "tests" / "unit").iterdir())
             if path.is_dir() and path.name not in OTHER_ROOMS]
    programs = ["console-tester", "console-tester-under-test", "tester-workbench",
                "tester-workbench-under-test", "kvr-client-api", "scripted-client-api",
                *SLOW_PROGRAMS]
    if arguments.own_tests:
        rooms = arguments.rooms or rooms
        programs = []
    build(tree, folder, [f"unit-{room}" for room in rooms] + programs)

    tests = unit_tests(folder, rooms)
    if not arguments.own_tests:
        tests += whole_program_tests(tree, folder) + slow_tests(folder)
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        passed = list(pool.map(lambda test: measure(test, len(found)), tests))
    unfit = [test.name for test, good in zip(tests, passed) if not good]
    tests = [test for test, good in zip(tests, passed) if good]
    print(f"{len(chosen)} mutants, {len(chosen) - len(kept)} of them do not compile; "
          f"{len(tests)} tests")
    if unfit:
        print("tests that fail without a mutant are left out:", *unfit, sep="\n  ")

    survivors, done = [], 0
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        waiting = {pool.submit(is_killed, found[number], tests): found[number]
                   for number in sorted(kept)}
        for future in concurrent.futures.as_completed(waiting):
            done += 1
            if not future.result():
                survivors.append(waiting[future])
                print(f"[{done}/{len(kept)}] survives: {waiting[future]}", flush=True)
    killed = len(kept) - len(survivors)
    by_kind = collections.Counter(found[number].kind for number in kept)
    alive = collections.Counter(mutant.kind for mutant in survivors)
    for kind in mutants.KINDS:
        print(f"{kind:<12}{by_kind[kind] - alive[kind]:>6} of {by_kind[kind]:>5} killed")
    share = killed / max(1, len(kept))
    print(f"{'all':<12}{killed:>6} of {len(kept):>5} killed, {100 * share:.1f} %")
    return 0 if share >= LEAST_KILLED else 1


if __name__ == "__main__":
    sys.exit(main())
