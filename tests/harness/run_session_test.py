"""Tests of the session runner: it accepts what came out, and refuses everything else.

Takes what run_session.py takes before its files; they are handed on.
"""

import os
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


def content_of(path):
    try:
        return path.read_text()
    except OSError:  # the process has ended
        return ""


class RunnerTest(unittest.TestCase):
    """A session file of its own for each test."""

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

    def rebuilt(self, text):
        status, output = self.run_session(text, "--rebuild")
        self.assertEqual((status, output), (0, ""))
        return self.path.read_text(encoding="latin-1")

    def assert_refused(self, text, *reasons):
        status, output = self.run_session(text)
        self.assertEqual(status, 1, output)
        for reason in reasons:
            self.assertIn(reason, output)
        self.assertNotIn("Traceback", output)


class RunSession(RunnerTest):

    def rebuilt(self, text=INPUT + "---- calls kvr_LockAPI pause\n"):
        return super().rebuilt(text)

    def test_rebuilt_session_passes(self):
        text = self.rebuilt()
        self.assertEqual(self.run_session(text), (0, ""))
        self.assertTrue(text.startswith(INPUT))
        self.assertIn("\n\n---- ends with\nstatus 0\n\n", text)
        self.assertIn("\n\n---- file results/A B.csv.RAW.csv\na\\tb\n\n", text)
        self.assertIn("\n\n---- calls kvr_LockAPI pause\nkvr_LockAPI\nkvr_LockAPI\n\n", text)
        self.assertTrue(text.endswith("\n\n---- complaints\nrecord 2 was not given back\n"))

    def test_a_missing_expected_section_fails(self):
        text = self.rebuilt()
        parts = text.split("\n\n---- ")
        expected = [part for part in parts[1:]
                    if part.split()[0] in ("output", "ends", "file", "complaints")]
        self.assertEqual(len(expected), 6)
        for part in expected:
            without = "\n\n---- ".join(each for each in parts if each is not part)
            self.assert_refused(without, "+---- " + part.split("\n")[0])

    def test_a_change_of_any_line_fails(self):
        text = self.rebuilt()
        for line in ("Console Tester 1.1.0.7", "status 0", "TNR = 16.00000000",
                     "record 2 was not given back"):
            self.assertIn(line, text)
            self.assert_refused(text.replace(line, line + "!", 1), "-" + line + "!")
        self.assert_refused(text.replace("END\n", "END\\\n"), "-END\\")
        self.assert_refused(text.replace("kvr_LockAPI\n", "", 1), "+kvr_LockAPI")

    def test_expected_file_that_is_missing(self):
        self.assert_refused(self.rebuilt() + "\n---- file work/more\n", "----- file work/more")

    def test_given_file_that_is_unchanged(self):
        self.assert_refused(self.rebuilt() + "\n---- file work/kept\nno line feed here\\\n",
                            "----- file work/kept")

    def test_file_with_any_content(self):
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

    def test_program_called_by_another_name(self):
        text = ("A shell that says its name.\n\n---- program sh\n\n---- called --debug\n\n"
                "---- options\n-c\necho $0\n\n---- script\n\n---- answers\n\n"
                "---- output\n--debug\n\n---- ends with\nstatus 0\n\n---- no files\n")
        self.assertEqual(self.run_session(text, "--program", "sh=/bin/sh"), (0, ""))

    def test_program_that_wine_did_not_start_is_started_again(self):
        tries = pathlib.Path(self.folder.name) / "tries"
        wine = pathlib.Path(self.folder.name) / "wine"
        text = ("A shell.\n\n---- program sh\n\n---- script\n\n---- answers\necho said\n\n"
                "---- output\nsaid\n\n---- ends with\nstatus 0\n\n---- no files\n")
        for failures, status, started in ((0, 0, 1), (2, 0, 3), (3, 1, 3)):
            wine.write_text("#!/bin/sh\n"
                            f"echo >> {tries}\n"
                            f"[ $(wc -l < {tries}) -le {failures} ] || exec \"$@\"\n"
                            "echo 'wine: a wine server seems to be running, but I cannot connect "
                            "to it.' >&2\n"
                            "exit 1\n")
            wine.chmod(0o755)
            tries.write_text("")
            self.assertEqual(self.run_session(text, "--program", "sh=/bin/sh",
                                              "--launcher", str(wine))[0], status)
            self.assertEqual(len(tries.read_text()), started)

    def test_program_whose_output_never_ends(self):
        question = f"Next{os.getpid()}"
        for end in ("status 0", "waiting"):
            text = ("A shell that asks for ever.\n\n---- program sh\n\n"
                    f"---- options\n-c\nyes {question}\n\n---- script\n\n---- answers\n\n"
                    f"---- output\n\n---- ends with\n{end}\n\n---- no files\n")
            status, output = self.run_session(text, "--program", "sh=/bin/sh", "--seconds", "60")
            self.assertEqual(status, 1)
            self.assertIn("+more than 16777216 bytes of output, and no end: does it ask without a "
                          "pause?", output)
            self.assertIn(f"+{question}\n", output)
            self.assertLess(len(output), 10000)
            left = [path for path in pathlib.Path("/proc").glob("[0-9]*/cmdline")
                    if content_of(path) == f"yes\0{question}\0"]
            self.assertEqual(left, [])  # one would fill the disk

    def test_bad_script(self):
        text = self.rebuilt().replace("--quiet", "--debug").replace("raw=", "row=")
        self.assert_refused(text, "+status 99")
        self.assert_refused(text, "/script:1: 'row=\"a\\\\tb\\\\n\"' is nothing that "
                            "kvr_Test_Ratio_1ph can do")

    def test_bad_record_in_script(self):
        self.assert_refused(self.rebuilt().replace("  record_id =", "  record_name ="),
                            "/script:4: ")

    def test_scripted_answers_that_are_never_used(self):
        text = self.rebuilt().replace("kvr_Test_Ratio_1ph: 31", "kvr_ConnectAPI: 0\n"
                                      "kvr_ConnectAPI: 0\nkvr_Test_Ratio_1ph: 31")
        self.assert_refused(text, "+1 more answers to kvr_ConnectAPI than calls")

    def test_skip(self):
        text = self.rebuilt().replace("---- answers\n", "---- not on posix\nIt is\nelsewhere.\n\n"
                                      "---- not on moon\nToo far.\n\n---- answers\n")
        status, output = self.run_session(text)
        self.assertEqual(status, 77)
        self.assertIn("is skipped: It is elsewhere.", output)

    def test_invalid_session_files(self):
        for text, reason in (("", "a session opens with a description"),
                             ("Title\n", "a session opens with a description"),
                             ("Title\n---- answers\n", "no empty line before"),
                             ("Title\n\n---- answer\n", "unknown heading 'answer'"),
                             ("Title\n\n---- answers\n", "one section 'script', one section 'bench'"),
                             ("Title\n\n---- script\n", "no section 'answers'"),
                             (INPUT + "---- bench\n", "one section 'script', one section 'bench'"),
                             (INPUT + "---- answers\n", "more than one section 'answers'"),
                             (INPUT + "---- given file away/x\n", "begins with none of"),
                             (INPUT + "---- program other\n", "no program 'other'"),
                             (INPUT + "---- output\n\\q\n", "unknown escape \\q")):
            self.assert_refused(text, reason)


GOES_TO_MAIN_MENU = """A session that goes to the main menu and leaves it.

---- script

---- answers
1
0
"""

BEGINS_THERE = """A session that begins at the main menu.

---- begins at main menu

---- script

---- answers
0
"""


class BeginsAtMainMenu(RunnerTest):
    """Sessions whose start-up another session shows."""

    def setUp(self):
        super().setUp()
        self.start_ups = pathlib.Path(self.folder.name) / "start_ups"
        self.start_ups.mkdir()
        self.start_up = self.start_ups / "scripted.session"
        self.whole = self.rebuilt(GOES_TO_MAIN_MENU)
        self.write_start_up(self.whole)

    def run_session(self, text, *arguments):
        return super().run_session(text, "--start-ups", self.start_ups, *arguments)

    def write_start_up(self, text):
        self.start_up.write_text(text, encoding="latin-1")

    def assert_start_up_refused(self, text, *reasons):
        self.assert_refused(text, f"the start-up is not that of {self.start_up}:\n", *reasons)

    def test_holds_what_comes_after_the_start_up(self):
        text = self.rebuilt(BEGINS_THERE)
        self.assertEqual(self.run_session(text), (0, ""))
        self.assertTrue(text.startswith(BEGINS_THERE))
        before, menu, after = self.whole.partition("!!! === KVRU3 main menu === !!!\n")
        self.assertEqual(text, BEGINS_THERE + "\n---- output\n" + menu + after)
        self.assertTrue(before.endswith("calibrated at Wed, 25.11.2020 12:00:00\n\n"))

    def test_a_change_of_any_byte_of_the_start_up_fails(self):
        text = self.rebuilt(BEGINS_THERE)
        for line, other in (("Console Tester 1.1.0.7", "Console Tester 1.1.0.8"),
                            ("Serial #: SN-0042", "Serial #: SN-0043"),
                            ("Debug mode is OFF", "Debug mode is OFF\\s")):
            self.assertIn(line, self.whole)
            self.write_start_up(self.whole.replace(line, other, 1))
            self.assert_start_up_refused(text, "-" + other, "+" + line)
        self.write_start_up(self.whole.replace("\n\n!!! ===", "\n!!! ===", 1))
        self.assert_start_up_refused(text, "\n+\n")
        self.write_start_up(self.whole.replace("\n\n!!! ===", "\n\n\n!!! ===", 1))
        self.assert_start_up_refused(text, "\n-\n")

    def test_program_that_does_not_reach_the_main_menu(self):
        text = self.rebuilt(BEGINS_THERE)
        self.assert_start_up_refused(
            text.replace("---- script", "---- script\nkvr_ConnectAPI: 5"),
            "+ERROR: wording of code 5", "+Cannot connect to the device over USB!")
        self.assert_start_up_refused(text.replace("---- script", "---- script\nkvr_: 5"),
                                     "+status 99", "/script:1: ")

    def test_a_change_after_the_start_up_fails(self):
        text = self.rebuilt(BEGINS_THERE)
        self.assert_refused(text.replace("Exiting", "Leaving"), f"{self.path} came out otherwise:",
                            "-Leaving...", "+Exiting...")
        self.assert_refused(text.replace("---- output", "---- calls none"), "+---- output")

    def test_answers_of_the_start_up_are_typed(self):
        text = self.rebuilt(BEGINS_THERE)
        self.assert_refused(text.replace("answers\n0\n", "answers\n1\n0\n"),
                            f"{self.path} came out otherwise:")
        self.write_start_up(self.whole.replace("answers\n1\n", "answers\n3\n1\n"))
        self.assert_start_up_refused(text, "+== Select connection method ==")

    def test_start_up_by_name(self):
        other = self.start_ups / "folder_is_there.session"
        given = "---- given folder results\n\n---- answers"
        other.write_text(self.rebuilt(GOES_TO_MAIN_MENU.replace("---- answers", given)),
                         encoding="latin-1")
        text = BEGINS_THERE.replace("---- answers", given)
        self.assertEqual(self.run_session(text, "--rebuild")[0], 1)
        named = self.rebuilt(text.replace("main menu\n\n", "main menu after folder_is_there\n\n"))
        self.assertEqual(self.run_session(named), (0, ""))
        self.assertNotIn("Can not create folder", named)
        self.assert_start_up_refused(named.replace(" after folder_is_there", ""),
                                     "-Folder with results: {results}",
                                     "+Can not create folder for results.")

    def test_start_up_on_a_bench(self):
        instrument = self.start_ups / "instrument.session"
        self.assert_refused(BEGINS_THERE.replace("script", "bench"), str(instrument))
        bench = "bench\n[instrument]\nclock = 2021-03-05T11:00:00Z"
        instrument.write_text(self.rebuilt(GOES_TO_MAIN_MENU.replace("script", bench)),
                              encoding="latin-1")
        self.assertNotIn("Serial #", self.rebuilt(BEGINS_THERE.replace("script", bench)))

    def test_rebuild_does_not_change_the_start_up(self):
        text = self.rebuilt(BEGINS_THERE)
        other = self.whole.replace("SN-0042", "SN-0043")
        self.write_start_up(other)
        status, output = self.run_session(text.replace("Exiting", "Leaving"), "--rebuild")
        self.assertEqual(status, 1)
        self.assertIn(f"the start-up is not that of {self.start_up}:\n", output)
        self.assertEqual(self.path.read_text(encoding="latin-1"),
                         text.replace("Exiting", "Leaving"))
        self.assertEqual(self.start_up.read_text(encoding="latin-1"), other)

    def test_start_up_is_rebuilt_before_the_sessions_that_use_it(self):
        text = self.rebuilt(BEGINS_THERE)
        self.write_start_up(self.whole.replace("SN-0042", "SN-0043"))
        self.assertEqual(self.run_session(text.replace("Exiting", "Leaving"), "--rebuild",
                                          self.path, self.start_up), (0, ""))
        self.assertEqual(self.path.read_text(encoding="latin-1"), text)
        self.assertEqual(self.start_up.read_text(encoding="latin-1"), self.whole)

    def test_invalid_headings(self):
        for heading, reason in (("later", "'later' is not 'after NAME'"),
                                ("after", "'after' is not 'after NAME'"),
                                ("after ../x", "is not 'after NAME'"),
                                ("after other", str(self.start_ups / "other.session")),
                                ("\n1", "no lines can follow 'begins at main menu'"),
                                ("\n\n---- begins at main menu", "more than one section")):
            self.assert_refused(BEGINS_THERE.replace("main menu\n\n", f"main menu {heading}\n\n")
                                .replace("menu \n", "menu\n"), reason)

    def test_invalid_start_ups(self):
        twice = self.whole.replace("\nExiting", "\n!!! === KVRU3 main menu === !!!\n\nExiting")
        for start_up in (self.whole.replace("=== KVRU3 main menu ===", "=== main menu ==="),
                         self.whole.replace("\n\n!!! ===", "!!! ==="),
                         self.whole.replace("answers\n1\n0\n", "answers\n1\n2\n"),
                         self.rebuilt(BEGINS_THERE), twice):
            self.write_start_up(start_up)
            self.assert_refused(BEGINS_THERE, f"{self.start_up} does not go to the main menu once")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
