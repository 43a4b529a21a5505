#!/usr/bin/env python3
"""retrace compares a library with a tape of the sound one: the sound one is found the same, and each
broken library whose fault shows in these calls is found different.

The tape is that of the contract suite, which makes tests, reads, lists and deletes records and is
refused what it may not do. KVR_TAPE_RETRACE=all takes all broken libraries and not just a few.
"""

import json
import os
import pathlib
import subprocess
import sys

import common

BENCH = """[instrument]
clock = 2021-03-05T11:00:00Z

[measurement]
duration = 0.1
steps = 2
"""
USUAL = ("missing_export", "status_flags_off", "result_four_bytes_off")
# Faults that these calls can't show, each with its reason.
NOT_SHOWN = {
    "callback_after_shutdown": "no callback comes at all in a healthy session",
    "events_out_of_order": "needs a connection that is lost",
    "freed_early": "what was freed early reads the same until it is used for something else",
    "status_too_long": "writes after the record, where the tape does not look",
    "pointer_cleared_on_refusal": "a refused call leaves null behind null",
}


def main():
    arguments = common.read_arguments(__doc__)
    wrong = common.Failures()
    suite = pathlib.Path(arguments.tool).parent / "contract-suite"
    with common.Place(arguments) as place:
        bench, tape = place.folder / "bench.toml", place.folder / "suite.kvrtape"
        tolerance = place.folder / "tolerance.json"
        tolerance.write_text(json.dumps({"fields": [
            "*.record.timestamp", "*.record.record_id", "*.list[*",
            "kvr_GetDeviceInfo.info.device_date_time",
            # tests that run at the same time: which reports first, and which has the lock
            "progress.progress.current", "kvr_GetStatus.status.api_locked"]}))
        bench.write_text(BENCH)

        def run(command, home, **extra):
            folder = place.folder / home
            folder.mkdir()
            return subprocess.run([str(part) for part in command], capture_output=True, check=False,
                                  cwd=folder, timeout=200, env=place.environment(
                                      KVR_BENCH_FILE=bench, **extra) | {"HOME": str(folder)})

        recorded = run([suite, "--clear", arguments.recorder], "recorded", KVR_TAPE_FILE=tape,
                       KVR_TAPE_LIBRARY=arguments.instrument)
        wrong.that(recorded.returncode == 0, f"recording: {recorded.stdout!r}")

        def retrace(library, home):
            return run([arguments.tool, "retrace", tape, "--library", library, "--tolerance",
                        tolerance, "--energise"], home)

        sound = retrace(arguments.instrument, "sound")
        wrong.that(sound.returncode == 0, f"the sound library: {sound.stdout.decode()[:3000]}"
                   f"{sound.stderr.decode()}")
        libraries = sorted(pathlib.Path(arguments.broken).glob("*.so"))
        if os.environ.get("KVR_TAPE_RETRACE") != "all":
            libraries = [each for each in libraries if each.stem.endswith(USUAL)]
        for library in libraries:
            name = library.stem.removeprefix("libbroken-")
            done = retrace(library, name)
            first = (done.stdout + done.stderr).decode().split("\n")[0]
            print(f"{name}: {done.returncode} {first}", flush=True)
            if name in NOT_SHOWN:
                continue
            expected = 2 if name == "missing_export" else 1
            wrong.that(done.returncode == expected, f"{name}: status {done.returncode}")
    return wrong.status()


if __name__ == "__main__":
    sys.exit(main())
