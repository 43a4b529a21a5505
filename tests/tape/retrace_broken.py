#!/usr/bin/env python3
"""retrace compares a library with a tape of the sound one: the sound one is found the same, each
broken library different, and where a file says that its field may differ, the same again.

Two tapes: of tests, records, refusals and a cancelled test; and of events, which come while the
bench changes.
"""

import contextlib
import json
import os
import pathlib
import shutil
import sqlite3
import sys
import threading
import time

import common

HEALTHY = """[instrument]
clock = 2021-03-05T11:00:00Z

[measurement]
duration = 0
steps = 2
samples_per_period = 16
periods = 2

[transformer]
vector_group = "Dyn1"

[store]
file = "{store}"
"""
EVENTS = HEALTHY + """
[status]
{status} = true
"""
CLIENT = pathlib.Path(__file__).with_name("retrace_client.py")
PACKAGE = CLIENT.parents[2] / "python"
# Where the difference has to be found first.
EXPECTED = {
    "callback_after_shutdown": "the status: it was not recorded",
    "cancel_ignored": "the progress: it was not recorded",
    "deleted_still_listed": "kvr_ListRecords, list: ",
    "device_info_one_byte_off": "kvr_GetDeviceInfo, info.",
    "events_out_of_order": "status, code: ",
    "freed_early": "kvr_FreeTestRecord, record.Ratio_1ph[0].",
    "lock_not_enforced": "kvr_LockAPI, code: ",
    "missing_export": "has no kvr_CancelOperation",
    "pointer_cleared_on_refusal": "kvr_ReadRecord, record: ",
    "result_four_bytes_off": "kvr_Test_Ratio_1ph, record.Ratio_1ph[0].phase.",
    "stale_reply": "kvr_Test_Ratio_1ph, record.",
    "status_flags_off": "kvr_GetStatus, status.",
    "status_too_long": "kvr_GetStatus, status: the library writes beyond its end",
    "stores_everything": "kvr_Test_Ratio_1ph, record.save_mode: ",
    "unterminated_text": "kvr_Test_Ratio_3ph, record.Ratio_3ph[0].phases[2].tvr_name",
    "wrong_sort": "kvr_ListRecords, list",
}


class Bench:
    """The bench of one run; that of events changes once the client has deleted a record."""

    def __init__(self, folder, tape, store):
        self.file, self.store = folder / "bench.toml", folder / "store"
        if tape == "events":
            shutil.copy(store, self.store)
        self.over = threading.Event()
        self.thread = threading.Thread(target=self.change) if tape == "events" else None
        self.file.write_text(self.events("emergency_button_pressed") if self.thread else
                             HEALTHY.format(store=self.store))

    def events(self, status):
        return EVENTS.format(store=self.store, status=status)

    def is_deleted(self):
        try:
            with contextlib.closing(sqlite3.connect(f"file:{self.store}?mode=ro", uri=True)) as store:
                ids = [row[0] for row in store.execute("SELECT record_id FROM records")]
        except sqlite3.Error:
            return False
        return "A" not in ids

    def change(self):
        while not self.over.is_set():
            if self.is_deleted():
                new = self.file.with_suffix(".new")
                new.write_text(self.events("interlock_on"))
                new.replace(self.file)
                return
            time.sleep(0.02)

    def __enter__(self):
        if self.thread:
            self.thread.start()
        return self

    def __exit__(self, *_):
        self.over.set()
        if self.thread:
            self.thread.join()


class Retracing:

    def __init__(self, place, wrong):
        self.place, self.wrong, self.tapes = place, wrong, {}
        self.runs = 0
        self.store = None

    def run(self, tape, command, **extra):
        self.runs += 1
        home = self.place.folder / f"run-{self.runs}"
        home.mkdir()
        with Bench(home, tape, self.store) as bench:
            return self.place.run(command, KVR_BENCH_FILE=bench.file, HOME=home, **extra)

    def record(self, tape):
        self.tapes[tape] = file = self.place.folder / f"{tape}.kvrtape"
        done = self.run(tape, [sys.executable, "-B", CLIENT, tape], KVR_TAPE_FILE=file,
                        KVR_TAPE_LIBRARY=self.place.arguments.instrument,
                        KVR_CLIENT_LIBRARY=self.place.arguments.recorder, PYTHONPATH=PACKAGE)
        self.wrong.that(done.returncode == 0, f"recording {tape}: {done.stderr.decode()}")
        self.store = self.store or self.place.folder / f"run-{self.runs}" / "store"

    def retrace(self, tape, library, *options):
        """Status and what was found."""
        done = self.run(tape, [self.place.arguments.tool, "retrace", self.tapes[tape], "--library",
                               library, "--energise", *options])
        return done.returncode, (done.stdout + done.stderr).decode("latin-1")


def check_tolerance(retracing, broken, tolerance):
    """Fields may differ where a file says so, and nowhere else."""
    library = broken / "libbroken-device_info_one_byte_off.so"
    for fields, status in ((["kvr_GetDeviceInfo.info.*"], 0), (["*.info.*"], 0), (["*"], 0),
                           (["kvr_GetStatus.info.*", "kvr_GetDeviceInfo.info"], 1), ([], 1)):
        tolerance.write_text(json.dumps({"fields": fields}))
        found = retracing.retrace("work", library, "--tolerance", tolerance)
        retracing.wrong.that(found[0] == status, f"tolerance {fields}: {found}")
    for text in ("{}", "[", '{"fields": [1]}'):
        tolerance.write_text(text)
        found = retracing.retrace("work", library, "--tolerance", tolerance)
        retracing.wrong.that(found[0] == 2, f"tolerance {text}: {found}")


def main():
    arguments = common.read_arguments(__doc__)
    wrong = common.Failures()
    with common.Place(arguments) as place:
        retracing = Retracing(place, wrong)
        for tape in ("work", "events"):
            retracing.record(tape)
            for _ in range(int(os.environ.get("KVR_TAPE_RETRACES", "1"))):
                sound = retracing.retrace(tape, arguments.instrument)
                wrong.that(sound == (0, "0 differences\n"), f"the sound library, {tape}: {sound}")
        broken = pathlib.Path(arguments.broken)
        libraries = sorted(broken.glob("*.so"))
        wrong.that(len(libraries) >= 16, f"{len(libraries)} broken libraries")
        for library in libraries:
            name = library.stem.removeprefix("libbroken-")
            tape = "events" if name == "events_out_of_order" else "work"
            status, found = retracing.retrace(tape, library)
            first = found.split("\n", maxsplit=1)[0]
            print(f"{name}: {first}", flush=True)
            wrong.that(status == (2 if name == "missing_export" else 1) and EXPECTED[name] in first,
                       f"{name}: status {status}")
        check_tolerance(retracing, broken, place.folder / "tolerance.json")
    return wrong.status()


if __name__ == "__main__":
    sys.exit(main())
