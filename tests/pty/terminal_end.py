"""The end of the terminal: it closes, or the system asks the program to terminate.

In any state, the program ends by itself with the number of the event as its status, and leaves
whole files and an unlocked instrument.
"""

import contextlib
import signal
import time
import unittest

from console import CONNECTED, CTRL_C, MAIN_MENU, SINGLE_TEST, Console

SECONDS = 6  # within which it must end, in any state
BLOCKED_TEST = "kvr_Test_Ratio_1ph: KVR_RES_OPERATION_CANCELLED progress=1/2 until_cancelled\n"
DEAF_TEST = "kvr_Test_Ratio_1ph: KVR_RES_OPERATION_CANCELLED progress=1/2 delay=60000ms\n"
SERIES = "2\n1\n1\n1\n10x5\n\nS\n"
ENDING = ("Cancelling current operation...\nBEFORE kvr_CancelOperation\nAFTER kvr_CancelOperation\n"
          " second signal - terminate immediately\n")


def at_the_connection_prompt(console):
    console.expect("0. Cancel\n")


def at_the_main_menu(console):
    at_the_connection_prompt(console)
    console.send(CONNECTED)
    console.expect(MAIN_MENU)


def at_the_test_id_prompt(console):
    at_the_main_menu(console)
    console.send("2\n1\n1\n1\n\n\n")
    console.expect("Test ID (leave empty for date/time): ")


def in_a_test(console):
    at_the_main_menu(console)
    console.send(SINGLE_TEST)
    console.expect("progress: 1/2\n")


def in_the_pause_of_a_series(console):
    at_the_main_menu(console)
    console.send(SERIES)
    console.expect("Tests left: 4\n")
    console.expect("\n\n")  # after the row of the first test


def at_a_stopped_terminal(console):
    """The terminal takes no output, not even the last lines of the program."""
    at_the_main_menu(console)
    console.send(b"\x13")  # Ctrl-S
    time.sleep(0.2)


def close(console):
    console.close_terminal()
    return 2


def terminate(console):
    console.signal(signal.SIGTERM)
    return 6


def hang_up(console):
    console.signal(signal.SIGHUP)
    return 2


PLACES = [at_the_connection_prompt, at_the_main_menu, at_the_test_id_prompt, in_a_test,
          in_the_pause_of_a_series]


class TerminalEnd(unittest.TestCase):

    def end(self, console, event):
        """Makes the program end; returns its calls after that moment."""
        calls_before = len(console.calls())
        begun = time.monotonic()
        status = event(console)
        self.assertEqual(console.wait(), status)
        self.assertLess(time.monotonic() - begun, SECONDS)
        return console.calls()[calls_before:]

    def check_at_each_place(self, event, controlling):
        for place in PLACES:
            script = BLOCKED_TEST if place is in_a_test else ""
            with self.subTest(place=place.__name__, event=event.__name__, controlling=controlling), \
                    Console(script, controlling=controlling) as console:
                place(console)
                calls = self.end(console, event)
                with_a_test = place in (in_a_test, in_the_pause_of_a_series)
                self.assertEqual(calls.count("kvr_CancelOperation"), 1)
                self.assertEqual(calls.count("kvr_UnlockAPI"), 1 if with_a_test else 0)
                for call in ("kvr_LockAPI", "kvr_Test_Ratio_1ph", "kvr_Lib_Shutdown"):
                    self.assertNotIn(call, calls)
                if place is in_the_pause_of_a_series:
                    self.check_run_files(console)

    def check_run_files(self, console):
        """They hold the one test that was made, and end with a whole line."""
        files = sorted((console.home / "Documents" / "KVRU3").iterdir())
        self.assertEqual(len(files), 2, files)
        series, raw = (file.read_text() for file in files)
        self.assertEqual(series.count("\nS;"), 1, series)
        self.assertTrue(series.endswith("\n"), series)
        self.assertNotEqual(raw, "")

    def test_closing(self):
        self.check_at_each_place(close, controlling=True)

    def test_closing_of_a_terminal_that_is_not_the_controlling_one(self):
        """No signal comes from the system."""
        self.check_at_each_place(close, controlling=False)

    def test_termination(self):
        self.check_at_each_place(terminate, controlling=True)

    def test_termination_without_a_controlling_terminal(self):
        self.check_at_each_place(terminate, controlling=False)

    def test_words_at_a_prompt(self):
        for event in (terminate, hang_up):
            with self.subTest(event=event.__name__), Console() as console:
                at_the_main_menu(console)
                self.end(console, event)
                self.assertEqual(console.rest(), ENDING)
                self.assertEqual(console.settings(), console.settings_before)

    def test_words_in_a_test(self):
        """The cancelled test comes to its end first, up to the main menu."""
        with Console(BLOCKED_TEST) as console:
            in_a_test(console)
            position = console.position
            self.end(console, terminate)
            # The line of another thread may come between any two pieces of the test's words.
            words = console.seen[position:].replace("AFTER kvr_CancelOperation\n", "")
            self.assertIn("\nERROR: wording of code 7\nERROR in last test", words)
            self.assertTrue(words.endswith(" second signal - terminate immediately\n"), words)
            self.assertIn(MAIN_MENU, words)

    def test_the_program_waits_five_seconds_for_what_does_not_end(self):
        """One test for all cases, so that they wait at the same time."""
        blocked_cancel = "kvr_CancelOperation: 0 delay=60000ms\n"
        cases = [("a deaf test, closed", DEAF_TEST, in_a_test, close),
                 ("a deaf test, terminated", DEAF_TEST, in_a_test, terminate),
                 ("a cancel call that blocks", blocked_cancel, at_the_main_menu, terminate),
                 ("output to a stopped terminal", "", at_a_stopped_terminal, terminate)]
        with contextlib.ExitStack() as stack:
            ended = []
            for name, script, place, event in cases:
                console = stack.enter_context(Console(script))
                place(console)
                ended.append((name, console, time.monotonic(), event(console)))
            for name, console, begun, status in ended:
                with self.subTest(case=name):
                    self.assertEqual(console.wait(), status)
                    self.assertGreater(time.monotonic() - begun, 4.9)
                    self.assertLess(time.monotonic() - begun, SECONDS + 1)  # one is checked late
                    self.assertNotIn("kvr_UnlockAPI", console.calls())

    def test_a_cancel_that_comes_before_the_test_is_repeated(self):
        """When the first cancel comes, the library's test has not begun."""
        with Console("kvr_Test_Ratio_1ph: KVR_RES_OPERATION_CANCELLED progress=1/2 delay=1000ms\n"
                     "kvr_CancelOperation: KVR_RES_TEST_NOT_RUNNING\n") as console:
            in_a_test(console)
            calls = self.end(console, terminate)
            self.assertEqual(calls[:2], ["kvr_CancelOperation", "kvr_CancelOperation"])
            self.assertEqual(calls.count("kvr_CancelOperation"), 2)

    def test_at_the_end_of_input(self):
        """Ctrl-D instead of an answer: the program waits for ever, as at any end of input."""
        with Console() as console:
            at_the_main_menu(console)
            console.send(b"\x04")
            console.expect_silence(0.3)
            self.end(console, terminate)

    def test_several_hangups_are_one_closing(self):
        """A shell and the system each send one when a terminal closes."""
        with Console(BLOCKED_TEST) as console:
            in_a_test(console)
            console.signal(signal.SIGHUP)
            console.expect("AFTER kvr_CancelOperation\n")
            console.signal(signal.SIGHUP)
            calls = self.end(console, hang_up)
            self.assertIn("kvr_UnlockAPI", console.calls())
            self.assertNotIn("kvr_CancelOperation", calls[1:])

    def test_another_stop_ends_at_once(self):
        with Console(DEAF_TEST) as console:
            in_a_test(console)
            console.signal(signal.SIGTERM)
            console.expect("AFTER kvr_CancelOperation\n")
            time.sleep(0.2)  # a signal counts as seen a moment after its lines
            begun = time.monotonic()
            console.send(CTRL_C)
            self.assertEqual(console.wait(), 0)
            self.assertLess(time.monotonic() - begun, 3)

    def test_closing_while_a_key_is_waited_for(self):
        """The end of the terminal is a key, too: the lost connection's status stays."""
        with Console("always kvr_CheckConnection: 1\nkvr_GetStatus: 0 status=39@100ms\n") as console:
            at_the_main_menu(console)
            console.expect("API has been shutdown\n")
            time.sleep(0.2)
            console.close_terminal()
            self.assertIn(console.wait(), (1, 2))


if __name__ == "__main__":
    unittest.main()
