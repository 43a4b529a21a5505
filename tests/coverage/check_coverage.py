#!/usr/bin/env python3
"""Checks what the tests have executed, in a build with the preset "coverage" whose tests have run.

  check_coverage.py BUILD_FOLDER

Fails unless every line of src/ has been executed, 95 of 100 of its branches, and 95 of 100 lines of
virtual_instrument/; prints the lines and branches that have not been.

Only branches on a line with a condition count. Others are the compiler's own,
for an exception that passes, for the first use of a static variable, for a null pointer at delete
and for a log line that is switched off.
"""

import collections
import json
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
LEAST = {("src", "lines"): 1.0, ("src", "branches"): 0.95, ("virtual_instrument", "lines"): 0.95}
CONDITION = re.compile(r"\b(if|for|while|switch|case)\b|\?|&&|\|\|")


def measured(build):
    report = subprocess.run(
        ["gcovr", "--root", ROOT, "--filter", "src/", "--filter", "virtual_instrument/",
         "--exclude-unreachable-branches", "--json", "-", build],
        check=True, capture_output=True, text=True, cwd=ROOT).stdout
    return json.loads(report)["files"]


def main():
    counts = collections.defaultdict(lambda: [0, 0])
    for file in measured(pathlib.Path(sys.argv[1]).resolve()):
        name = file["file"]
        texts = (ROOT / name).read_text().split("\n")
        folder = name.split("/")[0]
        for line in file["lines"]:
            if line.get("gcovr/noncode"):
                continue
            number = line["line_number"]
            text = texts[number - 1].strip()
            count = counts[folder, "lines"]
            count[1] += 1
            count[0] += line["count"] > 0
            if line["count"] == 0:
                print(f"{name}:{number}: not executed: {text}")
            elif CONDITION.search(text):
                branches = [branch["count"] > 0 for branch in line["branches"]
                            if not branch["throw"]]
                count = counts[folder, "branches"]
                count[1] += len(branches)
                count[0] += sum(branches)
                if folder == "src" and not all(branches):
                    print(f"{name}:{number}: {sum(branches)} of {len(branches)} branches: {text}")
    enough = True
    for key in sorted(counts):
        reached, all_of_them = counts[key]
        share = reached / all_of_them
        print(f"{key[0]:<20}{key[1]:<10}{reached:>6} of {all_of_them:>5}  {100 * share:.1f} %")
        enough = enough and share >= LEAST.get(key, 0)
    return 0 if enough and all(key in counts for key in LEAST) else 1


if __name__ == "__main__":
    sys.exit(main())
