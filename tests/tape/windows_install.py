#!/usr/bin/env python3
"""Recording on Windows, as on site: kvr-tape install puts the recorder into the place of a client
library that consists of two, each of which imports the other by name. The program does what it did,
the tape is whole and plays, and uninstall puts everything back.
"""

import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

import common
from tool_commands import ANSWERS, BENCH

PLAN = """[run]
pause = 0

[[test]]
kind = "single-phase"
voltages = 8
"""


def read_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("launcher", "tool", "program", "run", "front", "engine", "objdump", "player"):
        parser.add_argument(f"--{name}", required=True, type=pathlib.Path)
    return parser.parse_args()


def windows(path):
    return "Z:" + str(path).replace("/", "\\")


class Site:
    """A folder with programs and their client library, and runs of them."""

    def __init__(self, arguments, folder):
        self.arguments, self.folder = arguments, folder
        self.programs, self.tapes = folder / "programs", folder / "tapes"
        for each in (self.programs, self.tapes, folder / "Documents"):
            each.mkdir()
        for name in ("program", "run", "front", "engine"):
            shutil.copy(getattr(arguments, name), self.programs)
        (folder / "bench.toml").write_text(BENCH + f"\n[store]\nfile = '{windows(folder / 'store')}'\n")
        (folder / "plan.toml").write_text(PLAN)

    def run(self, program, *words, stdin=b"", **extra):
        environment = {name: value for name, value in os.environ.items()
                       if not name.startswith(("KVR_", "XDG_", "LC_", "LANG", "WINEPATH"))}
        environment.update(TZ="CET-1", KVR_DOCUMENTS=windows(self.folder / "Documents"),
                           KVR_BENCH_FILE=windows(self.folder / "bench.toml"), **extra)
        (self.folder / "answers").write_bytes(stdin)
        output, errors = self.folder / "output", self.folder / "errors"
        with open(self.folder / "answers", "rb") as answers, open(output, "wb") as out, \
                open(errors, "wb") as err:  # Wine's services would keep a pipe open
            done = subprocess.run([self.arguments.launcher, program, *words], stdin=answers, stdout=out,
                                  stderr=err, check=False, cwd=self.folder, env=environment,
                                  timeout=120)
        done.stdout, done.stderr = output.read_bytes(), errors.read_bytes()
        return done

    def dialogue(self, program=None, **extra):
        """The program of the site unless another one is given, with nothing from runs before."""
        (self.folder / "store").unlink(missing_ok=True)
        shutil.rmtree(self.folder / "Documents")
        (self.folder / "Documents").mkdir()
        program = program or self.programs / self.arguments.program.name
        return self.run(program, stdin=ANSWERS, **extra)

    def tool(self, *words, **extra):
        return self.run(self.arguments.tool, *words, **extra)

    def files(self):
        return {path.name: path.read_bytes() for path in self.programs.iterdir()}


def check_imports(arguments, wrong):
    """They are the libraries that they should be."""
    def imports(file):
        return subprocess.run([arguments.objdump, "-p", file], check=True, capture_output=True,
                              text=True).stdout
    wrong.that("DLL Name: kvr-engine.dll" in imports(arguments.front), "the front imports the engine")
    wrong.that("DLL Name: kvr-client-api.dll" in imports(arguments.engine), "and the engine the front")


def check_plan(site, wrong, installed):
    (site.folder / "store").unlink(missing_ok=True)
    tape = site.folder / f"plan-{installed}.kvrtape"
    done = site.run(site.programs / site.arguments.run.name, "--tape", windows(tape),
                    windows(site.folder / "plan.toml"))
    said = done.stderr.decode("latin-1")
    if installed:
        wrong.that(done.returncode == 10 and tape.exists(), f"tester-run --tape: {said}")
    else:
        wrong.that(done.returncode == 64 and "kvr-tape install FOLDER" in said and not tape.exists(),
                   f"tester-run --tape without a recorder: {done.returncode} {said}")


def main():
    arguments = read_arguments()
    wrong = common.Failures()
    check_imports(arguments, wrong)
    with tempfile.TemporaryDirectory(prefix="site-") as temporary:
        site = Site(arguments, pathlib.Path(temporary))
        before = site.files()
        plain = site.dialogue()
        wrong.that(plain.returncode == 0 and b"record_id: PLANT-B8" in plain.stdout,
                   f"the program works: {plain.stderr!r}")
        check_plan(site, wrong, installed=False)

        done = site.tool("install", windows(site.programs))
        wrong.that(done.returncode == 0, f"install: {done.stderr!r}")
        wrong.that(site.files()["kvr-client-api-real.dll"] == before["kvr-client-api.dll"],
                   "the library stands under another name")
        wrong.that(site.tool("install", windows(site.programs)).returncode == 2, "install twice")
        recorded = site.dialogue(KVR_TAPE_FOLDER=windows(site.tapes))
        wrong.that((recorded.returncode, recorded.stdout, recorded.stderr) ==
                   (0, plain.stdout, plain.stderr), f"the recorded program: {recorded.stderr!r}")
        check_plan(site, wrong, installed=True)
        tapes = list(site.tapes.iterdir())
        wrong.that(len(tapes) == 1 and tapes[0].suffix == ".kvrtape", f"one tape: {tapes}")
        checked = site.tool("check", windows(tapes[0]))
        wrong.that(checked.returncode == 0 and checked.stdout.endswith(b"whole\r\n"),
                   f"check: {checked.stdout!r} {checked.stderr!r}")
        # The calls that the library makes of itself, through the recorder, are not on the tape.
        calls = [line.split('"')[3] for line in tapes[0].read_text().splitlines()
                 if line.startswith('{"call"')]
        wrong.that("kvr_GetStatus" in calls, "the program asks for the state")
        for first, second in zip(tapes[0].read_text().splitlines(), tapes[0].read_text().splitlines()[1:]):
            wrong.that(not first.startswith('{"call":"kvr_GetStatus"') or
                       second.startswith('{"return":"kvr_GetStatus"'), f"between them: {second[:60]}")

        done = site.tool("uninstall", windows(site.programs))
        wrong.that(done.returncode == 0 and site.files() == before, f"uninstall: {done.stderr!r}")
        wrong.that(site.tool("uninstall", windows(site.programs)).returncode == 2, "uninstall twice")
        wrong.that(site.dialogue().stdout == plain.stdout, "the program without a recorder")
        played = site.dialogue(arguments.program, WINEPATH=windows(arguments.player),
                               KVR_TAPE_FILE=windows(tapes[0]))
        wrong.that((played.returncode, played.stdout) == (0, plain.stdout),
                   f"the tape plays: {played.returncode} {played.stdout[-300:]!r} {played.stderr!r}")
    return wrong.status()


if __name__ == "__main__":
    sys.exit(main())
