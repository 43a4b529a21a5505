"""Runs the console tester in a terminal of its own, for tests of keys, signals and terminal
settings.

The program runs on the scripted client library, which answers as the test's script says (see
tests/support/scripted_client_api_script.h), or on the virtual instrument with the test's bench; on
the real clock. KVR_CONSOLE_TESTER names the program and KVR_SCRIPTED_LIBRARY the folder of the
scripted library; KVR_TESTER_WORKBENCH is for the test of that program.
"""

import fcntl
import os
import pathlib
import pty
import select
import signal
import tempfile
import termios
import time

SECONDS = 10  # until something that has to come counts as missing

CTRL_C = b"\x03"
CTRL_BACKSLASH = b"\x1c"

CONNECTED = "1\n"             # answers to the connection menu
SINGLE_TEST = "2\n1\n1\n1\n\n\n\n"  # from the main menu to the start of a test
MAIN_MENU = "2. Single Phase Test\n0. Exit\n"


class Console:
    """Use as a context. The program is killed at the end if it still runs."""

    def __init__(self, script="", ignored_signals=(), bench=None, program="KVR_CONSOLE_TESTER",
                 controlling=True):
        self.seen = ""       # output so far, with line feeds alone at line ends
        self.position = 0    # after what has been expected
        self.status = None
        self.script = script
        self.bench = bench
        self.program = program
        self.ignored_signals = ignored_signals
        self.controlling = controlling  # whether the terminal is the controlling one
        self.closed = False

    def __enter__(self):
        # pylint: disable-next=consider-using-with
        self.temporary = tempfile.TemporaryDirectory(prefix="pty-")
        folder = self.home = pathlib.Path(self.temporary.name)
        (folder / "script").write_text(self.script)
        self.log = folder / "calls"
        environment = dict(os.environ, HOME=str(folder), LC_ALL="C", TZ="CET-1",
                           KVR_SCRIPT_FILE=str(folder / "script"), KVR_CALL_LOG=str(self.log))
        if self.bench is None:
            environment["LD_LIBRARY_PATH"] = os.environ["KVR_SCRIPTED_LIBRARY"]
        else:
            environment["KVR_BENCH_FILE"] = str(folder / "bench.toml")
            (folder / "bench.toml").write_text(self.bench)
        program = os.path.abspath(os.environ[self.program])
        master, self.slave = pty.openpty()  # kept open, so that settings can be read at the end
        self.settings_before = self.settings()
        started, starting = os.pipe()  # the writing end closes when the program has been started
        self.process = os.fork()
        if self.process == 0:
            os.close(master)
            become_terminal(self.slave, self.controlling)
            for number in self.ignored_signals:
                signal.signal(number, signal.SIG_IGN)
            os.chdir(folder)
            os.execve(program, [program], environment)
        os.close(starting)
        os.read(started, 1)
        os.close(started)
        self.master = master
        return self

    def __exit__(self, *_):
        if self.status is None:
            os.kill(self.process, signal.SIGKILL)
            os.waitpid(self.process, 0)
        self.close_terminal()
        os.close(self.slave)
        self.temporary.cleanup()

    def settings(self):
        return termios.tcgetattr(self.slave)

    def send(self, keys):
        os.write(self.master, keys.encode() if isinstance(keys, str) else keys)

    def close_terminal(self):
        """As a closed window or a lost connection does. Nothing can be read afterwards."""
        if not self.closed:
            self.closed = True
            os.close(self.master)

    def signal(self, number):
        os.kill(self.process, number)

    def read_for(self, seconds):
        """Reads output for at most some seconds. False if none came."""
        if self.closed:
            time.sleep(seconds)
            return False
        if not select.select([self.master], [], [], seconds)[0]:
            return False
        self.seen += os.read(self.master, 65536).decode("latin-1").replace("\r\n", "\n")
        return True

    def expect(self, text):
        """Waits for a text after the last one that was expected."""
        self.expect_after(self.position, text)
        self.position = self.seen.index(text, self.position) + len(text)

    def expect_after(self, position, text):
        """Waits for a text anywhere after a position, for lines of other threads."""
        deadline = time.monotonic() + SECONDS
        while text not in self.seen[position:]:
            left = deadline - time.monotonic()
            if left <= 0 or not self.read_for(left):
                raise AssertionError(f"'{text}' did not come. All that came:\n{self.seen}")

    def expect_silence(self, seconds=0.3):
        """Makes sure that nothing more comes for a while, and that the program still runs."""
        before = self.seen
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            self.read_for(deadline - time.monotonic())
        if self.seen != before:
            raise AssertionError(f"this should not have come:\n{self.seen[len(before):]}")
        if os.waitpid(self.process, os.WNOHANG)[0] != 0:
            raise AssertionError("the program has ended")

    def wait(self):
        """Waits for the end. Gives the exit status, or minus the number of a signal."""
        deadline = time.monotonic() + SECONDS
        while self.status is None:
            if time.monotonic() > deadline:
                raise AssertionError(f"the program did not end. All that came:\n{self.seen}")
            self.read_for(0.02)
            process, status = os.waitpid(self.process, os.WNOHANG)
            if process != 0:
                self.status = os.waitstatus_to_exitcode(status)
        while self.read_for(0.02):
            pass
        return self.status

    def rest(self):
        """All that came after the last expected text."""
        return self.seen[self.position:]

    def calls(self):
        """Names of the calls so far, in order."""
        return [line.split()[0] for line in self.log.read_text().splitlines()
                if line.startswith("kvr_")]


def become_terminal(slave, controlling):
    """Makes the terminal the controlling one of this newly forked process."""
    os.setsid()
    if controlling:
        fcntl.ioctl(slave, termios.TIOCSCTTY, 0)
    for descriptor in (0, 1, 2):
        os.dup2(slave, descriptor)
