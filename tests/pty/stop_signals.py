"""Stop signals: the first one since the main menu was shown cancels, the next one ends."""

import signal
import unittest

from console import (CONNECTED, CTRL_BACKSLASH, CTRL_C, MAIN_MENU, SINGLE_TEST, Console)

BLOCKED_TEST = "kvr_Test_Ratio_1ph: KVR_RES_OPERATION_CANCELLED progress=1/2 until_cancelled\n"
DEAF_TEST = "kvr_Test_Ratio_1ph: KVR_RES_OPERATION_CANCELLED progress=1/2 delay=60000ms\n"
CANCELLING = "Cancelling current operation...\n"
SECOND = " second signal - terminate immediately\n"


def start_test(console):
    console.send(CONNECTED)
    console.expect(MAIN_MENU)
    console.send(SINGLE_TEST)
    console.expect("progress: 1/2\n")


def expect_cancel(console):
    console.expect(CANCELLING)
    console.expect("BEFORE kvr_CancelOperation\n")
    console.expect("AFTER kvr_CancelOperation\n")
    console.expect_silence(0.4)  # a signal counts as seen a moment after its lines


class StopSignals(unittest.TestCase):

    def check_second_signal(self, first, second, status):
        """Two stop signals during a test that can't be cancelled."""
        with Console(DEAF_TEST) as console:
            start_test(console)
            first(console)
            expect_cancel(console)
            second(console)
            console.expect(SECOND)
            self.assertEqual(console.wait(), status)
            self.assertEqual(console.rest(), "")
            self.assertEqual(console.calls().count("kvr_CancelOperation"), 1)
            self.assertNotIn("kvr_UnlockAPI", console.calls())
            self.assertNotIn("kvr_Lib_Shutdown", console.calls())
            self.assertEqual(console.settings(), console.settings_before)

    def test_first_signal_cancels_and_the_next_test_works(self):
        with Console(BLOCKED_TEST) as console:
            start_test(console)
            console.send(CTRL_C)
            console.expect(CANCELLING)
            cancelled = console.position
            console.expect("ERROR in last test")
            console.expect_after(cancelled, "wording of code 7\n")
            console.expect(MAIN_MENU)
            console.send(SINGLE_TEST)
            console.expect("record_id: AUTO-2")
            console.expect(MAIN_MENU)
            console.expect_after(cancelled, "BEFORE kvr_CancelOperation\n")
            console.expect_after(cancelled, "AFTER kvr_CancelOperation\n")
            console.send("0\n")
            self.assertEqual(console.wait(), 0)
            self.assertTrue(console.rest().endswith("\nExiting...\nEND\n"))
            self.assertEqual(console.calls().count("kvr_CancelOperation"), 1)
            self.assertEqual(console.calls().count("kvr_UnlockAPI"), 2)

    def test_second_ctrl_c_ends_with_0(self):
        self.check_second_signal(lambda c: c.send(CTRL_C), lambda c: c.send(CTRL_C), 0)

    def test_ctrl_backslash_after_ctrl_c_ends_with_1(self):
        self.check_second_signal(lambda c: c.send(CTRL_C), lambda c: c.send(CTRL_BACKSLASH), 1)

    def test_hangup_after_ctrl_backslash_ends_with_2(self):
        self.check_second_signal(lambda c: c.send(CTRL_BACKSLASH),
                                 lambda c: c.signal(signal.SIGHUP), 2)

    def test_termination_after_hangup_ends_with_6(self):
        self.check_second_signal(lambda c: c.signal(signal.SIGHUP),
                                 lambda c: c.signal(signal.SIGTERM), 6)

    def test_ctrl_c_after_termination_ends_with_0(self):
        self.check_second_signal(lambda c: c.signal(signal.SIGTERM),
                                 lambda c: c.send(CTRL_C), 0)

    def test_each_visit_to_the_main_menu_clears_the_count(self):
        with Console() as console:
            console.send(CONNECTED)
            console.expect(MAIN_MENU)
            for _ in range(3):
                console.send(CTRL_C)
                expect_cancel(console)
                console.send("9\n")
                console.expect(MAIN_MENU)
            console.send("0\n")
            self.assertEqual(console.wait(), 0)
            self.assertEqual(console.calls().count("kvr_CancelOperation"), 3)

    def test_two_signals_at_the_main_menu_end_the_program(self):
        with Console() as console:
            console.send(CONNECTED)
            console.expect(MAIN_MENU)
            console.send(CTRL_C)
            expect_cancel(console)
            console.send(CTRL_C)
            console.expect(SECOND)
            self.assertEqual(console.wait(), 0)
            self.assertEqual(console.settings(), console.settings_before)

    def test_the_count_goes_on_from_prompt_to_prompt(self):
        """A signal at one prompt and another one at a later prompt, with no main menu between."""
        with Console() as console:
            console.send(CONNECTED)
            console.expect(MAIN_MENU)
            console.send("2\n1\n")
            console.expect("Hi Side connection:\n")
            console.send(CTRL_C)
            expect_cancel(console)
            console.send("1\n1\n")
            console.expect("Enter Test Voltage")
            console.send(CTRL_BACKSLASH)
            console.expect(SECOND)
            self.assertEqual(console.wait(), 1)

    def test_signal_at_the_connection_menu(self):
        """Signals count before the first main menu too; the main menu clears the count."""
        with Console() as console:
            console.expect("0. Cancel\n")
            console.send(CTRL_C)
            expect_cancel(console)
            console.send(CONNECTED)
            console.expect(MAIN_MENU)
            console.send(CTRL_C)
            expect_cancel(console)
            console.send("0\n")
            self.assertEqual(console.wait(), 0)

    def test_a_cancel_call_that_fails_is_not_reported(self):
        with Console("kvr_CancelOperation: KVR_RES_TEST_NOT_RUNNING\n") as console:
            console.send(CONNECTED)
            console.expect(MAIN_MENU)
            console.send(CTRL_C)
            console.expect("AFTER kvr_CancelOperation\n")
            console.send("0\n")
            self.assertEqual(console.wait(), 0)
            self.assertNotIn("ERROR", console.seen)

    def test_an_ignored_hangup_stays_ignored(self):
        with Console(ignored_signals=[signal.SIGHUP]) as console:
            console.send(CONNECTED)
            console.expect(MAIN_MENU)
            console.signal(signal.SIGHUP)
            console.expect_silence()
            console.send("0\n")
            self.assertEqual(console.wait(), 0)
            self.assertNotIn(CANCELLING, console.seen)


if __name__ == "__main__":
    unittest.main()
