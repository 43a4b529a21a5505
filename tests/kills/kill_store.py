#!/usr/bin/env python3
"""Kills processes that save to a record store: at every file operation of a change, and at random
moments, alone and beside another process on the same file. After each kill the store must open,
pass its integrity check and hold what it held before the change, or after it. Once the store is
open, the file must hold the same without the log beside it.

  kill_store.py COMMAND ...     which runs store-writer

KVR_STORE_KILLS is the number of kills at random moments, 60 without it; KVR_STORE_SEED their seed.
"""

import os
import random
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

WRITER = sys.argv[1:]
KILLS = int(os.environ.get("KVR_STORE_KILLS", "60"))
SEED = int(os.environ.get("KVR_STORE_SEED", "1"))

FAR = 1_000_000


class Failure(Exception):
    pass


def start(*arguments):
    return subprocess.Popen([*WRITER, *map(str, arguments)], stdin=subprocess.PIPE,
                            stdout=subprocess.PIPE, text=True)


def steps_held(store, name, steps):
    """The number of steps whose outcome the store holds: `steps`, or one more."""
    checked = subprocess.run([*WRITER, "check", store, name, str(steps)], stdout=subprocess.PIPE,
                             text=True, check=False)
    if checked.returncode != 0:
        raise Failure(f"after {steps} steps: {checked.stdout.strip()}")
    return int(checked.stdout)


def make_steps(store, name, first, end):
    process = start("run", store, name, first, end)
    output, _ = process.communicate()
    if process.returncode != 0:
        raise Failure(f"steps {first} to {end} without a kill: {output.strip()}")


def steps_done(output, first):
    done = [int(line.split()[1]) for line in output.splitlines() if line.startswith("done ")]
    unexpected = [line for line in output.splitlines() if not line.startswith("done ")]
    if unexpected:
        raise Failure(f"a writer says: {unexpected[0]}")
    return done[-1] + 1 if done else first


def copy_store(source, target):
    """Copies the log as well, but not the log's index, which a crash of the computer loses."""
    for suffix in ["", "-wal"]:
        if Path(str(source) + suffix).exists():
            shutil.copyfile(str(source) + suffix, str(target) + suffix)


def kill_at_points(folder, base, number):
    """Kills step `number` on copies of `base` at each of its operations; returns their number."""
    point = 0
    while True:
        point += 1
        attempt = folder / f"{number}-{point}"
        attempt.mkdir()
        store = attempt / "records.db"
        copy_store(base, store)
        process = start("stop", store, "K", number, point)
        where = process.stdout.readline().strip()
        if where == "":
            if process.wait() != 0 or steps_held(store, "K", number) != number + 1:
                raise Failure(f"step {number} without a kill")
            return point - 1
        if not where.startswith("at "):
            raise Failure(f"step {number}: {where}")
        process.kill()
        process.communicate()
        try:
            steps_held(store, "K", number)
        except Failure as failure:
            raise Failure(f"step {number} killed {where}: {failure}") from failure


def kill_at_every_point(folder):
    """Kills on a new store, on one that was closed, and on one with the log that a crash left."""
    kills = 0
    for number in [0, 1, 6, 11, 59]:
        closed = folder / f"closed-{number}.db"
        if number > 0:
            make_steps(closed, "K", 0, number)
        kills += kill_at_points(folder, closed, number)
    for number in [3, 65]:
        left = folder / f"left-{number}.db"
        process = start("run", left, "K", 0, FAR)
        while process.stdout.readline() != f"done {number - 1}\n":
            pass
        process.kill()
        # The process may have gone on a little; communicate() does not return what readline
        # buffered. A copy of the store says how far: opening a store checkpoints its log.
        reached = steps_done(process.stdout.read(), number)
        process.communicate()
        probe = folder / f"probe-{number}.db"
        copy_store(left, probe)
        kills += kill_at_points(folder, left, steps_held(probe, "K", reached))
    return kills


def longest_life(folder):
    """Upper limit in seconds for a random kill. Some kills come before the store is made, most
    while it is written."""
    began = time.monotonic()
    make_steps(folder / f"timed-{time.monotonic_ns()}.db", "K", 0, 1)
    return 2 * (time.monotonic() - began) + 0.05


def kill_at_random(folder, count):
    """Uses one store through several kills, and begins a new one now and then."""
    life = longest_life(folder)
    outcomes = {"before": 0, "after": 0, "without a store": 0}
    store, held = None, 0
    for kill in range(count):
        if kill % 20 == 0:
            store, held = folder / f"random-{kill}.db", 0
        process = start("run", store, "K", held, FAR)
        time.sleep(random.uniform(0, life))
        process.kill()
        done = steps_done(process.communicate()[0], held)
        made = store.exists()
        try:
            held = steps_held(store, "K", done)
        except Failure as failure:
            raise Failure(f"kill {kill} at random: {failure}") from failure
        outcome = "without a store" if not made else "after" if held > done else "before"
        outcomes[outcome] += 1
    return outcomes


def kill_beside_another(folder, count):
    """Two writers create and share one file. One is killed; the other must be unaffected."""
    end = 40
    life = longest_life(folder)
    for kill in range(count):
        store = folder / f"shared-{kill}.db"
        killed, other = start("run", store, "K", 0, end), start("run", store, "L", 0, end)
        time.sleep(random.uniform(0, life))
        killed.kill()
        done = steps_done(killed.communicate()[0], 0)
        output, _ = other.communicate()
        try:
            if other.returncode != 0 or steps_done(output, 0) != end:
                raise Failure(f"the other writer reports: {output.splitlines()[-1]}")
            steps_held(store, "K", done)
            if steps_held(store, "L", end) != end:
                raise Failure("the other one's records differ")
        except Failure as failure:
            raise Failure(f"kill {kill} beside another writer: {failure}") from failure


def main():
    random.seed(SEED)
    with tempfile.TemporaryDirectory() as folder:
        try:
            points = kill_at_every_point(Path(folder))
            print(f"{points} kills at every operation of a change")
            outcomes = kill_at_random(Path(folder), KILLS)
            print(f"{KILLS} kills at random moments: "
                  + ", ".join(f"{number} {outcome}" for outcome, number in outcomes.items()))
            shared = max(1, KILLS // 10)
            kill_beside_another(Path(folder), shared)
            print(f"{shared} kills beside another writer")
        except Failure as failure:
            print(f"seed {SEED}: {failure}")
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
