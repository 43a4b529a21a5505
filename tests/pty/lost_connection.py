"""A lost connection: the program says so, waits for exactly one key, and ends with status 1."""

import unittest

from console import CONNECTED, CTRL_C, MAIN_MENU, SINGLE_TEST, Console

LOST = ("\nSTATUS CALLBACK: wording of code 39\ndata: cable\nExiting console tester...\n"
        "API has been shutdown\n")
CONNECTION = "always kvr_CheckConnection: 1\n"


class LostConnection(unittest.TestCase):

    def check_key(self, console, key):
        console.expect(LOST)
        console.expect_silence()
        console.send(key)
        self.assertEqual(console.wait(), 1)
        self.assertEqual(console.rest(), "")  # no echo, no further text
        self.assertEqual(console.calls().count("kvr_Lib_Shutdown"), 1)
        self.assertEqual(console.settings(), console.settings_before)

    def test_during_a_test(self):
        with Console(CONNECTION + "kvr_Test_Ratio_1ph: 0 progress=1/2 "
                     'status=KVR_RES_PEER_DISCONNECTED:"cable"\n') as console:
            console.send(CONNECTED)
            console.expect(MAIN_MENU)
            console.send(SINGLE_TEST)
            console.expect("progress: 1/2\n")
            self.check_key(console, "x")
            self.assertNotIn("kvr_UnlockAPI", console.calls())

    def test_at_the_main_menu(self):
        """The main thread waits in a read of the same terminal."""
        with Console(CONNECTION + 'kvr_GetStatus: 0 status=39:"cable"@200ms\n') as console:
            console.send(CONNECTED)
            console.expect(MAIN_MENU)
            self.check_key(console, "x")

    def test_at_a_line_prompt(self):
        with Console(CONNECTION + 'kvr_GetStatus: 0 status=39:"cable"@400ms\n') as console:
            console.send(CONNECTED)
            console.expect(MAIN_MENU)
            console.send("2\n1\n1\n1\n")
            console.expect("VxN - test N times at V voltage))\n")
            self.check_key(console, "7")

    def test_keys_after_the_first_are_no_answers(self):
        """The prompt that the main thread waits at does not get them."""
        with Console(CONNECTION + 'kvr_GetStatus: 0 status=39:"cable"@200ms\n') as console:
            console.send(CONNECTED)
            console.expect(MAIN_MENU)
            self.check_key(console, "x0\n0\n")

    def test_line_feed_is_a_key(self):
        with Console(CONNECTION + 'kvr_GetStatus: 0 status=39:"cable"@200ms\n') as console:
            console.send(CONNECTED)
            console.expect(MAIN_MENU)
            self.check_key(console, "\n")

    def test_at_the_connection_menu(self):
        with Console(CONNECTION + 'kvr_Lib_Initialize: 0 status=39:"cable"@200ms\n') as console:
            console.expect("0. Cancel\n")
            self.check_key(console, "x")

    def test_connection_still_there(self):
        """If the connection is still there, the main menu goes on waiting after such a report."""
        with Console('kvr_GetStatus: 0 status=39:"cable"@200ms\n') as console:
            console.send(CONNECTED)
            console.expect(MAIN_MENU)
            console.expect("\nSTATUS CALLBACK: wording of code 39\ndata: cable\n")
            console.expect_silence()
            console.send("0\n")
            self.assertEqual(console.wait(), 0)
            self.assertEqual(console.calls().count("kvr_Lib_Shutdown"), 1)

    def test_stop_signals_while_waiting_for_the_key(self):
        """They are counted as usual: the second one ends the program."""
        with Console(CONNECTION + 'kvr_GetStatus: 0 status=39:"cable"@200ms\n') as console:
            console.send(CONNECTED)
            console.expect(MAIN_MENU)
            console.expect(LOST)
            console.expect_silence()
            console.send(CTRL_C)
            console.expect("Cancelling current operation...\n")
            console.expect("AFTER kvr_CancelOperation\n")
            console.send(CTRL_C)
            console.expect(" second signal - terminate immediately\n")
            self.assertEqual(console.wait(), 0)
            self.assertEqual(console.settings(), console.settings_before)


if __name__ == "__main__":
    unittest.main()
