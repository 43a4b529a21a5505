"""Stops of a plan, by the keys of a terminal and by signals: the first one ends the plan in order, a
second one ends it at once; the API is unlocked, and what was measured is kept."""

import os
import pathlib
import signal
import time
import unittest

from console import CTRL_BACKSLASH, CTRL_C, Console
from plan_runs import REAL, Run, single_test

STOPPING = "Stop: cancels what runs and ends the plan."
PLAN = "[run]\npause = 0\n" + single_test(voltages='"10x3"') + single_test()
BLOCKED = ("kvr_Test_Ratio_1ph: 0\n"
           "kvr_Test_Ratio_1ph: KVR_RES_OPERATION_CANCELLED progress=1/2 until_cancelled\n")
DEAF = "kvr_Test_Ratio_1ph: 0\nkvr_Test_Ratio_1ph: 7 progress=1/2 delay=60000ms\n"
SIGNALS = (signal.SIGINT, signal.SIGQUIT, signal.SIGHUP, signal.SIGTERM)


class PlanInATerminal(Console):
    """tester-run with standard output in a file and the terminal for the rest."""

    def __init__(self, script):
        super().__init__(script, program="KVR_PLAN_IN_A_TERMINAL")

    def __enter__(self):
        folder = pathlib.Path(os.environ["TMPDIR_OF_PLANS"])
        (folder / "plan.toml").write_text(PLAN)
        start = folder / "start"
        start.write_text(f"#!/bin/sh\nexec {os.path.abspath(os.environ['KVR_TESTER_RUN'])} --energise "
                         f"{folder}/plan.toml > {folder}/lines\n")
        start.chmod(0o755)
        os.environ["KVR_PLAN_IN_A_TERMINAL"] = str(start)
        self.lines_file = folder / "lines"
        return super().__enter__()

    def measured(self):
        return self.lines_file.read_text().count('"verdict":"no limits"')


class Stops(unittest.TestCase):

    @classmethod
    def setUpClass(cls):
        import tempfile  # pylint: disable=import-outside-toplevel
        cls.temporary = tempfile.TemporaryDirectory(prefix="plans-")
        os.environ["TMPDIR_OF_PLANS"] = cls.temporary.name

    @classmethod
    def tearDownClass(cls):
        cls.temporary.cleanup()

    def test_a_key_cancels_and_ends_in_order(self):
        for key in (CTRL_C, CTRL_BACKSLASH):
            with PlanInATerminal(BLOCKED) as console:
                console.expect("progress: 1/2\n")
                console.send(key)
                console.expect("The plan ends early: ")
                self.assertEqual(console.wait(), 40)
                self.assertIn(STOPPING, console.seen)
                self.assertEqual(console.measured(), 1)
                calls = console.calls()
                self.assertEqual(calls.count("kvr_UnlockAPI"), 1)
                self.assertEqual(calls.count("kvr_CancelOperation"), 1)
                self.assertEqual(calls[-1], "kvr_Lib_Shutdown")
                self.assertEqual(console.settings(), console.settings_before)

    def test_a_second_key_ends_at_once_and_unlocks(self):
        with PlanInATerminal(DEAF) as console:
            console.expect("progress: 1/2\n")
            console.send(CTRL_C)
            console.expect(STOPPING)
            console.send(CTRL_C)
            console.expect("Second stop: ends at once.")
            self.assertEqual(console.wait(), 40)
            self.assertEqual(console.measured(), 1)
            self.assertEqual(console.calls().count("kvr_UnlockAPI"), 1)

    def test_a_closed_terminal_ends_in_order(self):
        with PlanInATerminal(BLOCKED) as console:
            console.expect("progress: 1/2\n")
            console.close_terminal()
            self.assertEqual(console.wait(), 40)
            self.assertEqual(console.calls().count("kvr_UnlockAPI"), 1)
            self.assertEqual(console.measured(), 1)

    def start(self, script):
        run = Run("KVR_TESTER_RUN", REAL, plan=PLAN, script=script)
        import subprocess  # pylint: disable=import-outside-toplevel
        run.process = subprocess.Popen(run.command, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                       stdin=subprocess.DEVNULL, cwd=run.work, env=run.environment)
        return run

    def until(self, run, condition):
        deadline = time.monotonic() + 20
        while not condition():
            self.assertLess(time.monotonic(), deadline, "it did not come so far")
            self.assertIsNone(run.process.poll(), "it ended before")
            time.sleep(0.01)

    def test_each_signal_during_a_test(self):
        for number in SIGNALS:
            with self.subTest(signal=number), self.start(BLOCKED) as run:
                self.until(run, lambda r=run: r.call_names().count("kvr_Test_Ratio_1ph") == 2)
                run.process.send_signal(number)
                output, words = run.process.communicate(timeout=20)
                self.assertEqual(run.process.returncode, 40, words)
                self.assertEqual(run.call_names().count("kvr_UnlockAPI"), 1)
                self.assertEqual(output.count(b'"verdict":"no limits"'), 1)
                self.assertIn(b'"line":"end"', output)

    def test_each_signal_twice(self):
        for number in SIGNALS:
            other = signal.SIGTERM if number == signal.SIGHUP else number  # hangups count once
            with self.subTest(signal=number), self.start(DEAF) as run:
                self.until(run, lambda r=run: r.call_names().count("kvr_Test_Ratio_1ph") == 2)
                run.process.send_signal(number)
                self.until(run, lambda r=run: "kvr_CancelOperation" in r.call_names())
                run.process.send_signal(other)
                output, _ = run.process.communicate(timeout=20)
                self.assertEqual(run.process.returncode, 40)
                self.assertEqual(run.call_names().count("kvr_UnlockAPI"), 1)
                self.assertEqual(output.count(b'"verdict":"no limits"'), 1)

    def test_a_test_that_does_not_listen_ends_after_a_request_to_terminate(self):
        with self.start(DEAF) as run:
            self.until(run, lambda: run.call_names().count("kvr_Test_Ratio_1ph") == 2)
            run.process.send_signal(signal.SIGTERM)
            _, words = run.process.communicate(timeout=20)
            self.assertEqual(run.process.returncode, 40, words)
            self.assertEqual(run.call_names().count("kvr_UnlockAPI"), 1)

    def test_a_stop_at_each_call(self):
        """Each call of a plan lasts a moment; the stop comes while it does."""
        calls = ("kvr_Lib_Initialize", "kvr_SetClientKey", "kvr_ConnectAPI", "kvr_GetClientAPIInfo",
                 "kvr_GetDeviceInfo", "kvr_GetStatus", "kvr_LockAPI", "kvr_Test_Ratio_1ph",
                 "kvr_FreeTestRecord", "kvr_UnlockAPI")
        for call in calls:
            with self.subTest(call=call), self.start(f"{call}: 0 delay=400ms\n") as run:
                self.until(run, lambda r=run, c=call: c in r.call_names())
                run.process.send_signal(signal.SIGINT)
                output, words = run.process.communicate(timeout=20)
                self.assertEqual(run.process.returncode, 40, words)
                names = run.call_names()
                self.assertEqual(names.count("kvr_LockAPI"), names.count("kvr_UnlockAPI"))
                self.assertLess(names.count("kvr_Test_Ratio_1ph"), 4)
                self.assertEqual(names[-1], "kvr_Lib_Shutdown")
                self.assertIn(b'"exit_status":40', output)
                self.assertEqual([each for each in run.calls() if each.startswith("! ")], [])


if __name__ == "__main__":
    unittest.main()
