"""The instrument from Python: calls, records, errors, callbacks, threads, memory."""

import gc
import os
import pathlib
import threading
import time

import pytest

import kvr

SLOW = "[measurement]\nduration = 20.0\nsteps = 200\n"


def test_a_single_phase_test(instrument):
    with instrument.locked():
        tested = instrument.test_ratio_1ph(8, kvr.DOWN, nameplate_ratio=10, record_id="T1", raw_data=True)
    assert tested.code is kvr.Code.RES_OK
    assert tested.record.record_id == "T1"
    assert tested.record.raw_data
    [result] = tested.record.data_ratio_1ph
    assert result.direction is kvr.TestType.RATIO_DOWN
    assert result.phase.tnr == pytest.approx(10, rel=0.01)
    assert result.phase.status is kvr.Code.RES_OK
    assert result.phase.high_side_phase == "H1-H2"


def test_a_three_phase_test(instrument):
    with instrument.locked():
        tested = instrument.test_ratio_3ph(8, kvr.DOWN, windings=(kvr.WindingType.YN, kvr.WindingType.YN),
                                           clock=0, nameplate_ratio=10)
    [result] = tested.record.data_ratio_3ph
    assert len(result.phases) == 3
    assert result.ratio_3ph == pytest.approx(10, rel=0.01)
    assert result.setup.windings[0].winding_type is kvr.WindingType.YN


def test_all_kinds_of_stored_records_can_be_read(bench):
    bench(f"[store]\ndemonstration = true\nfile = '{bench.path}.demonstration'\n")
    with kvr.connect() as instrument:
        labels = instrument.list_records()
        read = {label.record_id: instrument.read_record(label.record_id) for label in labels}
    assert len(read) > 5
    for label in labels:
        assert read[label.record_id].test_type == label.test_type
    resistance = [record for record in read.values() if record.data_resistance]
    assert resistance[0].data_resistance[0].sides.primary.taps[0].points[0].rm > 0


def test_records_are_kept_listed_and_deleted(instrument):
    assert not instrument.record_exists("T1")
    with instrument.locked():
        instrument.test_ratio_1ph(8, record_id="T1")
    assert instrument.record_exists("T1")
    assert [label.record_id for label in instrument.list_records()] == ["T1"]
    instrument.delete_record("T1")
    assert instrument.list_records() == ()


def test_a_refusal_names_call_code_and_words(instrument, fault):
    fault("kvr_Test_Ratio_1ph", kvr.Code.RES_OPEN_LEAD)
    with instrument.locked(), pytest.raises(kvr.KvrError) as raised:
        instrument.test_ratio_1ph(8)
    assert raised.value.code is kvr.Code.RES_OPEN_LEAD
    assert raised.value.call == "kvr_Test_Ratio_1ph"
    assert raised.value.words
    assert not instrument.status().api_locked


def test_a_refused_connection_leaves_nothing_open(bench):
    bench('[connection]\nrefused = "KVR_RES_USB_ERROR"\n')
    for _ in range(2):
        with pytest.raises(kvr.KvrError, match="kvr_ConnectAPI: RES_USB_ERROR"):
            kvr.connect()


def test_an_instrument_after_another_one(bench):
    for number in range(5):
        bench(f'[instrument]\nserial_number = "VI-{number}"\n')
        with kvr.connect() as instrument:
            assert instrument.device_info().serial_number == f"VI-{number}"


@pytest.mark.parametrize("wrong, words", [
    (lambda i: i.test_ratio_1ph(8), "lock the instrument first"),
    (lambda i: kvr.connect(), "another instrument of this process is open"),
    (lambda i: i.read_record(""), "a record ID has 1 to 29 bytes"),
    (lambda i: i.read_record("x" * 30), "a record ID has 1 to 29 bytes"),
])
def test_wrong_use_raises_a_clear_error(instrument, wrong, words):
    with pytest.raises(kvr.UsageError, match=words):
        wrong(instrument)


@pytest.mark.parametrize("arguments, words", [
    ({"voltage": "8"}, "voltage has to be a finite number"),
    ({"voltage": float("nan")}, "voltage has to be a finite number"),
    ({"voltage": 8, "high_side": 0}, "a terminal pair is a number from 1 to 6"),
    ({"voltage": 8, "record_id": "x" * 17}, "at most 16 bytes"),
])
def test_wrong_arguments_raise_a_clear_error(instrument, arguments, words):
    with instrument.locked(), pytest.raises(kvr.UsageError, match=words):
        instrument.test_ratio_1ph(**arguments)


def test_a_real_instrument_is_not_energised_unasked(bench, instrument):
    bench('[instrument]\nserial_number = "SN-1"\n')
    with instrument.locked():
        with pytest.raises(kvr.UsageError, match="this is a real instrument"):
            instrument.test_ratio_1ph(8)
        assert instrument.test_ratio_1ph(8, energise=True).record.data_ratio_1ph


def test_a_closed_instrument(bench):
    with kvr.connect() as instrument:
        pass
    instrument.close()
    with pytest.raises(kvr.UsageError, match="the instrument is closed"):
        instrument.status()
    assert not instrument.cancel()
    assert not instrument.is_connected()


def test_the_api_is_unlocked_however_a_block_ends(instrument):
    with pytest.raises(ZeroDivisionError), instrument.locked():
        raise ZeroDivisionError
    with instrument.locked(), pytest.raises(kvr.UsageError, match="locked already"):
        with instrument.locked():
            pass


def test_a_missing_library_says_where_it_was_looked_for(tmp_path):
    with pytest.raises(OSError, match="nowhere.so.*KVR_CLIENT_LIBRARY"):
        kvr.load(tmp_path / "nowhere.so")


def test_a_library_that_is_another_one():
    with pytest.raises(OSError, match="is no client library: it has no kvr_Lib_Initialize"):
        kvr.load("libc.so.6")


# Callbacks and threads.

def test_progress_comes_from_another_thread(bench, instrument):
    bench("[measurement]\nduration = 0.0\nsteps = 3\n")
    seen = []
    with instrument.locked():
        instrument.test_ratio_1ph(8, progress=lambda current, total: seen.append(
            (current, total, threading.current_thread() is threading.main_thread())))
    assert [entry[:2] for entry in seen] == [(1, 3), (2, 3), (3, 3)]
    assert not any(entry[2] for entry in seen)


def test_an_error_of_a_callback_cancels_the_test_and_is_raised(bench, instrument):
    bench(SLOW)

    def fail(current, total):
        raise ZeroDivisionError(f"{current}/{total}")

    start = time.monotonic()
    with instrument.locked():
        with pytest.raises(ZeroDivisionError, match="1/200"):
            instrument.test_ratio_1ph(8, progress=fail)
        bench("")
        assert instrument.test_ratio_1ph(8).code is kvr.Code.RES_OK
    assert time.monotonic() - start < 15


def test_cancel_from_another_thread(bench, instrument):
    bench(SLOW)
    started = threading.Event()

    def cancel():
        started.wait()
        while not instrument.cancel():
            time.sleep(0.01)

    thread = threading.Thread(target=cancel)
    thread.start()
    with instrument.locked(), pytest.raises(kvr.KvrError) as raised:
        instrument.test_ratio_1ph(8, progress=lambda *_: started.set())
    thread.join()
    assert raised.value.code is kvr.Code.RES_OPERATION_CANCELLED


def test_a_call_from_a_second_thread_is_wrong_use(bench, instrument):
    bench(SLOW)
    errors = []

    def call(*_):
        try:
            instrument.status()
        except kvr.UsageError as error:
            errors.append(str(error))
        instrument.cancel()

    with instrument.locked(), pytest.raises(kvr.KvrError):
        instrument.test_ratio_1ph(8, progress=call)
    assert "is in a call of this instrument" in errors[0]


def test_events_arrive(bench):
    events = []
    with kvr.connect(on_status=lambda code, text: events.append((code, text))) as instrument:
        bench('[status]\nemergency_button_pressed = true\n[measurement]\nduration = 0.0\n')
        with instrument.locked(), pytest.raises(kvr.KvrError):
            instrument.test_ratio_1ph(8)
        deadline = time.monotonic() + 10
        while not events and time.monotonic() < deadline:
            time.sleep(0.01)
    assert kvr.Code.RES_EMERGENCY_STOP_PRESSED in [code for code, _ in events]


# Memory.

def resident_kib():
    status = pathlib.Path("/proc/self/status").read_text(encoding="ascii")
    return int(status.split("VmRSS:")[1].split()[0])


def test_many_tests_take_no_more_memory(instrument):
    """KVR_PYTHON_TESTS tests, 600 without it: the second half takes no more memory than the first."""
    count = int(os.environ.get("KVR_PYTHON_TESTS", "600"))
    with instrument.locked():
        for number in range(count):
            instrument.test_ratio_1ph(8, nameplate_ratio=10, raw_data=True, progress=lambda *_: None)
            if number == count // 2:
                gc.collect()
                half = resident_kib()
    gc.collect()
    grown = resident_kib() - half
    print(f"{count} tests: {half} KiB after half of them, {grown} KiB more at the end")
    assert grown < 1024
