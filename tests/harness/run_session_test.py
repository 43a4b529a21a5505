"""Tests of the session runner: it accepts what came out, and refuses everything else.

Takes what run_session.py takes before its files; they are handed on.
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

RUNNER = pathlib.Path(__file__).parent.parent / "support" / "run_session.py"
RUNNER_ARGUMENTS = sys.argv[1:]

INPUT = r"""A session that has a bit of everything.

---- options
--quiet

---- script
kvr_Test_Ratio_1ph: 0 raw="a\tb\n" record_id="A B"
kvr_Test_Ratio_1ph: 31 record=left
record left
  record_id = T1

---- given file results/A B.csv.RAW.csv
old

---- given file work/kept
no line feed \
here\

---- answers
1
2
1
1
1



2
1
1
1



0\

"""


class RunSession(unittest.TestCase):

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="run-session-test-")
        self.addCleanup(self.folder.cleanup)
        self.path = pathlib.Path(self.folder.name) / "try.session"

    def run_session(self, text, *arguments):
        """Exit status and output of the runner."""
        self.path.write_text(text, encoding="latin-1")
        done = subprocess.run([sys.executable, RUNNER, *RUNNER_ARGUMENTS, *arguments, self.path],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        return done.returncode, done.stdout.decode("latin-1")

    def rebuilt(self, text=INPUT + "---- calls kvr_LockAPI pause\n"):
        status, output = self.run_session(text, "--rebuild")
        self.assertEqual((status, output), (0, ""))
        return self.path.read_text(encoding="latin-1")

    def assert_refused(self, text, reason):
        status, output = self.run_session(text)
        self.assertEqual(status, 1, output)
        self.assertIn(reason, output)
        self.assertNotIn("Traceback", output)

    def test_rebuilt_session_passes(self):
        text = self.rebuilt()
        self.assertEqual(self.run_session(text), (0, ""))
        self.assertTrue(text.startswith(INPUT))
        self.assertIn("\n\n---- ends with\nstatus 0\n\n", text)
        self.assertIn("\n\n---- file results/A B.csv.RAW.csv\na\\tb\n\n", text)
        self.assertIn("\n\n---- calls kvr_LockAPI pause\nkvr_LockAPI\nkvr_LockAPI\n\n", text)
        self.assertTrue(text.endswith("\n\n---- complaints\nrecord 2 was not given back\n"))

    def test_each_expected_section_counts(self):
        text = self.rebuilt()
        parts = text.split("\n\n---- ")
        expected = [part for part in parts[1:]
                    if part.split()[0] in ("output", "ends", "file", "complaints")]
        self.assertEqual(len(expected), 6)
        for part in expected:
            without = "\n\n---- ".join(each for each in parts if each is not part)
            self.assert_refused(without, "+---- " + part.split("\n")[0])

    def test_each_line_counts(self):
        text = self.rebuilt()
        for line in ("Console Tester 1.1.0.7", "status 0", "TNR = 16.00000000",
                     "record 2 was not given back"):
            self.assertIn(line, text)
            self.assert_refused(text.replace(line, line + "!", 1), "-" + line + "!")
        self.assert_refused(text.replace("END\n", "END\\\n"), "-END\\")
        self.assert_refused(text.replace("kvr_LockAPI\n", "", 1), "+kvr_LockAPI")

    def test_file_that_is_not_left(self):
        self.assert_refused(self.rebuilt() + "\n---- file work/more\n", "----- file work/more")

    def test_given_file_that_is_left_as_it_was(self):
        self.assert_refused(self.rebuilt() + "\n---- file work/kept\nno line feed here\\\n",
                            "----- file work/kept")

    def test_file_of_any_content(self):
        text = self.rebuilt()
        start = text.index("---- file work/.RAW.csv")
        parts = text[:start], text[text.index("---- calls"):]
        self.assertEqual(self.run_session("---- some file work/.RAW.csv\n\n".join(parts)), (0, ""))
        self.assert_refused("---- some file work/other\n\n".join(parts), "----- some file work/other")

    def test_no_files_when_there_are_some(self):
        self.assert_refused(self.rebuilt() + "\n---- no files\n", "----- no files")

    def test_program_that_waits_although_it_should_end(self):
        text = self.rebuilt().replace("\n0\\\n", "\n")
        self.path.write_text(text, encoding="latin-1")
        status, output = self.run_session(text, "--seconds", "1")
        self.assertEqual(status, 1)
        self.assertIn("+not ended after 1.0 s", output)

    def test_program_that_ends_although_it_should_wait(self):
        self.assert_refused(self.rebuilt().replace("status 0", "waiting"), "+status 0")

    def test_program_that_is_called_otherwise(self):
        text = ("A shell that says its name.\n\n---- program sh\n\n---- called --debug\n\n"
                "---- options\n-c\necho $0\n\n---- script\n\n---- answers\n\n"
                "---- output\n--debug\n\n---- ends with\nstatus 0\n\n---- no files\n")
        self.assertEqual(self.run_session(text, "--program", "sh=/bin/sh"), (0, ""))

    def test_program_that_never_stops_talking(self):
        for end in ("status 0", "waiting"):
            text = ("A shell that asks for ever.\n\n---- program sh\n\n"
                    "---- options\n-c\nyes Next\n\n---- script\n\n---- answers\n\n"
                    f"---- output\n\n---- ends with\n{end}\n\n---- no files\n")
            status, output = self.run_session(text, "--program", "sh=/bin/sh", "--seconds", "60")
            self.assertEqual(status, 1)
            self.assertIn("+more than 16777216 bytes of output, and no end: does it ask without a "
                          "pause?", output)
            self.assertIn("+Next\n", output)
            self.assertLess(len(output), 10000)

    def test_bad_script(self):
        text = self.rebuilt().replace("--quiet", "--debug").replace("raw=", "row=")
        self.assert_refused(text, "+status 99")
        self.assert_refused(text, "/script:1: 'row=\"a\\\\tb\\\\n\"' is nothing that "
                            "kvr_Test_Ratio_1ph can do")

    def test_bad_record_in_script(self):
        self.assert_refused(self.rebuilt().replace("  record_id =", "  record_name ="),
                            "/script:4: ")

    def test_answers_that_nobody_asks_for(self):
        text = self.rebuilt().replace("kvr_Test_Ratio_1ph: 31", "kvr_ConnectAPI: 0\n"
                                      "kvr_ConnectAPI: 0\nkvr_Test_Ratio_1ph: 31")
        self.assert_refused(text, "+1 more answers to kvr_ConnectAPI than calls")

    def test_skip(self):
        text = self.rebuilt().replace("---- answers\n", "---- not on posix\nIt is\nelsewhere.\n\n"
                                      "---- not on moon\nToo far.\n\n---- answers\n")
        status, output = self.run_session(text)
        self.assertEqual(status, 77)
        self.assertIn("is skipped: It is elsewhere.", output)

    def test_sessions_that_are_none(self):
        for text, reason in (("", "a session opens with a description"),
                             ("Title\n", "a session opens with a description"),
                             ("Title\n---- answers\n", "no empty line before"),
                             ("Title\n\n---- answer\n", "unknown heading 'answer'"),
                             ("Title\n\n---- answers\n", "one section 'script' or one section"),
                             ("Title\n\n---- script\n", "no section 'answers'"),
                             (INPUT + "---- bench\n", "one section 'script' or one section"),
                             (INPUT + "---- answers\n", "more than one section 'answers'"),
                             (INPUT + "---- given file away/x\n", "begins with none of"),
                             (INPUT + "---- program other\n", "no program 'other'"),
                             (INPUT + "---- output\n\\q\n", "unknown escape \\q")):
            self.assert_refused(text, reason)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
