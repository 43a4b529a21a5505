"""Runs the unattended tester on the scripted client library or on the virtual instrument."""

import json
import os
import pathlib
import subprocess
import tempfile

RESULTS = "Documents/KVRU3"
INSTANT = "[measurement]\nduration = 0\nsteps = 2\n"
REAL = ("--energise",)  # the scripted instrument counts as a real one


class Run:
    """What a run of a program has left. Use as a context: the folder goes with it."""

    def __init__(self, program, arguments=(), plan=None, script=None, bench=None, typed=b"",
                 output=subprocess.PIPE, prepare=None, limit=None):
        # pylint: disable-next=consider-using-with
        self.temporary = tempfile.TemporaryDirectory(prefix="plan-")
        self.folder = pathlib.Path(self.temporary.name)
        self.work = self.folder / "work"
        self.work.mkdir()
        (self.folder / "script").write_text(script or "")
        arguments = list(arguments)
        if plan is not None:
            (self.work / "plan.toml").write_text(plan)
            arguments.append("plan.toml")
        self.environment = dict(os.environ, HOME=str(self.folder), LC_ALL="C", TZ="CET-1",
                                KVR_SCRIPT_FILE=str(self.folder / "script"),
                                KVR_CALL_LOG=str(self.folder / "calls"))
        if bench is None:
            self.environment["LD_LIBRARY_PATH"] = os.environ["KVR_SCRIPTED_LIBRARY"]
        else:
            (self.folder / "bench.toml").write_text(bench)
            self.environment["KVR_BENCH_FILE"] = str(self.folder / "bench.toml")
        if prepare is not None:
            prepare(self.folder)
        self.command = [os.environ[program], *arguments]
        self.done = None
        self.process = None
        self.output = output
        self.typed = typed
        self.limit = limit

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process is not None and self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        self.temporary.cleanup()

    def finish(self, seconds=60):
        """Runs to the end."""
        self.done = subprocess.run(self.command, input=self.typed, stdout=self.output,
                                   stderr=subprocess.PIPE, cwd=self.work, env=self.environment,
                                   timeout=seconds, check=False, preexec_fn=self.limit)
        return self

    def status(self):
        return self.done.returncode

    def words(self):
        return self.done.stderr.decode("latin-1")

    def lines(self, kind=None):
        """The JSON lines, those of one kind if it is named."""
        lines = [json.loads(line, parse_constant=refuse_constant)
                 for line in self.done.stdout.decode().splitlines()]
        return [line for line in lines if kind is None or line["line"] == kind]

    def calls(self):
        """The call log, but for calls that only ask: for words, and whether the connection stands."""
        log = self.folder / "calls"
        text = log.read_text() if log.exists() else ""
        asking = ("kvr_CodeToString", "kvr_CheckConnection")
        return [line for line in text.splitlines() if not line.startswith(asking)]

    def call_names(self):
        return [line.split()[0] for line in self.calls() if line.startswith("kvr_")]

    def files(self):
        """The files of the runs, by name."""
        found = {}
        for top in (self.folder / RESULTS, self.work):
            for path in sorted(top.rglob("*")) if top.exists() else ():
                if path.is_file() and path.name != "plan.toml":
                    found[str(path.relative_to(self.folder))] = path.read_bytes()
        return found


def refuse_constant(name):
    raise ValueError(f"{name} is no JSON")


def single_test(**others):
    """The text of one single-phase test."""
    return "[[test]]\nkind = \"single-phase\"\n" + "".join(f"{key} = {value}\n"
                                                          for key, value in others.items())
