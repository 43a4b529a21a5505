"""The plans and the program that docs/automation.md shows work as they stand there."""

import pathlib
import re
import unittest

from plan_runs import INSTANT, Run

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = (ROOT / "docs" / "automation.md").read_text(encoding="utf-8")
PLANS = dict(re.findall(r"<!-- plan: (\S+) -->\n\n```toml\n(.*?)```", PAGE, re.S))
FILES = dict(re.findall(r"<!-- file: (\S+) -->\n\n```\w+\n(.*?)```", PAGE, re.S))


class Documents(unittest.TestCase):

    def test_the_plans(self):
        expected = {"production.toml": (0, 4), "library.toml": (0, 6), "lesson.toml": (10, 6)}
        self.assertEqual(set(PLANS), set(expected))
        for name, (status, count) in expected.items():
            with self.subTest(plan=name), Run("KVR_TESTER_RUN", plan=PLANS[name], bench=INSTANT) as run:
                run.finish()
                self.assertEqual(run.status(), status, run.words())
                self.assertEqual(len(run.lines("measurement")), count)

    def test_the_lesson_teaches_something(self):
        """The current grows faster than the voltage."""
        with Run("KVR_TESTER_RUN", plan=PLANS["lesson.toml"], bench=INSTANT) as run:
            run.finish()
            points = [(line["voltage"], line["record"]["ratio_1ph"][0]["phase"]["current_rms"])
                      for line in run.lines("measurement")]
            self.assertGreater(points[-1][1], points[0][1])

    def test_the_files(self):
        self.assertEqual(set(FILES), {"python/examples/ten_lines.py"})
        for name, text in FILES.items():
            self.assertEqual((ROOT / name).read_text(encoding="utf-8"), text)

    def test_each_line_is_told(self):
        """Each kind of line has a row in the table, with all its keys."""
        table = PAGE[PAGE.index("### The JSON"):PAGE.index("## A production test")]
        with Run("KVR_TESTER_RUN", plan=PLANS["production.toml"], bench=INSTANT) as run:
            run.finish()
            for line in run.lines():
                [row] = re.findall(rf"^\| `{line['line']}` \| .*", table, re.M)
                for key in line:
                    if key not in ("line", "schema") and not key.endswith("_version"):
                        self.assertIn(f"`{key}`", row)

    def test_the_example_is_a_plan(self):
        with Run("KVR_TESTER_RUN", ["--example"], bench=INSTANT) as example:
            plan = example.finish().done.stdout.decode()
        with Run("KVR_TESTER_RUN", plan=plan, bench=INSTANT) as run:
            run.finish()
            self.assertEqual(run.status(), 10, run.words())
            self.assertEqual([line["verdict"] for line in run.lines("measurement")],
                             ["within", "no limits", "no limits"])


if __name__ == "__main__":
    unittest.main()
