"""The transcript in the README is what the program says on the virtual instrument's built-in bench,
but for the time of day and the wait."""

import pathlib
import re
import unittest

from console import Console

README = pathlib.Path(__file__).resolve().parents[2] / "README.md"
HOME = "/home/operator"
BENCH = """
[instrument]
clock = 2026-11-20T09:30:00Z

[measurement]
duration = 0.0
"""
SECONDS_OF_SILENCE = 0.2


def read_transcript():
    """The answers and the text of the README's transcript."""
    found = re.search(r"<!-- answers: (.*?) -->\n+```text\n(.*?)```\n", README.read_text(), re.DOTALL)
    return found[1].split(), found[2]


class ReadmeTranscript(unittest.TestCase):
    maxDiff = None

    def test_is_what_the_program_says(self):
        answers, transcript = read_transcript()
        with Console(bench=BENCH) as console:
            for answer in answers:
                # The echo of an answer stands where the program waits for it, so all before has to
                # have come.
                console.read_for(10)
                while console.read_for(SECONDS_OF_SILENCE):
                    pass
                console.send(answer + "\n")
            self.assertEqual(console.wait(), 0)
            self.assertEqual(console.seen.replace(str(console.home), HOME), transcript)


if __name__ == "__main__":
    unittest.main()
