#!/usr/bin/env python3
"""Ends clients of the library in every way in which a process ends by itself. The record store is
then one file: it is copied alone, and the copy must hold each test that the library reported as
stored. After a kill the file must be complete as soon as the next client has started.

  end_store_clients.py COMMAND ...     which runs store-client

KVR_STORE_ENDS is the number of clients that end while another thread stores tests, 20 without it.
"""

import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

CLIENT = sys.argv[1:]
ENDS = int(os.environ.get("KVR_STORE_ENDS", "20"))
SECONDS = 120  # until a client counts as hanging

COUNT = 3
SAVED = [f"T{number}" for number in range(COUNT)]
BENCH = """[measurement]
duration = 0
samples_per_period = 16
periods = 2
[store]
file = "records.db"
"""

WAYS = {  # with the exit status of each, and what it stores beyond the first few
    "shut-down": (0, []),
    "shut-down-after-each": (0, []),
    "shut-down-and-begin-again": (0, [f"T{COUNT}"]),
    "return-from-main": (0, []),
    "save-in-static-destructor": (0, [f"T{COUNT}"]),
    "exit-while-main-reads": (3, []),
    "exit-in-status-callback": (3, []),
    "exit-in-progress-callback": (3, []),
}


class Failure(Exception):
    pass


def expect(condition, text):
    if not condition:
        raise Failure(text)


class Place:
    """A folder with a bench and a store, and a client in it."""

    def __init__(self, folder):
        self.folder = folder
        folder.mkdir()
        (folder / "bench.toml").write_text(BENCH)

    def start(self, way, count):
        environment = dict(os.environ, KVR_BENCH_FILE="bench.toml")
        return subprocess.Popen([*CLIENT, way, str(count)], cwd=self.folder, env=environment,
                                stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def end(self, way, count):
        """Exit status and words of a client that ends by itself; its input stays open."""
        client = self.start(way, count)
        try:
            client.wait(timeout=SECONDS)
        except subprocess.TimeoutExpired as hanging:
            client.kill()
            raise Failure("it hangs") from hanging
        with client:
            return client.returncode, client.stdout.read().splitlines()

    def files(self):
        return sorted(path.name for path in self.folder.iterdir())

    def records_of_copy(self):
        """What the store's file holds without the files beside it."""
        with tempfile.TemporaryDirectory() as folder:
            copy = Place(Path(folder) / "copy")
            shutil.copyfile(self.folder / "records.db", copy.folder / "records.db")
            status, ids = copy.end("list", 0)
            expect(status == 0, f"the copy can't be read: {ids}")
            return ids


def check_one_file(place):
    expect(place.files() == ["bench.toml", "records.db"], f"it leaves {place.files()}")


def end_in_each_way(folder):
    for way, (status, more) in WAYS.items():
        place = Place(folder / way)
        try:
            ended, words = place.end(way, COUNT)
            expect(words == [f"saved {one}" for one in SAVED + more], f"it says {words}")
            expect(ended == status, f"exit status {ended}")
            check_one_file(place)
            held = place.records_of_copy()
            expect(held == SAVED + more, f"the one file holds {held}")
        except Failure as failure:
            raise Failure(f"{way}: {failure}") from failure


def end_while_another_saves(folder):
    """The last test may be stored without being reported."""
    for number in range(ENDS):
        place = Place(folder / f"saving-{number}")
        try:
            ended, words = place.end("exit-while-another-saves", 1 + number)
            expect(ended == 3, f"exit status {ended}, {words[-1:]}")
            check_one_file(place)
            saved = {word.removeprefix("saved ") for word in words}
            held = set(place.records_of_copy())
            expect(len(saved) > number and saved <= held, f"{saved - held} are lost")
            expect(len(held) <= len(saved) + 1, f"{held - saved} are stored but not reported")
        except Failure as failure:
            raise Failure(f"exit-while-another-saves {number}: {failure}") from failure


def look_before_kill(place, way, count):
    """What the file alone holds, and which files exist, when a client reports that it is ready.
    Then the client is killed."""
    with place.start(way, count) as client:
        try:
            while (line := client.stdout.readline()) not in ("ready\n", ""):
                pass
            expect(line == "ready\n", f"{way}: the client does not get there")
            return place.records_of_copy(), place.files()
        finally:
            client.kill()


def shut_down_and_live_on(folder):
    place = Place(folder / "living")
    held, files = look_before_kill(place, "shut-down-and-wait", COUNT)
    expect(held == SAVED, f"after a shutdown the file holds {held}")
    expect(files == ["bench.toml", "records.db"], f"a shutdown leaves {files}")


def kill(folder):
    place = Place(folder / "kill")
    look_before_kill(place, "wait", COUNT)
    held, _ = look_before_kill(place, "wait", 0)  # stores nothing, and is killed as well
    expect(held == SAVED, f"after a kill and a start the file holds {held}")
    expect(place.records_of_copy() == SAVED, "after two kills records are lost")
    expect(place.end("list", 0) == (0, SAVED), "a store that was killed can't be listed")
    check_one_file(place)


def main():
    with tempfile.TemporaryDirectory() as folder:
        try:
            end_in_each_way(Path(folder))
            print(f"{len(WAYS)} ways to end")
            end_while_another_saves(Path(folder))
            print(f"{ENDS} ends while another thread stores tests")
            shut_down_and_live_on(Path(folder))
            kill(Path(folder))
            print("a shutdown and two kills")
        except Failure as failure:
            print(failure)
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
