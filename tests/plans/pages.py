"""The page of a plan, tester-run --report."""

import hashlib
import unittest

from plan_runs import INSTANT, REAL, RESULTS, Run, single_test

PLAN = """[item]
name = "TR <7>"
order = "4711"
[run]
pause = 0
[[test]]
name = "low & high"
kind = "single-phase"
direction = "down"
high = "H1-H0"
low = "X1-X0"
voltages = [20, 30, 40]
nameplate_ratio = 10
[[test]]
name = "all phases"
kind = "three-phase"
direction = "down"
windings = "Yn-yn"
clock = 0
voltages = 100
nameplate_ratio = 10
"""


def page_of(run):
    return (run.work / "page.html").read_text(encoding="utf-8")


class Pages(unittest.TestCase):

    def test_a_page_has_what_was_measured(self):
        with Run("KVR_TESTER_RUN", ["--report", "page.html"], plan=PLAN, bench=INSTANT) as run:
            run.finish()
            self.assertEqual(run.status(), 10, run.words())
            page = page_of(run)
            for text in ("Plan plan.toml, name: TR &lt;7&gt;, order: 4711.", "VI-000001", "YNyn0",
                         "<h2>low &amp; high: Ratio, stepping down", "<h2>all phases: Ratio",
                         "Ratio error against voltage", "Phasors, test 1", "Voltages, phase A",
                         "Harmonics, phase A"):
                self.assertIn(text, page)
            for line in run.lines("measurement"):
                for result in line["record"]["ratio_1ph"]:
                    self.assertIn(f",{result['phase']['tnr']:.8f},", page)
            sums = [hashlib.sha256(content).hexdigest() for name, content in run.files().items()
                    if name.startswith(RESULTS)]
            self.assertEqual(len(sums), 4)
            for each in sums:
                self.assertIn(each, page)

    def test_a_stopped_plan_has_a_page_of_what_came_before(self):
        script = "kvr_Test_Ratio_1ph: 0\nkvr_Test_Ratio_1ph: 31\n"
        with Run("KVR_TESTER_RUN", (*REAL, "--report", "page.html"),
                 plan="[run]\npause = 0\n" + single_test(voltages='"8x3"'), script=script) as run:
            run.finish()
            self.assertEqual(run.status(), 30, run.words())
            self.assertIn("<dt>Tests in the record</dt><dd>1</dd>", page_of(run))

    def test_without_a_connection_the_page_has_no_results(self):
        with Run("KVR_TESTER_RUN", (*REAL, "--report", "page.html"), plan=single_test(),
                 script="kvr_ConnectAPI: 4\n") as run:
            run.finish()
            self.assertEqual(run.status(), 30, run.words())
            self.assertIn("No value was compared with a limit.", page_of(run))
            self.assertNotIn("<section", page_of(run))

    def test_a_page_that_cannot_be_written(self):
        with Run("KVR_TESTER_RUN", (*REAL, "--report", "/dev/full"), plan=single_test()) as run:
            run.finish()
            self.assertEqual(run.status(), 30)
            self.assertIn("/dev/full can't be written", run.words())
            self.assertEqual(run.lines("end")[0]["exit_status"], 30)


if __name__ == "__main__":
    unittest.main()
