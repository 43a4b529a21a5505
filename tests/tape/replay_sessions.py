#!/usr/bin/env python3
"""Records session files and replays them: the replay must do byte for byte what was recorded.

Each session runs twice in a fresh home folder: once with the recorder between the program and its
client library, and once with the player, without bench, script and library. Compared are standard
output, standard error, how the program ended, and the files that it wrote; what the client library
alone writes, its record store and its call log, is left out.

KVR_TAPE_SESSIONS is the number of sessions to take, evenly spread; "all" takes every one.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import shutil
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
import run_session  # noqa: E402

USUAL_SAMPLE = 40
USUAL_SAMPLE_UNDER_WINE = 8  # a start takes many times as long
STARTED_WITHOUT_LIBRARY = "no call reached the library"


def plain_results(session, seen):
    """What has to be the same: all but what the library writes."""
    by_library = {path for path, _ in session.all("some file")}
    pauses = b"".join(line + b"\n" for line in seen["log"].split(b"\n")
                      if line.startswith(b"pause"))
    return {"output": seen["output"], "error output": seen["error output"],
            "ends with": seen["ends with"], "pauses": pauses,
            "files": {path: content for path, content in seen["files"].items()
                      if path not in by_library}}


def first_difference(recorded, played):
    for name, value in recorded.items():
        if played[name] != value:
            return f"{name}:\n  recorded {value!r}\n  played   {played[name]!r}"
    return None


def put_first(environment, system, folder):
    """The libraries of that folder come before all others."""
    name = "WINEPATH" if system.name == "windows" else "LD_LIBRARY_PATH"
    environment[name] = system.path(folder)


def real_library(file, folder, launcher):
    """The library behind the recorder; for Windows a copy, which must not have the recorder's name."""
    if not launcher:
        return file
    copy = folder / f"{file.parent.name}-real.dll"
    shutil.copy(file, copy)
    return copy


def replay(path, arguments, folder):
    """None, or what is wrong."""
    session = run_session.read_session(path)
    if session.has("tape"):
        return None
    start_up = run_session.start_up_of(session, run_session.START_UPS)
    tape = folder / (path.stem + "-" + path.parent.name + ".kvrtape")
    real = arguments.real["scripted" if session.has("script") else "instrument"]

    def record(environment, system):
        put_first(environment, system, arguments.recorder)
        environment.update(KVR_TAPE_FILE=system.path(tape), KVR_TAPE_LIBRARY=system.path(real))

    def play(environment, system):
        put_first(environment, system, arguments.player)
        environment.update(KVR_TAPE_FILE=system.path(tape))
        for name in ("KVR_BENCH_FILE", "KVR_SCRIPT_FILE"):
            environment.pop(name, None)

    try:
        recorded = plain_results(session, run_session.run(session, start_up, arguments, record))
        if not start_up.comes_before(recorded["output"]):
            return "the recorded start-up is not that of the session"
        if not tape.exists():
            return STARTED_WITHOUT_LIBRARY
        played = plain_results(session, run_session.run(session, start_up, arguments, play))
    except run_session.Skipped:
        return None
    wrong = first_difference(recorded, played)
    if wrong:
        return wrong
    receipt = json.loads(pathlib.Path(f"{tape}.receipt.json").read_text())
    if not receipt["complete"] or receipt["divergence"]:
        return f"not played whole: {receipt}"
    return None


def sample(files, wanted):
    if wanted == "all" or int(wanted) >= len(files):
        return files
    return [files[i * len(files) // int(wanted)] for i in range(int(wanted))]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--program", action="append", default=[], metavar="NAME=FILE")
    parser.add_argument("--scripted", required=True, type=pathlib.Path)
    parser.add_argument("--instrument", required=True, type=pathlib.Path)
    parser.add_argument("--recorder", required=True, help="folder of the recorder")
    parser.add_argument("--player", required=True, help="folder of the player")
    parser.add_argument("--launcher", action="append", default=[])
    parser.add_argument("--seconds", type=float, default=30)
    parser.add_argument("files", nargs="*", type=pathlib.Path)
    arguments = parser.parse_args()
    arguments.programs = dict(each.split("=", 1) for each in arguments.program)
    arguments.libraries = {"scripted": str(arguments.scripted.parent), "player": arguments.player,
                           "instrument": str(arguments.instrument.parent)}
    usual = USUAL_SAMPLE_UNDER_WINE if arguments.launcher else USUAL_SAMPLE
    tree = pathlib.Path(run_session.START_UPS).parent
    files = arguments.files or sample(sorted(tree.rglob("*.session")),
                                      os.environ.get("KVR_TAPE_SESSIONS", str(usual)))
    failed = without_tape = 0
    with tempfile.TemporaryDirectory(prefix="replay-") as folder, \
            concurrent.futures.ThreadPoolExecutor(2) as pool:
        arguments.real = {name: real_library(getattr(arguments, name), pathlib.Path(folder),
                                             arguments.launcher)
                          for name in ("scripted", "instrument")}
        results = pool.map(lambda path: (path, replay(path, arguments, pathlib.Path(folder))), files)
        for path, wrong in results:
            if wrong == STARTED_WITHOUT_LIBRARY:
                without_tape += 1
            elif wrong:
                failed += 1
                print(f"{path}: {wrong}", flush=True)
    print(f"{len(files)} sessions, {failed} came out otherwise, {without_tape} made no call")
    return 1 if failed or without_tape == len(files) else 0


if __name__ == "__main__":
    sys.exit(main())
