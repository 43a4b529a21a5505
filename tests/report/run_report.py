#!/usr/bin/env python3
"""Runs kvr-report from its command line: exit statuses, messages, and a page of run files.

  run_report.py KVR_REPORT
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

PROGRAM = str(pathlib.Path(sys.argv.pop(1)).resolve())

SERIES = "sep=;\nKVRU3 client version;1.2\nKVRU3 software version;3.4\nDate & Time;now\n\n\nTest ID;Mode;\n" + "".join(
    f"S<1>;DOWN;{v}.0;{v}.0;4.0;25.0;{e};0.001;{v}.1;0.0;0.0;0.0;0.1;\n"
    for v, e in ((100, 0.1), (100, 0.12), (100, 0.14), (200, 0.2)))


class Report(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.path = pathlib.Path(self.folder.name)
        (self.path / "runs").mkdir()
        (self.path / "runs" / "3.4-S.csv").write_text(SERIES)

    def tearDown(self):
        self.folder.cleanup()

    def run_report(self, *words, browser=None):
        environment = {"KVR_REPORT_BROWSER": browser} if browser else {"PATH": ""}
        return subprocess.run([PROGRAM, *words], cwd=self.path, capture_output=True, text=True,
                              env=environment, check=False)

    def test_help_and_version(self):
        self.assertIn("--compare", self.run_report("--help").stdout)
        self.assertTrue(self.run_report("--version").stdout.startswith("kvr-report "))

    def test_example_is_taken(self):
        self.assertEqual(self.run_report("--example", "-o", "e.toml").returncode, 0)
        done = self.run_report("--runs", "runs", "--with", "e.toml")
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_page_is_the_same_on_standard_output_and_in_a_file(self):
        done = self.run_report("--runs", "runs")
        self.assertEqual(self.run_report("--runs", "runs", "-o", "p.html").returncode, 0)
        self.assertEqual((self.path / "p.html").read_text(), done.stdout)
        self.assertIn("S&lt;1&gt;", done.stdout)
        self.assertIn("<td>not stated", done.stdout)
        self.assertIn("0.12000", done.stdout)  # the mean of three errors

    def test_problems_of_report_toml(self):
        (self.path / "r.toml").write_text("[customer]\nname = 1\n[x]\ny = 2\n")
        done = self.run_report("--runs", "runs", "--with", "r.toml")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr, "r.toml:2: customer.name: expected a text in quotes\n"
                         "r.toml:4: x.y: no such key; kvr-report --example lists them\n")

    def test_refusals(self):
        for words in ((), ("--store", "missing"), ("--runs", "missing"), ("--runs", "."),
                      ("--nonsense",), ("--runs", "runs", "--pdf"),
                      ("--runs", "runs", "--record", "none")):
            done = self.run_report(*words)
            self.assertEqual((done.returncode, done.stdout), (1, ""), words)
            self.assertNotEqual(done.stderr, "")
        self.assertEqual(self.run_report("--runs", "runs", "-o", "no/such/p.html").returncode, 2)

    def test_pdf_without_a_browser_says_how_to_print(self):
        done = self.run_report("--runs", "runs", "-o", "p.html", "--pdf")
        self.assertEqual(done.returncode, 2)
        self.assertIn("open the page in any browser and print", done.stderr)
        self.assertTrue((self.path / "p.html").exists())

    def test_comparison(self):
        done = self.run_report("--runs", "runs", "--compare", "runs")
        self.assertIn("Comparison: Ratio, stepping down", done.stdout)
        self.assertIn("against 2.8 s", done.stdout)

    def test_comparison_of_the_phases(self):
        (self.path / "runs" / "3.4-T.csv").write_text(SERIES)
        done = self.run_report("--runs", "runs", "--compare", "-o", "p.html")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        # Both series are of one phase.
        self.assertNotIn("Phases beside each other", (self.path / "p.html").read_text())
        self.assertNotIn("Comparison", (self.path / "p.html").read_text())

    def test_worked_examples_from_report_toml(self):
        (self.path / "w.toml").write_text("""
[current_transformer]
nominal_ratio = 200
secondary_current = 5
exciting_current = 1
power_factor = 0.4
[errors]
percent_of_rated = [120, 100, 20, 5]
ratio = [-0.543, -0.600, -0.950, -1.434]
displacement = [15.5, 17.5, 25.8, 35.8]
standard_ratio = [-0.134, -0.156, -0.205, -0.356]
standard_displacement = [3.7, 4.0, 6.0, 8.0]
[core_losses]
frequencies = [40, 60]
losses = [52, 90]
""")
        page = self.run_report("--with", "w.toml").stdout
        for expected in ("200.0800", "-0.0400", "3.151", "-1.790", "43.8",
                         "within the limits of class 1 at the points tested",
                         "outside the limits of class 0.5"):
            self.assertIn(expected, page)


unittest.main()
