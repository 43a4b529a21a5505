#!/usr/bin/env python3
"""Runs the contract suite through the recorder: the same rules must be broken as on the bare
library, and the tape must be whole and play back to a client that does the same."""

import argparse
import os
import pathlib
import subprocess
import sys
import tempfile


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    for name in ("suite", "recorder", "tool", "scenes"):
        parser.add_argument(f"--{name}", required=True)
    parser.add_argument("--broken", action="append", default=[], metavar="RULE")
    parser.add_argument("library")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="contract-") as temporary:
        folder = pathlib.Path(temporary)
        tape, bench = folder / "suite.kvrtape", folder / "bench.toml"
        command = [arguments.suite, "--clear", "--scenes", arguments.scenes, "--bench", bench]
        for rule in arguments.broken:
            command += ["--expect-broken", rule]
        environment = dict(os.environ, KVR_TAPE_FILE=str(tape), KVR_TAPE_LIBRARY=arguments.library,
                           KVR_BENCH_FILE=str(bench), HOME=temporary)
        suite = subprocess.run(command + [arguments.recorder], env=environment, text=True,
                               capture_output=True, check=False)
        if arguments.broken == ["exports"]:
            # Every call is there in the recorder; what is missing behind it ends the process.
            named = "has no kvr_CancelOperation" in suite.stderr
            print(suite.stderr)
            return 0 if suite.returncode == 97 and named and not tape.exists() else 1
        if suite.returncode != 0:
            print(suite.stdout + suite.stderr)
            return 1
        check = subprocess.run([arguments.tool, "check", tape], text=True, capture_output=True,
                               check=False)
        print(check.stdout + check.stderr)
        return check.returncode


if __name__ == "__main__":
    sys.exit(main())
