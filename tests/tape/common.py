"""What the tests of the tape share: their arguments, and short runs of the program."""

import argparse
import os
import pathlib
import subprocess
import tempfile

SESSION = (b"1\nCommonTest\n", b"0\n")
BENCH = pathlib.Path(__file__).resolve().parents[2] / "virtual_instrument" / "bench"


def read_arguments(description):
    parser = argparse.ArgumentParser(description=description)
    for name in ("tool", "program", "instrument", "scripted", "recorder", "player", "broken"):
        parser.add_argument(f"--{name}", required=True)
    return parser.parse_args()


class Place:
    """A fresh home folder, and runs in it."""

    def __init__(self, arguments):
        self.arguments = arguments
        self.temporary = tempfile.TemporaryDirectory(prefix="tape-")
        self.folder = pathlib.Path(self.temporary.name)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.temporary.cleanup()

    def environment(self, **extra):
        kept = {name: value for name, value in os.environ.items()
                if not name.startswith(("KVR_", "XDG_", "LC_", "LANG"))}
        kept.update(HOME=str(self.folder), TZ="CET-1", LC_ALL="C")
        kept.update({name: str(value) for name, value in extra.items()})
        return kept

    def run(self, command, stdin=b"", **extra):
        return subprocess.run([str(part) for part in command], input=stdin, capture_output=True,
                              check=False, cwd=self.folder, timeout=120,
                              env=self.environment(**extra))

    def record(self, tape, answers, library=None, **extra):
        """The program with the recorder before it."""
        return self.run([self.arguments.program], answers, KVR_TAPE_FILE=tape,
                        KVR_TAPE_LIBRARY=library or self.arguments.instrument,
                        LD_LIBRARY_PATH=pathlib.Path(self.arguments.recorder).parent, **extra)

    def play(self, tape, answers, **extra):
        return self.run([self.arguments.program], answers, KVR_TAPE_FILE=tape,
                        LD_LIBRARY_PATH=pathlib.Path(self.arguments.player).parent, **extra)

    def tool(self, *command, stdin=b"", **extra):
        return self.run([self.arguments.tool, *command], stdin, **extra)


class Failures:
    """Collects what is wrong."""

    def __init__(self):
        self.found = []

    def that(self, holds, what):
        if not holds:
            self.found.append(what)
            print(f"WRONG: {what}", flush=True)

    def status(self):
        print(f"{len(self.found)} wrong")
        return 1 if self.found else 0
