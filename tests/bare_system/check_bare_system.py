#!/usr/bin/env python3
"""Tries the package and both commands of the README on a bare Debian system that is made for it.

  check_bare_system.py RELEASE MIRROR FOLDER CACHE [PACKAGE]

RELEASE is a codename, MIRROR the address to take its packages from. The system comes into FOLDER;
CACHE keeps packages and what was compiled, so that the next run on this machine takes less time. A clone
of the last commit is what a user has there, who is not root but may use sudo. Without PACKAGE, a .deb,
one is built on that system.

Wants root, and mount and process namespaces of its own, so that nothing stays mounted or running.
"""

import contextlib
import os
import pathlib
import shutil
import subprocess
import sys
import time

from terminal import CTRL_C, Failure, Terminal

ROOT = pathlib.Path(__file__).resolve().parents[2]
USER = "tester"
USER_ID = 1000
HOME = f"/home/{USER}"
CLONE = f"{HOME}/kvr-console-tester"
COMPILED = "/var/cache/compiled"
INSTALLATION = 900  # seconds it may take
BUILD = 1800
TESTS = 1800

MAIN_MENU = "2. Single Phase Test\n0. Exit\n"
# What is asked in a test at 100 V, and the answers.
DIALOGUE = [
    ("== Select connection method ==", "1"),
    (MAIN_MENU, "2"),
    ("5. CT Test 1 Ph\n0. Exit\n", "2"),
    ("6. Ratio Phase H3-H0\n", "1"),
    ("6. Ratio Phase X3-X0\n", "1"),
    ("VxN - test N times at V voltage))\n", "100"),
    ("Nameplate ratio N:1 (leave empty for none): ", "10"),
    ("Test ID (leave empty for date/time): ", "TR-7"),
    ("TNR = ", ""),
    (MAIN_MENU, "0"),
    ("Exiting...\nEND\n", ""),
]


def run(*command):
    """Runs a command of this system; what it says matters only when it fails."""
    done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, check=False)
    if done.returncode != 0:
        raise Failure(f"{command[0]} failed with {done.returncode}", done.stdout)
    return done.stdout


@contextlib.contextmanager
def step(name):
    """Tells what is being done, and how long it took."""
    print(f"-- {name}", flush=True)
    start = time.monotonic()
    try:
        yield
    except Failure as failure:
        failure.args = (f"{name}: {failure.args[0]}", *failure.args[1:])
        raise
    print(f"   {name}: {time.monotonic() - start:.0f} s", flush=True)


class System:
    def __init__(self, release, mirror, folder, cache):
        self.folder = pathlib.Path(folder)
        self.cache = pathlib.Path(cache)
        self.make(release, mirror)
        self.mount()
        self.settle()
        self.add_user()

    def path(self, name):
        """Where a file of the system lies on this one."""
        return self.folder / name.lstrip("/")

    def make(self, release, mirror):
        for name in ("packages", "compiled"):
            (self.cache / name).mkdir(parents=True, exist_ok=True)
        more = ",ca-certificates" if mirror.startswith("https") else ""
        run("debootstrap", "--variant=minbase", f"--include=sudo,ccache{more}",
            f"--cache-dir={self.cache}/packages", release, str(self.folder), mirror)

    def mount(self):
        run("mount", "-t", "proc", "proc", self.path("/proc"))
        run("mount", "-t", "devpts", "-o", "newinstance,ptmxmode=0666,mode=0620,gid=5", "devpts",
            self.path("/dev/pts"))
        run("mount", "-t", "tmpfs", "tmpfs", self.path("/dev/shm"))
        run("mount", "--bind", self.cache / "packages", self.path("/var/cache/apt/archives"))
        self.path(COMPILED).mkdir()
        run("mount", "--bind", self.cache / "compiled", self.path(COMPILED))
        os.chown(self.path(COMPILED), USER_ID, USER_ID)

    def settle(self):
        """The network as this system has it."""
        shutil.copy("/etc/resolv.conf", self.path("/etc/resolv.conf"))
        self.path("/etc/hosts").write_text(f"127.0.0.1 localhost {os.uname().nodename}\n")
        settings = [line for line in run("apt-config", "dump").splitlines()
                    if line.startswith(("Acquire::http::", "Acquire::https::"))]
        settings.append('Acquire::Retries "3";')
        self.path("/etc/apt/apt.conf.d/90network").write_text("\n".join(settings) + "\n")

    def add_user(self):
        run("chroot", self.folder, "useradd", "--uid", str(USER_ID), "--user-group", "--no-create-home",
            "--shell", "/bin/bash", USER)
        self.path(f"/etc/sudoers.d/{USER}").write_text(f"{USER} ALL=(ALL:ALL) NOPASSWD: ALL\n")
        self.path(HOME).mkdir()
        os.chown(self.path(HOME), USER_ID, USER_ID)

    def clone(self):
        run("git", "clone", "--quiet", "--depth", "1", f"file://{ROOT}", self.path(CLONE))
        run("chown", "-R", f"{USER_ID}:{USER_ID}", self.path(CLONE))

    def enter(self, _):
        os.chroot(self.folder)
        os.initgroups(USER, USER_ID)
        os.setgid(USER_ID)
        os.setuid(USER_ID)
        os.chdir(CLONE if os.path.isdir(CLONE) else HOME)

    def terminal(self, *command, shown=False, **environment):
        """Has the user start a command in a new terminal. A terminal that is shown is a plain one."""
        environment = {"HOME": HOME, "USER": USER, "LOGNAME": USER, "SHELL": "/bin/bash",
                       "PATH": "/usr/local/bin:/usr/bin:/bin", "TERM": "dumb" if shown else "xterm",
                       "CMAKE_CXX_COMPILER_LAUNCHER": "ccache", "CCACHE_DIR": COMPILED,
                       "CCACHE_SLOPPINESS": "pch_defines,time_macros", "CCACHE_MAXSIZE": "1G",
                       **environment}
        return Terminal(self.path("/dev"), self.enter, ["/usr/bin/env", *command], environment, shown)

    def run(self, *command, seconds, shown=False, **environment):
        with self.terminal(*command, shown=shown, **environment) as terminal:
            terminal.expect_end(0, seconds)
            return terminal.seen

    def processes(self):
        """The user's that run."""
        with contextlib.suppress(ChildProcessError):  # what has ended, and was left to us
            while os.waitpid(-1, os.WNOHANG)[0] != 0:
                pass
        found = []
        for status in self.path("/proc").glob("[0-9]*/status"):
            with contextlib.suppress(OSError):  # it has ended meanwhile
                fields = dict(line.split(":\t", 1) for line in status.read_text().splitlines()
                              if ":\t" in line)
                if int(fields["Uid"].split()[0]) == USER_ID:
                    found.append(fields["Name"])
        return found

    def expect_no_process(self):
        if left := self.processes():
            raise Failure(f"still running: {', '.join(left)}")


def expect_dialogue(terminal, seconds=20):
    for asked, answer in DIALOGUE:
        terminal.expect(asked, seconds)
        if answer:
            terminal.send(answer + "\n")
        seconds = 20
    terminal.expect_end(0)


def expect_results(system):
    results = system.path(f"{HOME}/Documents/KVRU3")
    for name in ("TR-7.csv", "TR-7.csv.RAW.csv"):
        if not (results / name).exists() or (results / name).stat().st_size == 0:
            raise Failure(f"{name} is not among the results")
    shutil.rmtree(system.path(f"{HOME}/Documents"))


def check_package(system, package):
    """As docs/install.md has it."""
    name = pathlib.Path(package).name
    shutil.copy(package, system.path(f"{HOME}/{name}"))
    system.run("sudo", "apt-get", "-q", "update", seconds=INSTALLATION)
    system.run("sudo", "apt-get", "-q", "install", "-y", f"{HOME}/{name}", seconds=INSTALLATION)
    with system.terminal("console-tester") as terminal:
        expect_dialogue(terminal)
    expect_results(system)
    system.run("sudo", "apt-get", "-q", "remove", "-y", "kvr-console-tester", seconds=INSTALLATION)
    for path in ("/usr/bin/console-tester", "/usr/lib/kvr-console-tester",
                 "/usr/share/kvr-console-tester", "/usr/share/doc/kvr-console-tester"):
        if system.path(path).exists():
            raise Failure(f"{path} stays when the package is removed")


def check_first_run(system):
    """Installs, builds, and starts a dialogue."""
    with system.terminal("scripts/run") as terminal:
        terminal.expect("To build the programs, apt-get will install these packages")
        terminal.expect("Installing ", INSTALLATION)
        terminal.expect("Configuring ", INSTALLATION)
        terminal.expect("Building ", 120)
        expect_dialogue(terminal, BUILD)
    expect_results(system)


def check_second_signal(system):
    with system.terminal("scripts/run") as terminal:
        terminal.expect("== Select connection method ==")
        terminal.send("1\n")
        terminal.expect(MAIN_MENU)
        terminal.send(CTRL_C)
        terminal.expect("Cancelling current operation...\n")
        time.sleep(1)  # a signal counts as seen a moment after its lines
        terminal.send(CTRL_C)
        terminal.expect(" second signal - terminate immediately\n")
        terminal.expect_end(0)


def check_lost_connection(system):
    bench = f"{HOME}/bench.toml"
    system.path(bench).write_text("[connection]\nlost_after = 2\n")
    with system.terminal("scripts/run", KVR_BENCH_FILE=bench) as terminal:
        terminal.expect("== Select connection method ==")
        terminal.send("1\n")
        terminal.expect("API has been shutdown\n")
        time.sleep(1)  # it waits for the key from then on
        terminal.send("x")
        terminal.expect_end(1)


def check_closed_terminal(system):
    """At the first question and at the main menu: as a stop by a hang-up, within 6 seconds."""
    for connected in (False, True):
        with system.terminal("scripts/run") as terminal:
            terminal.expect("0. Cancel\n")
            if connected:
                terminal.send("1\n")
                terminal.expect(MAIN_MENU)
            terminal.close()
            terminal.expect_end(2, 6)


def check_tests(system):
    said = system.run("scripts/test", seconds=BUILD + TESTS, shown=True)
    if "100% tests passed, 0 tests failed" not in said:
        raise Failure("not all tests passed")
    if warnings := [line for line in said.splitlines() if "warning:" in line]:
        raise Failure("the compiler warns", "\n".join(warnings))


def check(release, mirror, folder, cache, package=None):
    with step(f"making a bare system ({release})"):
        system = System(release, mirror, folder, cache)
    if package:
        with step("package: installed, run, removed"):
            check_package(system, package)
    system.clone()
    steps = [("scripts/run: a dialogue", check_first_run),
             ("scripts/run: a second Ctrl-C at a prompt", check_second_signal),
             ("scripts/run: a lost connection", check_lost_connection),
             ("scripts/run: a closed terminal", check_closed_terminal),
             ("scripts/test", check_tests)]
    failures = []
    for name, function in steps:
        try:
            with step(name):
                function(system)
                system.expect_no_process()
        except Failure as failure:
            tell(failure)
            failures.append(failure.args[0])
    if not package:
        with step("scripts/package linux"):
            system.run("scripts/package", "linux", seconds=INSTALLATION + BUILD, SOURCE_DATE_EPOCH="0")
        with step("package: installed, run, removed"):
            check_package(system, next(system.path(CLONE).glob("build/packages/*.deb")))
    run("chroot", system.folder, "apt-get", "autoclean")
    return failures


def tell(failure):
    reason, *said = failure.args
    print(f"   FAILED: {reason}", *said, sep="\n", flush=True)


def main():
    try:
        failures = check(*sys.argv[1:])
    except Failure as failure:
        tell(failure)
        failures = [failure.args[0]]
    if failures:
        sys.exit("check_bare_system: " + "; ".join(failures))


if __name__ == "__main__":
    main()
