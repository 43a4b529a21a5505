#!/usr/bin/env python3
"""What may go wrong while a tape is recorded: kills at random moments, no room, the limit, a folder
that can't be written. No complete line is lost, and the calls go on.

KVR_TAPE_KILLS is the number of kills.
"""

import os
import pathlib
import random
import resource
import signal
import subprocess
import sys
import time

import common
from tool_commands import ANSWERS, BENCH

USUAL_KILLS = 10


def kill_at_random(place, wrong, bench, number):
    tape = place.folder / f"killed-{number}.kvrtape"
    process = subprocess.Popen(
        [place.arguments.program], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
        stderr=subprocess.DEVNULL, cwd=place.folder,
        env=place.environment(KVR_TAPE_FILE=tape, KVR_TAPE_LIBRARY=place.arguments.instrument,
                              LD_LIBRARY_PATH=pathlib.Path(place.arguments.recorder).parent,
                              KVR_BENCH_FILE=bench))
    process.stdin.write(ANSWERS)
    process.stdin.flush()
    # Kills by the size of the tape: spread over the lines, whatever the machine's load.
    wanted = random.randrange(1, 130_000)
    deadline = time.monotonic() + 20
    while process.poll() is None and time.monotonic() < deadline:
        if tape.exists() and tape.stat().st_size >= wanted:
            break
    process.send_signal(signal.SIGKILL)
    output = process.communicate()[0]
    if not tape.exists():
        return False
    text = tape.read_bytes()
    checked = place.tool("check", tape)
    said = checked.stdout.decode()
    wrong.that(checked.returncode in (0, 1), f"kill {number}: {checked.stderr!r}")
    wrong.that(checked.returncode == 0 or "whole" in said, f"kill {number}: {said}")
    # What the program has printed came from answers that are on the tape.
    for record in (b"PLANT-A7", b"PLANT-B8"):
        if b"record_id: " + record in output:
            wrong.that(text.count(b'"return":"kvr_Test_Ratio_1ph"') >=
                       (1 if record.endswith(b"A7") else 2), f"kill {number}: a line was lost")
    shown = place.tool("show", tape).stdout.decode()
    entered = shown.count("  -> kvr_")
    left = shown.count("  <- kvr_")
    wrong.that(0 <= entered - left <= 1, f"kill {number}: {entered} calls and {left} returns")
    if entered > left:
        wrong.that(": not answered" in said, f"kill {number}: the unanswered call is not named")
    tape.unlink()
    return True


# A small disk of its own, which goes with the process; what is on it is copied out.
SMALL_DISK = ["unshare", "--mount", "sh", "-c",
              'mount -t tmpfs -o "$1" none "$2" || exit 77; "$3"; status=$?; '
              'cp "$2"/*.kvrtape "$4" 2> /dev/null; exit $status', "disk"]


def disks_can_be_made(place):
    disk = place.folder / "no disk"
    disk.mkdir()
    try:
        return place.run(SMALL_DISK + ["size=64k", disk, "true", place.folder]).returncode == 0
    except FileNotFoundError:
        return False


def check_room(place, wrong, bench, plain):
    def run(name, preparation=None, launcher=(), **extra):
        home = place.folder / f"home of {name}"
        home.mkdir()
        tape = place.folder / f"{name}.kvrtape"
        done = subprocess.run(
            launcher or [place.arguments.program], input=ANSWERS, capture_output=True, check=False,
            cwd=place.folder, preexec_fn=preparation,
            env=place.environment(**{**dict(KVR_TAPE_FILE=tape, KVR_BENCH_FILE=bench,
                                            HOME=home,
                                            KVR_TAPE_LIBRARY=place.arguments.instrument), **extra},
                                  LD_LIBRARY_PATH=pathlib.Path(place.arguments.recorder).parent))
        said = done.stdout.replace(os.fsencode(home), os.fsencode(place.folder))
        wrong.that(said == plain and done.returncode == 0, f"{name}: the program goes on: {said[-300:]!r}")
        wrong.that(done.stderr.count(b"kvr-tape:") == 1, f"{name}: one line: {done.stderr!r}")
        return tape, done.stderr.decode()

    def no_room():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (30_000, 30_000))

    cases = [("full", "no room", no_room, {}),
             ("limited", "limit", None, {"KVR_TAPE_LIMIT": "20000"})]
    disk = place.folder / "disk"
    disk.mkdir()
    if disks_can_be_made(place):
        def on_disk(options):
            return SMALL_DISK + [options, disk, place.arguments.program, place.folder]
        cases.append(("full-disk", "no room", None,
                      {"launcher": on_disk("size=32k"), "KVR_TAPE_FILE": disk / "full-disk.kvrtape"}))
        _, said = run("read-only", launcher=on_disk("ro"), KVR_TAPE_FILE=disk / "new.kvrtape")
        wrong.that("nothing is recorded" in said and "Read-only file system" in said, said)
    else:
        print("left out: a full disk, a read-only disk; this user may not make any")
    for name, reason, preparation, extra in cases:
        tape, said = run(name, preparation, **extra)
        wrong.that(f"recording has stopped ({reason})" in said, f"{name}: {said}")
        last = tape.read_text().splitlines()[-1] if tape.exists() else ""
        wrong.that(last.startswith(f'{{"full":"{reason}"'), f"{name}: the last line is {last[:80]}")
        wrong.that(f"full {reason}: nothing was recorded after this" in
                   place.tool("check", tape).stdout.decode(), f"{name}: check")
        played = place.play(tape, ANSWERS)
        wrong.that(played.returncode == 98, f"{name}: the replay ends where the tape does")
    _, said = run("nowhere", KVR_TAPE_FILE="/proc/nowhere.kvrtape")
    wrong.that("nothing is recorded" in said, said)
    exists = place.folder / "exists.kvrtape"
    exists.write_text("mine")
    run("exists")
    wrong.that(exists.read_text() == "mine", "an existing file stays as it is")


def check_library(place, wrong):
    for name, library, reason in (
            ("itself", place.arguments.recorder, "is the recorder itself"),
            ("bare", "libkvr-client-api.so", "is no file"),
            ("none", "/nowhere/lib.so", "is no file")):
        done = place.record(place.folder / "none.kvrtape", ANSWERS, library)
        wrong.that(done.returncode == 97 and reason in done.stderr.decode(),
                   f"{name}: {done.returncode} {done.stderr!r}")


def main():
    arguments = common.read_arguments(__doc__)
    wrong = common.Failures()
    kills = int(os.environ.get("KVR_TAPE_KILLS", USUAL_KILLS))
    with common.Place(arguments) as place:
        bench = place.folder / "bench.toml"
        bench.write_text(BENCH)
        plain = place.record(place.folder / "plain.kvrtape", ANSWERS, KVR_BENCH_FILE=bench).stdout
        wrong.that(b"record_id: PLANT-B8" in plain, "the program works")
        check_room(place, wrong, bench, plain)
        check_library(place, wrong)
        with_tape = sum(kill_at_random(place, wrong, bench, number) for number in range(kills))
        print(f"{kills} kills, {with_tape} left a tape")
        wrong.that(with_tape * 2 > kills, "most kills come while a tape is written")
    return wrong.status()


if __name__ == "__main__":
    sys.exit(main())
