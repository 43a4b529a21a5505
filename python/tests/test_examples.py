"""The examples run, and say what they should."""

import pathlib
import re
import subprocess
import sys

EXAMPLES = pathlib.Path(__file__).resolve().parents[1] / "examples"


def test_ten_lines(bench):
    done = subprocess.run([sys.executable, EXAMPLES / "ten_lines.py"], check=True, capture_output=True,
                          text=True)
    assert re.fullmatch(r"Instrument VI-000001\n(\d+ V: ratio (10|9)\.\d{4}, error [+-]0\.\d{3} %\n){3}",
                        done.stdout)
    assert bench.path.exists()


def test_tests_of_ones_own():
    done = subprocess.run([sys.executable, "-m", "pytest", "-q", "-p", "no:cacheprovider",
                           EXAMPLES / "test_my_library.py"], check=False, capture_output=True, text=True)
    assert "2 passed" in done.stdout, done.stdout
