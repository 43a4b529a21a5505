"""Random answers to the whole program on the scripted library: it neither crashes nor hangs, frees
all records and lists, and ends when told to, or at the end of the answers.

The seeds are fixed, so every run types the same. A fault that is found belongs into a session file.
"""

import argparse
import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile

WAY_OUT = b"\n" + b"0\n" * 20
SCRIPTS = (
    "",
    "kvr_ConnectAPI: 5\nkvr_GetDeviceInfo: 6\nkvr_GetStatus: 7\nkvr_Test_Ratio_1ph: 31\n",
    "kvr_CheckRecordExists: 0 exists=1\nkvr_CheckRecordExists: 13\nkvr_Test_Ratio_1ph: 44 record=null\n",
    "kvr_GetDeviceInfo: 0 instrument_type=2\nkvr_Test_Ratio_1ph: 0 raw=null progress=1/2 status=83\n",
    "always kvr_GetStatus: 0 database_loaded=0 device_status_code=-1\n",
)
WORDS = (b"1", b"2", b"2", b"2", b"3", b"5", b"0", b"-1", b"", b"", b"A", b"z", b"10x5", b"3x2", b"x",
         b"12.5abc", b"1e50", b"nan", b"inf", b"0x10", b"T1", b"T2", b" ", b"\t2", b"2x", b"2 1 1",
         b"99999999999", b"2147483647", b"a/b", b"%s%n", b"12345678901234567", b"\xc3\xa4", b"\r")
THREE_PHASE_TEST = b"1\n1\n1\n2\n11\n\n\nT1"  # too long a way to be found by chance


def line(chance, words):
    kind = chance.random()
    if kind < 0.7:
        return chance.choice(words)
    if kind < 0.8:
        return b" ".join(chance.choice(words) for _ in range(chance.randrange(5)))
    if kind < 0.99:
        return chance.randbytes(chance.randrange(20))
    return chance.randbytes(chance.randrange(20000))


def answers(chance, words):
    """What is typed. The last answer has no line feed."""
    lines = [b"1"] if chance.random() < 0.8 else []
    lines += [line(chance, words) for _ in range(chance.randrange(60))]
    typed = b"\n".join(lines)
    # A plan of thousands of tests is valid, but would take too long.
    return re.sub(rb"([xX]\s*\+?)\d{3,}", rb"\g<1>3", typed)


def run(program, library, script, typed):
    """The fault of a run, or nothing, and how many tests it made."""
    with tempfile.TemporaryDirectory(prefix="random-") as temporary:
        folder = pathlib.Path(temporary)
        (folder / "script").write_text(script)
        (folder / "work").mkdir()
        environment = dict(os.environ, HOME=str(folder / "home"), LC_ALL="C", TZ="CET-1",
                           LD_LIBRARY_PATH=library, KVR_SCRIPT_FILE=str(folder / "script"),
                           KVR_CALL_LOG=str(folder / "calls"))
        try:
            done = subprocess.run([program], input=typed, stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE, cwd=folder / "work", env=environment,
                                  timeout=20, check=False)
        except subprocess.TimeoutExpired:
            return "did not end", 0
        calls = (folder / "calls").read_text().splitlines()
        complaint = complaint_about(done, calls)
        return complaint, sum(call.startswith("kvr_Test_Ratio") for call in calls)


def complaint_about(done, calls):
    if done.returncode != 0 or done.stderr:
        return f"ended with {done.returncode}: {done.stderr.decode('latin-1')}"
    if not done.stdout.endswith(b"\nExiting...\nEND\n"):
        return "did not say END"
    if calls.count("kvr_LockAPI") != calls.count("kvr_UnlockAPI"):
        return "did not unlock what it locked"
    if calls.count("kvr_Lib_Shutdown") != 1:
        return "did not shut the library down once"
    kept = [call for call in calls if call.startswith("! record") or "what is not" in call]
    return "\n".join(kept)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--program", required=True)
    parser.add_argument("--library", required=True, help="folder of the scripted library")
    parser.add_argument("--ends-with-its-input", action="store_true",
                        help="the program is the workbench, which needs no way out")
    parser.add_argument("--first", type=int, default=1, help="seed of the first run")
    parser.add_argument("--runs", type=int, default=150)
    arguments = parser.parse_args()
    tests_made = 0
    for seed in range(arguments.first, arguments.first + arguments.runs):
        chance = random.Random(seed)
        script = SCRIPTS[seed % len(SCRIPTS)]
        if arguments.ends_with_its_input:
            typed = answers(chance, WORDS + (THREE_PHASE_TEST,) * 8)
        else:
            typed = answers(chance, WORDS) + WAY_OUT
        complaint, tests = run(os.path.abspath(arguments.program),
                               os.path.abspath(arguments.library), script, typed)
        tests_made += tests
        if complaint:
            print(f"With seed {seed} the program {complaint}\nScript:\n{script}\nTyped: {typed!r}")
            return 1
    print(f"{arguments.runs} runs made {tests_made} tests")
    return 0 if tests_made > arguments.runs else 1  # fewer: the answers don't get far enough


if __name__ == "__main__":
    sys.exit(main())
