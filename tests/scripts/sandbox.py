"""A copy of the scripts in a folder of its own, where the commands that install, configure, build and
test are stand-ins (see fake_command): they write down how they were called.

No other program is within reach but the few that the scripts use and that change nothing.
"""

import os
import pathlib
import pty
import select
import shutil
import subprocess
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
SCRIPTS = HERE.parents[1] / "scripts"
FAKES = ["apt-cache", "apt-get", "cmake", "cpack", "ctest", "dpkg", "dpkg-query", "git", "id", "npm",
         "sudo", "unshare"]
TOOLS = ["awk", "basename", "bash", "cat", "chmod", "dirname", "env", "grep", "ls", "mkdir",
         "mktemp", "realpath", "rm", "sed", "tee", "touch"]
PACKAGES = ["cmake", "g++", "ninja-build", "libcli11-dev", "libplog-dev", "libsqlite3-dev",
            "libtomlplusplus-dev", "libutfcpp-dev", "nlohmann-json3-dev"]
SECONDS = 30  # until something that has to end counts as hanging


class Outcome:
    """What a script said and did."""

    def __init__(self, status, output, errors, calls):
        self.status = status
        self.output = output
        self.errors = errors
        self.calls = calls


class Sandbox:
    """Use as a context. Everything is installed and built by nobody yet, unless it is said."""

    def __init__(self, installed=(), root=False, sudo=None, unknown=(), failing=(), mirror=""):
        self.temporary = tempfile.TemporaryDirectory(prefix="scripts with spaces ")
        self.folder = pathlib.Path(self.temporary.name)
        self.tree = self.folder / "a tree"
        shutil.copytree(SCRIPTS, self.tree / "scripts")
        for target in ("alpha", "beta"):
            (self.tree / "fuzz" / "targets").mkdir(parents=True, exist_ok=True)
            (self.tree / "fuzz" / "targets" / f"{target}.cpp").touch()
        self.state = self.folder / "state"
        self.state.mkdir()
        self.commands = self.folder / "commands"
        self.commands.mkdir()
        for tool in TOOLS:
            (self.commands / tool).symlink_to(shutil.which(tool, path="/usr/bin:/bin"))
        for fake in FAKES:
            if fake != "sudo" or sudo:
                (self.commands / fake).symlink_to(HERE / "fake_command")
        self.write("installed", installed)
        self.write("unknown", unknown)
        self.write("failing", failing)
        self.write("mirror", [mirror])
        self.write("sudo", [sudo or ""])
        self.write("calls", [])
        if root:
            self.write("root", [])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.temporary.cleanup()

    def write(self, name, lines):
        (self.state / name).write_text("".join(f"{line}\n" for line in lines))

    def environment(self):
        return {"PATH": str(self.commands), "FAKES": str(self.state), "TERM": "xterm",
                "HOME": str(self.folder), "TMPDIR": str(self.folder)}

    def outcome(self, status, output, errors):
        """The calls since the last outcome, without those that only ask."""
        calls = (self.state / "calls").read_text().splitlines()
        self.write("calls", [])
        asking = ("dpkg-query ", "apt-cache ", "id ", "sudo -n true", "apt-get indextargets")
        def hide_folders(text):
            return text.replace(str(self.tree), "TREE").replace(str(self.folder), "FOLDER")
        return Outcome(status, hide_folders(output), hide_folders(errors),
                       [hide_folders(call) for call in calls if not call.startswith(asking)])

    def run(self, script, *words, answers=""):
        """Runs a script without a terminal."""
        return self.run_command([self.tree / "scripts" / script, *words], answers)

    def run_command(self, command, answers=""):
        done = subprocess.run(command, input=answers, capture_output=True, text=True, check=False,
                              cwd=self.folder, env=self.environment(), timeout=SECONDS,
                              start_new_session=True)
        return self.outcome(done.returncode, done.stdout, done.stderr)

    def run_in_terminal(self, script, *words):
        """Runs a script in a terminal, which takes all it says."""
        process, master = pty.fork()
        if process == 0:
            os.chdir(self.folder)
            program = str(self.tree / "scripts" / script)
            os.execve(program, [program, *words], self.environment())
        said = b""
        while select.select([master], [], [], SECONDS)[0]:
            try:
                said += os.read(master, 65536)
            except OSError:  # the last program of the terminal has ended
                break
        os.close(master)
        _, status = os.waitpid(process, 0)
        return self.outcome(os.waitstatus_to_exitcode(status), "",
                            said.decode().replace("\r\n", "\n"))
