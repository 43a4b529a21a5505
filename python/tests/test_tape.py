"""The fixture tape: what was recorded is met again, and what differs fails the test."""

import os
import subprocess
import sys

import pytest

import kvr

CLIENT = """
import kvr
with kvr.connect() as instrument:
    with instrument.locked():
        tested = instrument.test_ratio_1ph(8, kvr.DOWN, nameplate_ratio=10)
    print(tested.record.data_ratio_1ph[0].phase.tnr)
"""


@pytest.fixture(name="recorded")
def fixture_recorded(bench, tmp_path):
    """A tape of CLIENT, and what it printed."""
    file = tmp_path / "recorded.kvrtape"
    done = subprocess.run([sys.executable, "-c", CLIENT], check=True, capture_output=True, text=True,
                          env=os.environ | {"KVR_TAPE_FILE": str(file),
                                            "KVR_TAPE_LIBRARY": os.environ["KVR_CLIENT_LIBRARY"],
                                            "KVR_CLIENT_LIBRARY": os.environ["KVR_TAPE_RECORDER"]})
    bench("[connection]\nrefused = 1\n")  # nobody must ask it from here on
    return file, float(done.stdout)


def client_at(voltage, ratios):
    def client():
        with kvr.connect() as instrument:
            with instrument.locked():
                tested = instrument.test_ratio_1ph(voltage, kvr.DOWN, nameplate_ratio=10)
            assert tested.record.data_ratio_1ph[0].phase.tnr in ratios, "another ratio"
    return client


def test_a_function_meets_the_recording(tape, recorded):
    file, ratio = recorded
    played = tape(file)
    assert played.play(client_at(8, [ratio])) == ""
    played.play(client_at(8, [ratio]))  # as often as one likes


def test_a_program_meets_the_recording(tape, recorded):
    tape(recorded[0]).play([sys.executable, "-c", CLIENT])


@pytest.mark.parametrize("client, words", [
    (client_at(9, []), r"(?s)request\.test_voltage: recorded 8 .*, now 9 .*status 98; the tape was not "),
    (client_at(8, []), r"(?s)AssertionError: another ratio.*status 1; the tape was "),
    (lambda: None, "status 0; the tape was not played whole"),
    ([sys.executable, "-c", "pass"], "status 0; the tape was not played whole"),
])
def test_what_differs_fails(tape, recorded, client, words):
    with pytest.raises(pytest.fail.Exception, match=words):
        tape(recorded[0]).play(client)
