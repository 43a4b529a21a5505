#!/usr/bin/env python3
"""What a test of a plan costs beside one of the console tester's series, and beside the bare calls:
processor time per test of 1,000, on a bench of duration 0 and a clock without pauses.

    benchmarks/plan_cost.py BUILD [RUNS]    after a build with KVR_BUILD_BENCHMARKS
"""

import os
import pathlib
import resource
import statistics
import subprocess
import sys
import tempfile

TESTS = 1000
FEW = 2  # what is subtracted: start, connection, end
PLAN = """[[test]]
kind = "single-phase"
direction = "down"
voltages = "8x{}"
nameplate_ratio = 10
"""
ANSWERS = "1\n2\n2\n1\n1\n8x{}\n10\n\n0\n"


def seconds(command, folder, typed):
    """Processor time of a program, with what it starts."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    environment = dict(os.environ, HOME=str(folder), KVR_BENCH_FILE=str(folder / "bench.toml"))
    done = subprocess.run(command, input=typed.encode(), capture_output=True, cwd=folder,
                          env=environment, check=False)
    if done.returncode not in (0, 10):
        raise SystemExit(f"{command} ended with {done.returncode}: {done.stderr.decode()}")
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    os.environ["LD_LIBRARY_PATH"] = str(build / "lib")
    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(temporary)
        (folder / "bench.toml").write_text("[measurement]\nduration = 0.0\nsteps = 1\n")
        for count in (FEW, TESTS):
            (folder / f"{count}.toml").write_text(PLAN.format(count))
        ways = {
            "bare calls": lambda count: ([build / "bin/bare-calls", str(count)], ""),
            "console tester": lambda count: ([build / "under-test/console-tester-under-test"],
                                             ANSWERS.format(count)),
            "plan": lambda count: ([build / "under-test/tester-run-under-test", f"{count}.toml"], ""),
        }
        costs = {name: [] for name in ways}
        for _ in range(runs):
            for name, way in ways.items():
                some, few = (seconds(way(count)[0], folder, way(count)[1]) for count in (TESTS, FEW))
                costs[name].append((some - few) / (TESTS - FEW) * 1e3)
        for name, values in costs.items():
            print(f"{name:16}{statistics.median(values):7.2f} ms a test, median of {runs}")


if __name__ == "__main__":
    main()
