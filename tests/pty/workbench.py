"""The tester workbench as it is shipped: from its start to its end, on the scripted library."""

import unittest

from console import CONNECTED, Console


class Workbench(unittest.TestCase):
    def test_starts_with_its_menu_and_ends(self):
        with Console(program="KVR_TESTER_WORKBENCH") as console:
            console.send(CONNECTED)
            console.expect("1. Three Phase Test\n2. Records\n0. Exit\n")
            console.send("0\n")
            console.expect("END\n")
            self.assertEqual(console.wait(), 0)


if __name__ == "__main__":
    unittest.main()
