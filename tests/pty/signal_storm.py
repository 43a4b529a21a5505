"""Sends many stop signals at random moments, the first of them before the first output: in each
case the program ends, once, with the status of one of its ways to end, and no sanitizer reports
anything.

KVR_STORM_RUNS sets how many runs there are, KVR_STORM_SEED the first seed.
"""

import os
import random
import signal
import threading
import time
import unittest

from console import Console

RUNS = int(os.environ.get("KVR_STORM_RUNS", "30"))
SEED = int(os.environ.get("KVR_STORM_SEED", str(random.SystemRandom().randrange(10**6))))

SIGNALS = [signal.SIGINT, signal.SIGQUIT, signal.SIGHUP, signal.SIGTERM]
ANSWERS = ["1\n", "2\n", "1\n", "1\n", "1\n", "10x3\n", "\n", "\n", "2\n", "0\n", "0\n"]
BENCH = "[measurement]\nduration = 0.05\n\n[connection]\nlost_after = 0.4\n"
STATUSES = ({0, 1, 2, 6}  # events, a lost connection, the last answer
            | {-number for number in SIGNALS})  # before the program takes signals


def storm(console, chances, is_over):
    """Sends signals until the program has ended."""
    time.sleep(chances.choice([0, chances.random() * 0.6]))
    while not is_over.is_set():
        console.signal(chances.choice(SIGNALS))
        time.sleep(chances.choice([0, chances.expovariate(20)]))


def answer(console, chances, is_over):
    """Types answers until there are no more, and then closes the terminal."""
    for text in ANSWERS:
        if is_over.wait(chances.expovariate(100)):
            return
        console.send(text)
    if not is_over.wait(chances.random()):
        console.close_terminal()


def run(seed):
    """Gives the status and all that came."""
    chances = random.Random(seed)
    bench = BENCH if chances.random() < 0.5 else BENCH.split("\n\n", maxsplit=1)[0] + "\n"
    with Console(bench=bench, controlling=chances.random() < 0.5) as console:
        is_over = threading.Event()
        threads = [threading.Thread(target=storm, args=(console, chances, is_over)),
                   threading.Thread(target=answer, args=(console, random.Random(seed), is_over))]
        for thread in threads:
            thread.start()
        try:
            os.waitid(os.P_PID, console.process, os.WEXITED | os.WNOWAIT)  # a signal needs the process
        finally:
            is_over.set()
            for thread in threads:
                thread.join()
        return console.wait(), console.seen


class SignalStorm(unittest.TestCase):
    def test_ends_with_an_expected_status(self):
        for seed in range(SEED, SEED + RUNS):
            with self.subTest(seed=seed):
                status, seen = run(seed)
                self.assertIn(status, STATUSES, seen)
                self.assertNotIn("Sanitizer", seen)
                self.assertNotIn("terminate called", seen)


if __name__ == "__main__":
    unittest.main()
