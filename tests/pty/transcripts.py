"""The transcripts in the manuals are what the program says on the virtual instrument, but for the
time of day and the wait.

A transcript is a block of text after the comment <!-- answers: ... -->, which holds the answers
with a dash for an empty one. With <!-- tests: ... --> it is only what comes between the first test
and the last main menu. Its bench is the last block of toml before it in the same manual, or the
built-in one. With KVR_REBUILD_TRANSCRIPTS=1 the manuals are rewritten, for review.
"""

import os
import pathlib
import re
import time
import unittest

from console import Console

ROOT = pathlib.Path(__file__).resolve().parents[2]
MANUALS = ["README.md", "docs/virtual-instrument-lessons.md"]
HOME = "/home/operator"
BENCH = """
[instrument]
clock = 2026-11-20T09:30:00Z

[measurement]
duration = 0.0
"""
SECONDS_OF_SILENCE = 0.3
TRANSCRIPT = re.compile(r"<!-- (answers|tests): (.*?) -->\n+```text\n(.*?)```\n", re.DOTALL)
TESTS = re.compile(r"Testing at voltage: .*\n(?=!!! === )", re.DOTALL)
BENCHES = re.compile(r"```toml\n(.*?)```\n", re.DOTALL)


def wait_for_turn(console, answer, expected, echoed):
    """Waits until the program waits for an answer, since the echo of an answer must come after all
    output before it. A silence shows that it waits, but not in a test, which may be slow, nor while
    there is nothing but the echo of the last answer; on a busy machine the expected text shows it
    better."""
    deadline = time.monotonic() + 10
    console.read_for(10)
    while True:
        while console.read_for(SECONDS_OF_SILENCE):
            pass
        said = console.seen.replace(str(console.home), HOME)
        in_test = said.rfind("Testing at voltage: ") > said.rfind("0. Exit\n")
        is_asked = not in_test and console.seen != echoed
        comes_next = is_asked if expected is None else expected.startswith(said + answer)
        if comes_next or time.monotonic() > deadline:
            return


def run(bench, answers, expected):
    """The program's output on a bench for some answers, with their echoes."""
    with Console(bench=bench) as console:
        echoed = None
        for answer in answers:
            wait_for_turn(console, answer + "\n", expected, echoed)
            echoed = console.seen + answer + "\n"
            console.send(answer + "\n")
        status = console.wait()
        if status != 0:
            raise AssertionError(f"the program ended with {status}:\n{console.seen}")
        return console.seen.replace(str(console.home), HOME)


def bench_before(text, position):
    benches = BENCHES.findall(text, 0, position)
    return benches[-1] if benches else BENCH


class Transcripts(unittest.TestCase):
    maxDiff = None

    def test_are_what_the_program_says(self):
        for name in MANUALS:
            text = (ROOT / name).read_text()
            found = list(TRANSCRIPT.finditer(text))
            self.assertNotEqual(found, [], name)
            for transcript in reversed(found):
                answers = ["" if answer == "-" else answer for answer in transcript[2].split()]
                rebuilt = os.environ.get("KVR_REBUILD_TRANSCRIPTS")
                whole = transcript[1] == "answers" and not rebuilt
                said = run(bench_before(text, transcript.start()), answers,
                           transcript[3] if whole else None)
                if transcript[1] == "tests":
                    said = TESTS.search(said)[0]
                if rebuilt:
                    text = text[:transcript.start(3)] + said + text[transcript.end(3):]
                    (ROOT / name).write_text(text)
                with self.subTest(manual=name, answers=answers):
                    self.assertEqual(said, transcript[3])


if __name__ == "__main__":
    unittest.main()
