#!/usr/bin/env python3
"""Interrupts series of tests at random moments, and looks at what is left: the console tester on the
virtual instrument, each run in a process of its own.

  interrupt_series.py --program CONSOLE-TESTER --library FOLDER

A run is interrupted by a stop signal, by one that ends the program, by two stop signals, by a kill, by
a lost connection, by a disk that is full from some byte on, or by a results folder that vanishes.
Afterwards: what was written before is intact, the program has reacted correctly, and the next run in the same folder is whole. A
record store is one file if the process has ended by itself.

KVR_SERIES_INTERRUPTIONS is the number of runs, 42 without it; KVR_SERIES_SEED their seed.
"""

import argparse
import os
import random
import resource
import select
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time
from contextlib import closing
from pathlib import Path

RUNS = int(os.environ.get("KVR_SERIES_INTERRUPTIONS", "42"))
SEED = int(os.environ.get("KVR_SERIES_SEED", "1"))
SECONDS = 120  # until a run counts as hanging

TESTS = 90  # of a series: enough for its file to reach the disk more than once
BENCH = "[instrument]\nclock = 2024-03-05T12:00:00Z\n[measurement]\nduration = 0.002\nsteps = 2\nsamples_per_period = 16\nperiods = 2\n"
LOST = "[connection]\nlost = true\n"
STORE = "records.db"
BENCH_WITH_STORE = BENCH + f'[store]\nfile = "{STORE}"\n'
SERIES = f"2\n1\n1\n1\n8x{TESTS}\n\nSERIES\n"
NEXT = "2\n1\n1\n1\n8\n\nNEXT\n"
ANSWERS = "1\n" + SERIES + NEXT + "0\n"
ANSWERS_NEXT = "1\n" + NEXT + "0\n"

SERIES_FILE = "3.4.0-SERIES.csv"
NEXT_FILE = "NEXT.csv"
RAW = ".RAW.csv"

CANCELS = {signal.SIGINT: 0, signal.SIGQUIT: 1}
ENDS = {signal.SIGHUP: 2, signal.SIGTERM: 6}  # these end the program after they cancelled
STOPS = CANCELS | ENDS
CANCELLING = "Cancelling current operation...\n"
SECOND = " second signal - terminate immediately\n"
END = "\nExiting...\nEND\n"


class Failure(Exception):
    pass


def expect(condition, text):
    if not condition:
        raise Failure(text)


class Run:
    """A run of the program in a home folder of its own."""

    def __init__(self, options, home, bench=BENCH):
        self.options = options
        self.home = home
        self.results = home / "Documents" / "KVRU3"
        self.bench = home / "bench.toml"
        self.bench.write_text(bench)
        self.output = b""
        self.process = None

    def start(self, answers, largest_file=None):
        def limit():
            if largest_file is not None:
                signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
                resource.setrlimit(resource.RLIMIT_FSIZE, (largest_file, largest_file))
        (self.home / "answers").write_text(answers)
        environment = dict(os.environ, HOME=str(self.home), XDG_CONFIG_HOME="", LC_ALL="C",
                           TZ="CET-1", KVR_BENCH_FILE=str(self.bench),
                           LD_LIBRARY_PATH=self.options.library)
        with open(self.home / "answers", "rb") as typed:
            # A session of its own: no terminal, so that nobody is asked for a key.
            # pylint: disable-next=consider-using-with,subprocess-popen-preexec-fn
            self.process = subprocess.Popen(
                [self.options.program], stdin=typed, stdout=subprocess.PIPE,
                stderr=subprocess.STDOUT, cwd=self.home, env=environment, start_new_session=True,
                restore_signals=False, preexec_fn=limit)
        return self

    def read(self, deadline):
        left = deadline - time.monotonic()
        expect(left > 0 and select.select([self.process.stdout], [], [], left)[0], "it hangs")
        piece = os.read(self.process.stdout.fileno(), 65536)
        self.output += piece
        return piece != b""

    def wait_for(self, text):
        """Waits until a text has come. False if the program ended before."""
        deadline = time.monotonic() + SECONDS
        while text.encode() not in self.output:
            if not self.read(deadline):
                return False
        return True

    def finish(self):
        """Waits for the end. Gives the exit status, or minus the number of a signal."""
        deadline = time.monotonic() + SECONDS
        while self.read(deadline):
            pass
        return self.process.wait()

    def stop(self):
        if self.process is not None and self.process.poll() is None:
            self.process.kill()
            self.process.wait()

    def text(self):
        return self.output.decode("latin-1")

    def files(self, folder=None):
        folder = folder or self.results
        return {path.name: path.read_bytes() for path in folder.iterdir()} if folder.exists() else {}


class Sound:
    """The files of runs without an interruption."""

    def __init__(self, options):
        with tempfile.TemporaryDirectory(prefix="series-") as folder:
            run = Run(options, Path(folder))
            expect(run.start(ANSWERS).finish() == 0, "a run without an interruption fails")
            self.text = run.text()
            self.files = run.files()
        self.rows = self.files[SERIES_FILE].split(b"\n\n\n")[1].splitlines(keepends=True)[1:]
        raws = self.files[SERIES_FILE + RAW]
        expect(len(self.rows) == TESTS, f"{len(self.rows)} rows")
        self.raw_beginnings = [raws[:len(raws) * n // TESTS] for n in range(TESTS + 1)]


def rows_in(content, sound):
    """How many rows a series file holds; a part of one counts as none."""
    expect(sound.files[SERIES_FILE].startswith(content), "the series file holds something else")
    head = sound.files[SERIES_FILE].index(sound.rows[0])
    return content[head:].count(b"\n") if len(content) > head else 0


def check_beginnings(files, sound):
    """Each file holds a beginning of its expected content."""
    for name, content in files.items():
        expect(name in sound.files, f"a file {name}")
        if name.startswith(NEXT_FILE):
            # Its head holds a time, and its values depend on earlier measurements.
            continue
        expect(sound.files[name].startswith(content), f"{name} holds something else")


def check_to_the_end(run, status, sound):
    """The series has ended, early or not, and the next test in the same run has worked."""
    expect(status == 0, f"exit status {status}")
    text = told = run.text()
    for words in (CANCELLING, "BEFORE kvr_CancelOperation\n", "AFTER kvr_CancelOperation\n"):
        told = told.replace(words, "")
    expect(told.endswith(END), "no end")
    files = run.files()
    rows = rows_in(files[SERIES_FILE], sound)
    expect(files[SERIES_FILE].endswith(b"\n"), "a row in part")
    errors = text.count("ERROR in last test")
    expect(rows == TESTS or errors > 0, "an early end was not reported")
    expect(errors <= text.count(CANCELLING), "an error of another kind")
    raw = files[SERIES_FILE + RAW]
    expect(sound.files[SERIES_FILE + RAW].startswith(raw), "the RAW file holds something else")
    expect(raw.count(b"\n") * TESTS == sound.files[SERIES_FILE + RAW].count(b"\n") * rows,
           f"RAW data of other tests than the {rows}")
    if errors == (1 if rows < TESTS else 0):  # otherwise a late signal has hit the next test
        check_next(run)


def check_next(run):
    files = run.files()
    expect(files[NEXT_FILE].count(b"record_id: NEXT") >= 1, "no report of the next test")
    expect(files[NEXT_FILE].endswith(b"\n\n"), "a report in part")
    expect(len(files[NEXT_FILE + RAW]) > 0, "no RAW data of the next test")
    expect("record_id: NEXT" in run.text(), "no result of the next test")


class Interruption:
    def __init__(self, chance, options, sound, folder, bench):
        self.chance = chance
        self.sound = sound
        self.run = Run(options, folder, bench)

    def reach_a_moment(self):
        """Waits for a random point of the series."""
        left = self.chance.randrange(TESTS)
        expect(self.run.wait_for(f"Tests left: {left}\n"), "the series does not begin")
        time.sleep(self.chance.random() * 0.005)

    def send(self, number):
        if self.run.process.poll() is None:
            self.run.process.send_signal(number)

    def stop_signal(self):
        self.run.start(ANSWERS)
        self.reach_a_moment()
        self.send(self.chance.choice(list(CANCELS)))
        status = self.run.finish()
        expect(status == 0 or CANCELLING in self.run.text(), "a stop signal was not reported")
        check_to_the_end(self.run, status, self.sound)

    def ending_signal(self):
        """The series comes to its end first, so its RAW data are there."""
        number = self.chance.choice(list(ENDS))
        self.run.start(ANSWERS)
        self.reach_a_moment()
        self.send(number)
        status = self.run.finish()
        if status != 0:  # the answers may lead to the end first
            expect(status == ENDS[number], f"exit status {status}")
            expect(CANCELLING in self.run.text() and SECOND in self.run.text(), "no words")
        files = self.run.files()
        check_beginnings(files, self.sound)
        expect(SERIES_FILE + RAW in files, "no RAW data")

    def check_cut_off(self):
        """The process has ended at once: if that was in the series, there are no RAW data."""
        files = self.run.files()
        check_beginnings(files, self.sound)
        text = self.run.text()
        expect(SERIES_FILE + RAW not in files or "Tests left: 0\n" in text or
               "ERROR in last test" in text, "RAW data of a series that was cut off")

    def two_stop_signals(self):
        first, second = (self.chance.choice(list(STOPS)) for _ in range(2))
        self.run.start(ANSWERS)
        self.reach_a_moment()
        self.send(first)
        time.sleep(self.chance.random() * 0.003)
        self.send(second)
        status = self.run.finish()
        if SECOND not in self.run.text():  # at nearly the same time, or the menu came in between
            if first in ENDS or second in ENDS:  # no further test begins, and the answers go on
                expect(status == 0, f"exit status {status}")
                check_beginnings(self.run.files(), self.sound)
                return
            check_to_the_end(self.run, status, self.sound)
            return
        # Two signals sent together may be handled in either order.
        expect(status in (STOPS[first], STOPS[second]), f"exit status {status}")
        expect(CANCELLING in self.run.text(), "no first signal")
        if first in ENDS or second in ENDS:  # the series may have come to its end
            check_beginnings(self.run.files(), self.sound)
        else:
            self.check_cut_off()

    def kill(self):
        self.run.start(ANSWERS)
        self.reach_a_moment()
        self.send(signal.SIGKILL)
        expect(self.run.finish() in (-signal.SIGKILL, 0), "not killed")
        check_beginnings(self.run.files(), self.sound)

    def lose_connection(self):
        self.run.start(ANSWERS)
        self.reach_a_moment()
        new_bench = self.run.bench.with_suffix(".new")
        new_bench.write_text(self.run.bench.read_text() + LOST)
        new_bench.rename(self.run.bench)
        status = self.run.finish()
        text = self.run.text()
        if status == 0:  # the program ended before the library's thread reported the loss
            expect("END\n" in text, "no end")
            expect(text.count("ERROR in last test") > 0 or
                   rows_in(self.run.files()[SERIES_FILE], self.sound) == TESTS, "rows are lost")
        else:
            expect(status == 1, f"exit status {status}")
            for words in ("Exiting console tester...\n", "API has been shutdown\n"):
                # Output of the main thread may come in between.
                expect(words in text, "the loss was not reported")
            self.check_cut_off()
        check_beginnings(self.run.files(), self.sound)

    def fill_disk(self):
        size = self.chance.randrange(20000)
        status = self.run.start(ANSWERS, largest_file=size).finish()
        expect(status == 0, f"exit status {status}")
        expect(self.run.text().replace(str(self.run.home), "") ==
               self.sound.text.replace(self.sound_home(), ""), "the output differs")
        files = self.run.files()
        check_beginnings(files, self.sound)
        for name, content in self.sound.files.items():
            expect(len(files[name]) == min(size, len(content)), f"{name}: {len(files[name])} bytes")

    def sound_home(self):
        line = self.sound.text[self.sound.text.index("Folder with results: ") + 21:]
        return line[:line.index("/Documents")]

    def lose_folder(self):
        self.run.start(ANSWERS)
        self.reach_a_moment()
        away = self.run.home / "away"
        if self.chance.random() < 0.5:
            self.run.results.rename(away)
        else:
            shutil.rmtree(self.run.results, ignore_errors=True)
        status = self.run.finish()
        expect(status == 0, f"exit status {status}")
        expect(self.run.text().endswith(END), "no end")
        expect("ERROR" not in self.run.text(), "a test fails because of a folder")
        if away.exists():
            files = self.run.files(away)
            check_beginnings(files, self.sound)
            expect(files[SERIES_FILE] == self.sound.files[SERIES_FILE], "rows are lost")
        if not self.run.results.exists():
            expect(NEXT_FILE in self.run.files(away) or
                   "WARNING: Could not open file for write: " in self.run.text() or
                   "record_id: NEXT" in self.run.text(), "no result of the next test")

    def check_store(self):
        """The process has ended by itself, on whatever thread: the store is one file that holds
        each test of the series file."""
        stores = sorted(path.name for path in self.run.home.glob(STORE + "*"))
        expect(stores == [STORE], f"the store is {stores}")
        with closing(sqlite3.connect(self.run.home / STORE)) as store:
            tests, = store.execute("SELECT count(*) FROM tests JOIN records ON record ="
                                   " records.number WHERE record_id = 'SERIES'").fetchone()
        rows = rows_in(self.run.files().get(SERIES_FILE, b""), self.sound)
        expect(rows <= tests, f"{rows} rows and {tests} stored tests")

    def check_next_run(self, options):
        before = self.run.files()
        again = Run(options, self.run.home)
        try:
            status = again.start(ANSWERS_NEXT).finish()
        finally:
            again.stop()
        expect(status == 0, f"the next run ends with {status}")
        check_next(again)
        after = again.files()
        for name, content in before.items():
            expect(after[name].startswith(content) or name.endswith(RAW), f"{name} has changed")


KINDS = (Interruption.stop_signal, Interruption.ending_signal, Interruption.two_stop_signals,
         Interruption.kill, Interruption.lose_connection, Interruption.fill_disk, Interruption.lose_folder)
WITH_STORE = (Interruption.two_stop_signals, Interruption.lose_connection)  # often ended by exit()


def interrupt(number, options, sound):
    kind = KINDS[number % len(KINDS)]
    with tempfile.TemporaryDirectory(prefix="series-") as folder:
        interruption = Interruption(random.Random(f"{SEED} {number}"), options, sound, Path(folder),
                                    BENCH_WITH_STORE if kind in WITH_STORE else BENCH)
        try:
            kind(interruption)
            if kind in WITH_STORE:
                interruption.check_store()
            interruption.check_next_run(options)
        except (Failure, OSError, KeyError) as failure:
            raise Failure(f"run {number}, {kind.__name__}: {failure!r}\n"
                          f"{interruption.run.text()[-3000:]}") from failure
        finally:
            interruption.run.stop()
    return kind.__name__


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--library", required=True)
    options = parser.parse_args()
    print(f"{RUNS} interruptions, seed {SEED}")
    sound = Sound(options)
    counts = {}
    for number in range(RUNS):
        kind = interrupt(number, options, sound)
        counts[kind] = counts.get(kind, 0) + 1
        if number % 100 == 99:
            print(f"{number + 1} done", flush=True)
    print(", ".join(f"{kind} {count}" for kind, count in counts.items()))


if __name__ == "__main__":
    try:
        main()
    except Failure as failure:
        sys.exit(str(failure))
