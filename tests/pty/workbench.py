"""The tester workbench as it is shipped: from its start to its end, and how it ends with its input,
on the scripted library."""

import os
import signal
import subprocess
import tempfile
import unittest

from console import CONNECTED, Console

SECONDS = 10  # in which the program has to end
CTRL_D = "\x04"
WORKBENCH_MENU = "1. Three Phase Test\n2. Records\n3. Terminal labels\n0. Exit\n"
END = "\nExiting...\nEND\n"

# What is typed from the main menu on, and the prompt that stands then.
PROMPTS = {
    "a menu": ("", WORKBENCH_MENU),
    "a menu in a menu": ("2\n", "9. Clear database\n0. Cancel\n"),
    "a number asked for again": ("1\nletters\n", "Wrong value, Please enter again: "),
    "the phasing": ("1\n1\n1\n1\n", "empty for unknown: \n"),
    "the voltage": ("1\n1\n1\n1\n\n", "10x5 - auto repeating (VxN - test N times at V voltage))\n"),
    "the ratio": ("1\n1\n1\n1\n\n\n", "Nameplate ratio N:1 (leave empty for none): "),
    "the test ID": ("1\n1\n1\n1\n\n\n\n", "Test ID (leave empty for date/time): "),
    "a record ID": ("2\n4\n", "Test ID: "),
    "a vector group": ("3\n1\n", "(leave empty for terminal pairs): "),
    "a vector group asked for again": ("3\n1\nx\n", "Wrong value, Please enter again: "),
    "a word": ("2\n9\n", "Do you want to clear tests database? (Y/N): "),
}


def workbench(script=""):
    return Console(script, program="KVR_TESTER_WORKBENCH")


def at_the_menu(console):
    console.send(CONNECTED)
    console.expect(WORKBENCH_MENU)


def at_prompt(console, name):
    at_the_menu(console)
    answers, prompt = PROMPTS[name]
    for answer in answers.splitlines(keepends=True):
        console.send(answer)
    if answers:
        console.expect(prompt)


def run_on(standard_input):
    """Runs the program on an input that is no terminal."""
    with tempfile.TemporaryDirectory(prefix="pty-") as home:
        environment = dict(os.environ, HOME=home, KVR_CALL_LOG=os.path.join(home, "calls"),
                           LD_LIBRARY_PATH=os.environ["KVR_SCRIPTED_LIBRARY"])
        return subprocess.run([os.environ["KVR_TESTER_WORKBENCH"]], stdin=standard_input,
                              capture_output=True, cwd=home, text=True, env=environment,
                              timeout=SECONDS, check=False)


class Workbench(unittest.TestCase):
    def test_starts_with_its_menu_and_ends(self):
        with workbench() as console:
            at_the_menu(console)
            console.send("0\n")
            console.expect("END\n")
            self.assertEqual(console.wait(), 0)

    def check_end(self, console):
        """It ends as by choice 0, and has started no test."""
        self.assertEqual(console.wait(), 0)
        self.assertTrue(console.rest().endswith(END), console.seen)
        self.assertEqual(console.settings(), console.settings_before)
        calls = console.calls()
        self.assertEqual(calls[-1], "kvr_Lib_Shutdown")
        for call in ("kvr_LockAPI", "kvr_Test_Ratio_3ph", "kvr_DeleteRecord",
                     "kvr_ClearTestDatabase", "kvr_CancelOperation"):
            self.assertNotIn(call, calls)

    def test_ends_with_its_input_at_every_kind_of_prompt(self):
        for name in PROMPTS:
            with self.subTest(prompt=name), workbench() as console:
                at_prompt(console, name)
                console.send(CTRL_D)
                self.check_end(console)

    def test_ends_with_its_input_while_it_connects(self):
        for answers, prompt in (("", "0. Cancel\n"), ("2\n", "Please enter IP address: ")):
            with self.subTest(prompt=prompt), workbench() as console:
                console.send(answers)
                console.expect(prompt)
                console.send(CTRL_D)
                self.check_end(console)
                self.assertNotIn("kvr_ConnectAPI", console.calls())

    def test_takes_an_answer_without_a_line_feed(self):
        """The first Ctrl-D sends what has been typed, the second one ends the input."""
        with workbench() as console:
            at_prompt(console, "the test ID")
            console.send("T1" + CTRL_D + CTRL_D)
            console.expect("Tests left: 0\n")
            console.expect(END)
            self.assertEqual(console.wait(), 0)
            self.assertIn("kvr_Test_Ratio_3ph", console.calls())
            self.assertIn("kvr_UnlockAPI", console.calls())

    def test_ends_where_there_is_no_input(self):
        """Nothing to read, and something that can't be read."""
        for name in (os.devnull, os.curdir):
            with self.subTest(name=name):
                descriptor = os.open(name, os.O_RDONLY)
                done = run_on(descriptor)
                os.close(descriptor)
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                self.assertTrue(done.stdout.endswith("0. Cancel\n" + END), done.stdout)

    def test_a_closed_terminal_is_no_end_of_input(self):
        """It ends the program by event 2, at every kind of prompt."""
        for name in PROMPTS:
            with self.subTest(prompt=name), workbench() as console:
                at_prompt(console, name)
                console.close_terminal()
                self.assertEqual(console.wait(), 2)
                calls = console.calls()
                self.assertEqual(calls.count("kvr_CancelOperation"), 1)
                for call in ("kvr_Lib_Shutdown", "kvr_LockAPI", "kvr_Test_Ratio_3ph",
                             "kvr_DeleteRecord", "kvr_ClearTestDatabase"):
                    self.assertNotIn(call, calls)

    def test_termination_has_its_number(self):
        with workbench() as console:
            at_the_menu(console)
            console.signal(signal.SIGTERM)
            self.assertEqual(console.wait(), 6)


if __name__ == "__main__":
    unittest.main()
