#!/usr/bin/env python3
"""Waiting for a key in a console: one key ends it, without Enter and without being shown.

Takes the command that starts Windows programs, and a program that says "Waiting", waits for a key and
ends with status 5.
"""

import os
import pty
import select
import subprocess
import sys
import time

SECONDS_TO_END = 60
SECONDS_WITHOUT_A_KEY = 1
STATUS = 5


class Screen:
    """Output of a terminal. Wine's console redraws parts of its screen, so only letters count."""

    def __init__(self, terminal):
        self.terminal = terminal
        self.text = b""

    def read_for(self, seconds):
        if select.select([self.terminal], [], [], seconds)[0]:
            self.text += os.read(self.terminal, 65536)

    def letters(self):
        """All letters that came, one after the other, without control sequences."""
        plain = b""
        rest = self.text
        while rest:
            if rest.startswith(b"\x1b"):
                rest = rest[1:].lstrip(b"[0123456789;?")[1:]
            else:
                plain += rest[:1] if rest[:1].isalpha() else b""
                rest = rest[1:]
        return plain


def complaint_about(command):
    terminal, slave = pty.openpty()
    process = subprocess.Popen(command, stdin=slave, stdout=slave, stderr=slave,
                               env=dict(os.environ, TERM="xterm"), start_new_session=True)
    screen = Screen(terminal)
    deadline = time.monotonic() + SECONDS_TO_END

    def goes_on_until(reached):
        while not reached():
            screen.read_for(0.1)
            if time.monotonic() > deadline:
                return False
        return True

    try:
        if not goes_on_until(lambda: b"Waiting" in screen.letters()):
            return "did not start"
        key_time = time.monotonic() + SECONDS_WITHOUT_A_KEY
        goes_on_until(lambda: time.monotonic() > key_time)
        if process.poll() is not None:
            return f"ended with {process.returncode} before a key came"
        before = screen.letters()
        os.write(terminal, b"k")
        if not goes_on_until(lambda: process.poll() is not None):
            return "did not end after a key"
        if process.returncode != STATUS:
            return f"ended with {process.returncode}"
        return "showed the key" if b"k" in screen.letters()[len(before):] else ""
    finally:
        process.kill()
        process.wait()
        os.close(slave)
        os.close(terminal)


def main():
    complaint = complaint_about(sys.argv[1:])
    print(complaint or "ended after a key")
    return 1 if complaint else 0


if __name__ == "__main__":
    sys.exit(main())
