"""A terminal of another system, with a program in it."""

import fcntl
import os
import select
import signal
import struct
import termios
import time

TIOCGPTN = 0x80045430    # number of a new terminal
TIOCSPTLCK = 0x40045431  # locks it

CTRL_C = "\x03"


class Failure(Exception):
    """What should have happened did not."""


class Terminal:
    """Use as a context. The program is killed at the end if it still runs.

    `enter` has to make the process, which has just been forked, one of the other system.
    """

    def __init__(self, devices, enter, command, environment, shown=False):
        self.seen = ""      # output so far, with line feeds alone at line ends
        self.position = 0   # after what has been expected
        self.status = None
        self.shown = shown  # output is copied to our own
        self.processes = f"{devices}/../proc"
        self.master = os.open(f"{devices}/pts/ptmx", os.O_RDWR | os.O_NOCTTY | os.O_CLOEXEC)
        fcntl.ioctl(self.master, TIOCSPTLCK, struct.pack("i", 0))
        number = struct.unpack("i", fcntl.ioctl(self.master, TIOCGPTN, struct.pack("i", 0)))[0]
        slave = os.open(f"{devices}/pts/{number}", os.O_RDWR | os.O_NOCTTY | os.O_CLOEXEC)
        self.process = os.fork()
        if self.process == 0:
            try:
                os.setsid()
                signal.signal(signal.SIGHUP, signal.SIG_DFL)  # under nohup it is ignored
                fcntl.ioctl(slave, termios.TIOCSCTTY, 0)
                for descriptor in (0, 1, 2):
                    os.dup2(slave, descriptor)
                enter(slave)
                os.execve(command[0], command, environment)
            finally:
                os._exit(126)
        os.close(slave)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.status is None:
            os.kill(self.process, 9)
            os.waitpid(self.process, 0)
        self.close()

    def close(self):
        """As somebody closes a window."""
        if self.master is not None:
            os.close(self.master)
            self.master = None

    def send(self, keys):
        os.write(self.master, keys.encode())

    def read_for(self, seconds):
        """Takes what comes within some seconds, or less. False if nothing came."""
        if self.master is None or not select.select([self.master], [], [], seconds)[0]:
            return False
        try:
            said = os.read(self.master, 65536).decode("utf-8", "replace").replace("\r\n", "\n")
        except OSError:  # nobody has the terminal open any more
            return False
        if self.shown:
            print(said, end="", flush=True)
        self.seen += said
        return True

    def expect(self, text, seconds=20):
        """Waits until a text has come after the last one that was expected."""
        deadline = time.monotonic() + seconds
        while text not in self.seen[self.position:]:
            if time.monotonic() > deadline:
                raise Failure(f"'{text}' did not come within {seconds} s", self.seen)
            if not self.read_for(0.1) and self.has_ended():
                while self.read_for(0.1):
                    pass
                if text not in self.seen[self.position:]:
                    raise Failure(f"ended with {self.status} before '{text}' came", self.seen)
        self.position = self.seen.index(text, self.position) + len(text)

    def has_ended(self):
        if self.status is None:
            process, status = os.waitpid(self.process, os.WNOHANG)
            if process != 0:
                self.status = os.waitstatus_to_exitcode(status)
        return self.status is not None

    def threads(self):
        """What each thread of the program does, by name: its state and where the system has it wait."""
        for task in sorted(os.listdir(f"{self.processes}/{self.process}/task")):
            texts = []
            for name in ("comm", "stat", "wchan"):
                with open(f"{self.processes}/{self.process}/task/{task}/{name}", encoding="utf-8") as file:
                    texts.append(file.read().strip())
            yield f"thread {texts[0]}: {texts[1].rpartition(')')[2].split()[0]} {texts[2]}"

    def expect_end(self, status, seconds=20):
        """Waits for the end, with an exit status or minus the number of a signal."""
        deadline = time.monotonic() + seconds
        while not self.has_ended():
            if time.monotonic() > deadline:
                raise Failure(f"did not end within {seconds} s", self.seen, *self.threads())
            if not self.read_for(0.05):
                time.sleep(0.05)
        while self.read_for(0.1):
            pass
        if self.status != status:
            raise Failure(f"ended with {self.status} and not {status}", self.seen)
