"""Every way a plan can fail: its exit status, its words, the API unlocked, what was measured kept."""

import os
import pathlib
import resource
import signal
import unittest
import xml.etree.ElementTree

from plan_runs import INSTANT, REAL, RESULTS, Run, single_test

SERIES = single_test(voltages='"10x3"')
TWO_TESTS = '[run]\npause = 0\n' + SERIES + single_test(voltages="5")


class WaysToFail(unittest.TestCase):

    def expect(self, status, *words, arguments=REAL, plan=TWO_TESTS, script="", bench=None, **others):
        """Runs a plan to its end, which has to be unlocked and shut down in order."""
        with Run("KVR_TESTER_RUN", arguments, plan=plan, script=script, bench=bench,
                 **others) as run:
            run.finish()
            self.assertEqual(run.status(), status, run.words())
            for text in words:
                self.assertIn(text, run.words())
            names = run.call_names()
            self.assertEqual(names.count("kvr_LockAPI"), names.count("kvr_UnlockAPI"))
            self.assertEqual([call for call in run.calls() if call.startswith("! ")], [])
            if run.output == -1 and status != 64 and plan is not None:
                end = run.lines()[-1]
                self.assertEqual(end["line"], "end")
                self.assertEqual(end["exit_status"], status)
                run.kept = [line["record"] is not None for line in run.lines("measurement")]
                run.why = end["why"]
            run.kept_files = run.files()
            run.names = names
            run.answer = (run.done.stdout or b"").decode()
            return run

    # Plans and command lines.

    def test_all_problems_of_a_plan_at_once(self):
        plan = ("[conection]\nmethod = \"usb\"\n[run]\npause = -1\n"
                "[[test]]\nkind = \"single-phase\"\nvoltages = 0\nhigh = \"H1-X1\"\n[[test]]\nkind = 3\n")
        run = self.expect(
            64, plan=plan)
        self.assertEqual(run.done.stderr.decode().splitlines(), [
            "plan.toml:1: conection: expected one of the tables connection, item, run, limits, test",
            "plan.toml:4: run.pause: expected a number from 0 to 3600 s",
            "plan.toml:7: test.voltages: expected a voltage above 0 and up to 10000 V, a list of "
            "them, a text like \"10x5\" for five tests at 10 V, \"ascending\" or \"descending\"",
            "plan.toml:8: test.high: expected one of \"H1-H2\", \"H2-H3\", \"H3-H1\", \"H1-H0\", "
            "\"H2-H0\", \"H3-H0\"",
            "plan.toml:10: test.kind: expected one of \"single-phase\", \"three-phase\""])
        self.assertEqual(run.answer, "")
        self.assertEqual(run.names, [])

    def test_a_plan_that_is_no_toml(self):
        self.expect(64, "plan.toml:2: ", plan="[run]\n= 3\n")

    def test_a_plan_that_is_not_there(self):
        self.expect(64, "none.toml: can't be read", arguments=("none.toml",), plan=None)

    def test_help_names_each_exit_status(self):
        run = self.expect(0, arguments=("--help",), plan=None)
        for status in (0, 10, 20, 30, 40, 64):
            self.assertRegex(run.answer, rf"(?m)^ +{status}  ")
        for option in ("--energise", "--dry-run", "--example", "--junit", "--report", "-e",
                       "--version"):
            self.assertIn(option, run.answer)

    def test_no_plan(self):
        self.expect(64, "which plan?", arguments=(), plan=None)

    def test_an_unknown_option(self):
        self.expect(64, "--fast", arguments=("--fast",))

    # The connection.

    def test_a_library_that_does_not_start(self):
        run = self.expect(30, "kvr_Lib_Initialize failed!!!", script="kvr_Lib_Initialize: 1\n")
        self.assertEqual(run.why, "the client library could not be started")
        self.assertEqual(run.kept, [])

    def test_no_connection(self):
        run = self.expect(30, "Cannot connect to the device over USB!", script="kvr_ConnectAPI: 4\n")
        self.assertEqual(run.why, "no connection")
        self.assertEqual(run.names[-1], "kvr_Lib_Shutdown")

    def test_a_real_instrument_is_not_energised_unasked(self):
        run = self.expect(30, "--energise runs them", arguments=())
        self.assertFalse([name for name in run.names if name.startswith("kvr_Test")])
        self.assertNotIn("kvr_LockAPI", run.names)

    def test_an_instrument_that_does_not_say_what_it_is(self):
        run = self.expect(30, "--energise runs them", arguments=(),
                          script="kvr_GetDeviceInfo: 6\n")
        self.assertNotIn("kvr_LockAPI", run.names)

    def test_a_virtual_instrument_needs_no_word(self):
        self.expect(10, "4 of 4 measurements made: no limits.", arguments=(), bench=INSTANT)

    def test_terminal_pairs_of_an_instrument_that_has_none(self):
        run = self.expect(30, "This instrument has no choice of terminal pairs",
                          plan=single_test(high='"H2-H3"'),
                          script="kvr_GetDeviceInfo: 0 instrument_type=2\n")
        self.assertNotIn("kvr_LockAPI", run.names)

    def test_an_instrument_of_an_undefined_type(self):
        self.expect(30, "The instrument is of an undefined type",
                    script="kvr_GetDeviceInfo: 0 instrument_type=1000\n")

    # Verdicts.

    def test_within_and_outside(self):
        limits = "limits = { tnr = [%s] }\n"
        self.expect(0, "2 of 2 measurements made: within.",
                    plan="[run]\npause = 0\n" + single_test(voltages='"8x2"') + limits % "15, 17")
        run = self.expect(20, "2 of 2 measurements made: outside.",
                          plan="[run]\npause = 0\n" + single_test(voltages='"8x2"') + limits % "1, 2")
        check = run.lines("measurement")[0]["checks"]
        self.assertEqual(check, [{"quantity": "tnr", "phase": "A", "value": 16.0, "low": 1.0,
                                  "high": 2.0, "holds": False}])

    def test_outside_ends_the_plan_if_it_says_so(self):
        plan = ('[run]\npause = 0\nstop_on = ["outside"]\n[limits]\ntnr = [1, 2]\n' + SERIES
                + single_test())
        run = self.expect(20, "The plan ends early: a result is outside its limits.", plan=plan)
        self.assertEqual(run.kept, [True])

    def test_not_a_number_is_outside(self):
        script = ("kvr_Test_Ratio_1ph: 0 record=r\nrecord r\n  record_id = R\n  test_type = 1\n"
                  "  data_count = 1\n  data_ratio_1ph[0].phase.tnr = nan\n")
        run = self.expect(20, plan=single_test(limits="{ tnr = [-1e300, 1e300] }"), script=script)
        [line] = run.lines("measurement")
        self.assertEqual(line["checks"][0]["value"], "NaN")
        self.assertEqual(line["record"]["ratio_1ph"][0]["phase"]["tnr"], "NaN")

    def test_a_partial_result(self):
        for code in (44, 76):
            run = self.expect(10, script=f"kvr_Test_Ratio_1ph: {code}\n")
            self.assertEqual([line["verdict"] for line in run.lines("measurement")],
                             ["partial"] + ["no limits"] * 3)
        run = self.expect(10, "The plan ends early: a result is partial.",
                          plan='[run]\nstop_on = ["partial"]\n' + SERIES,
                          script="kvr_Test_Ratio_1ph: 76\n")
        self.assertEqual(run.kept, [True])

    # Tests that fail.

    def test_a_refused_test_keeps_what_was_before(self):
        run = self.expect(30, "wording of code 31", "ERROR in last test",
                          "The plan ends early: a test was refused.",
                          script="kvr_Test_Ratio_1ph: 0\nkvr_Test_Ratio_1ph: 31\n")
        self.assertEqual(run.kept, [True, False])
        rows = run.kept_files[f"{RESULTS}/1.2-range-test-" + series_time(run) + ".csv"]
        self.assertEqual(rows.count(b"AUTO-1;"), 1)
        [line] = [each for each in run.lines("measurement") if each["record"] is None]
        self.assertEqual(line["code"], {"number": 31, "name": "KVR_RES_SHORTED_LEAD"})
        self.assertEqual(line["words"], "wording of code 31")

    def test_a_refused_test_need_not_end_the_plan(self):
        run = self.expect(30, plan='[run]\npause = 0\nstop_on = []\n' + SERIES + single_test(),
                          script="kvr_Test_Ratio_1ph: 0\nkvr_Test_Ratio_1ph: 31\n")
        self.assertEqual(run.kept, [True, False, True])
        self.assertIsNone(run.why)

    def test_a_test_without_a_record(self):
        run = self.expect(30, "ERROR in last test", script="kvr_Test_Ratio_1ph: 0 record=null\n")
        self.assertEqual(run.kept, [False])

    def test_an_id_that_exists(self):
        run = self.expect(30, "A stored record has the ID T1 already.",
                          plan=single_test(id='"T{test}"'), script="kvr_CheckRecordExists: 0 exists=1\n")
        self.assertNotIn("kvr_LockAPI", run.names)
        self.assertEqual(run.lines("measurement")[0]["code"]["name"], "KVR_RES_TESTID_EXISTS")

    def test_the_emergency_button_during_a_test(self):
        run = self.expect(30, "The plan ends early: the emergency button is pressed.",
                          plan='[run]\npause = 0\nstop_on = []\n' + SERIES + single_test(),
                          script="kvr_Test_Ratio_1ph: 0\nkvr_Test_Ratio_1ph: KVR_RES_EMERGENCY_STOP_PRESSED\n")
        self.assertEqual(run.kept, [True, False])

    def test_the_emergency_button_before_a_test(self):
        run = self.expect(30, "WARNING: Emergency Button pressed!",
                          script="always kvr_GetStatus: 0 emergency_button_pressed=1\n")
        self.assertNotIn("kvr_LockAPI", run.names)

    def test_the_interlock(self):
        run = self.expect(30, "The plan ends early: the interlock is on.",
                          script="kvr_Test_Ratio_1ph: KVR_RES_INTERLOCK_ON\n")
        self.assertEqual(run.kept, [False])

    def test_cancelled_at_the_instrument(self):
        self.expect(40, "The plan ends early: a test was cancelled.",
                    script="kvr_Test_Ratio_1ph: KVR_RES_OPERATION_CANCELLED\n")

    def test_a_lost_connection(self):
        run = self.expect(30, "The connection to the instrument is lost.",
                          script="kvr_Test_Ratio_1ph: 0\nkvr_Test_Ratio_1ph: 39 status=39:\"gone\"\n"
                                 "always kvr_CheckConnection: 1\n")
        self.assertEqual(run.kept, [True, False])
        self.assertEqual(run.why, "the connection is lost")
        self.assertEqual(run.lines("event")[0]["code"]["name"], "KVR_RES_PEER_DISCONNECTED")
        self.assertEqual(run.lines("event")[0]["text"], "gone")

    def test_a_lost_connection_of_the_virtual_instrument(self):
        run = self.expect(30, "The connection to the instrument is lost.", arguments=(),
                          bench="[connection]\nlost_at_step = 2\n[measurement]\nduration = 0.1\n")
        self.assertEqual(run.kept, [False])

    def test_a_lost_connection_that_the_call_does_not_notice(self):
        with Run("KVR_TESTER_RUN", REAL, plan=TWO_TESTS, script=(
                "kvr_Test_Ratio_1ph: 39 status=39 delay=60000ms\nalways kvr_CheckConnection: 1\n")) as run:
            run.finish(seconds=30)
            self.assertEqual(run.status(), 30)
            self.assertEqual(run.call_names().count("kvr_UnlockAPI"), 1)

    # Disks.

    def test_full_standard_output(self):
        with open("/dev/full", "wb") as full:
            run = self.expect(30, "standard output can't be written", output=full)
            self.assertNotIn("kvr_LockAPI", run.names)

    def test_a_full_disk(self):
        """Each file may grow to 600 bytes: the head of a series, not its rows."""
        run = self.expect(30, "The plan ends early: a file of the run could not be written.",
                          plan='[run]\npause = 0\n' + single_test(voltages='"10x8"') + single_test(),
                          limit=limit_of_files(600), prepare=keep_logs_apart)
        self.assertEqual(run.kept, [True] * 8)
        self.assertFalse(run.lines("files")[0]["complete"])

    def test_a_report_that_cannot_be_written(self):
        def full_report(folder):
            results = folder / RESULTS
            results.mkdir(parents=True)
            (results / "T1.csv").symlink_to("/dev/full")
        run = self.expect(30, "a file of the run could not be written",
                          plan=single_test(id='"T1"'), prepare=full_report)
        self.assertEqual(run.kept, [True])

    def test_a_junit_file_that_cannot_be_written(self):
        self.expect(30, "/dev/full can't be written", arguments=REAL + ("--junit", "/dev/full"))

    # JUnit.

    def test_junit(self):
        """A plan with every outcome, read by a real reader of such files if there is one."""
        plan = ('[run]\npause = 0\n' + single_test(name='"a <b> & \\"c\\""', voltages="[5, 6]",
                                                   limits="{ tnr = [15, 17] }")
                + single_test(name='"outside"', limits="{ tnr = [1, 2] }")
                + single_test(name='"no limits"') + single_test(name='"refused"', voltages='"8x2"'))
        script = "kvr_Test_Ratio_1ph: 0\n" * 4 + "kvr_Test_Ratio_1ph: 31\n"
        with Run("KVR_TESTER_RUN", REAL + ("--junit", "j.xml"), plan=plan, script=script) as run:
            run.finish()
            path = run.work / "j.xml"
            suites = xml.etree.ElementTree.parse(path).getroot()
            [suite] = suites
            self.assertEqual({name: suite.get(name) for name in ("name", "tests", "failures", "errors",
                                                                 "skipped")},
                             {"name": "plan.toml", "tests": "6", "failures": "1", "errors": "1",
                              "skipped": "1"})
            self.assertEqual([(case.get("classname"), case.get("name"), [each.tag for each in case])
                              for case in suite],
                             [('a <b> & "c"', "5 V, 1 of 2", []), ('a <b> & "c"', "6 V, 2 of 2", []),
                              ("outside", "8 V, 1 of 1", ["failure"]),
                              ("no limits", "8 V, 1 of 1", ["system-out"]),
                              ("refused", "8 V, 1 of 2", ["error"]),
                              ("refused", "8 V, 2 of 2", ["skipped"])])
            self.assertEqual(suite[2][0].get("message"), "tnr of A is 16, limits 1 to 2")
            self.assertEqual(suite[4][0].get("message"), "KVR_RES_SHORTED_LEAD: wording of code 31")
            try:
                from junitparser import JUnitXml  # pylint: disable=import-outside-toplevel
            except ImportError:
                return
            read = JUnitXml.fromfile(str(path))
            self.assertEqual((read.tests, read.failures, read.errors, read.skipped), (6, 1, 1, 1))


def series_time(run):
    [name] = [name for name in run.kept_files if "range-test-" in name and "RAW" not in name]
    return name.split("range-test-")[1].removesuffix(".csv")


def limit_of_files(size):
    def limit():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))
    return limit


def keep_logs_apart(folder):
    """The call log must not be limited, so it goes nowhere."""
    (folder / "calls").symlink_to("/dev/null")


if __name__ == "__main__":
    unittest.main()
