"""Fixtures for tests with the virtual instrument: pytest_plugins = ["kvr.pytest_plugin"].

bench(toml)         the bench has these values from now on
instrument          a connected virtual instrument, whose tests take no time
fault(call, code)   this call answers with this code from now on
tape(file)          a recording; its play(client) lets a client meet it again
"""

import json
import os
import pathlib
import subprocess
import sys
import traceback
from collections.abc import Callable, Iterator, Sequence

import pytest

import kvr

from ._library import player

class Bench:
    """The bench file in front of the virtual instrument."""

    def __init__(self, path: pathlib.Path):
        self.path = path
        self._defaults = {"[measurement]": "duration = 0.0", "[store]": f"file = '{path}.records'"}
        self._toml = ""
        self._faults = ""
        self._write()

    def __call__(self, toml: str) -> "Bench":
        """Replaces the bench; faults stay. Without a table [measurement] tests take no time, without a
        table [store] the records are those of this test alone."""
        self._toml = toml
        self._write()
        return self

    def fault(self, call: str, code: "kvr.Code | int | str", more: str = "") -> None:
        """`more` holds further keys of the fault, such as "times = 1"."""
        name = f"KVR_{code.name}" if isinstance(code, kvr.Code) else code
        value = name if isinstance(name, int) else f'"{name}"'
        self._faults += f'\n[[faults]]\ncall = "{call}"\ncode = {value}\n{more}\n'
        self._write()

    def _write(self) -> None:
        new = self.path.with_suffix(".new")
        missing = [f"{table}\n{keys}\n" for table, keys in self._defaults.items() if table not in self._toml]
        new.write_text("\n".join([*missing, self._toml, self._faults]), encoding="utf-8")
        new.replace(self.path)


@pytest.fixture
def bench(tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch) -> Bench:
    """The bench of this test. Call it with TOML to change it, also while a test runs."""
    made = Bench(tmp_path / "bench.toml")
    monkeypatch.setenv("KVR_BENCH_FILE", str(made.path))
    return made


@pytest.fixture
def fault(bench: Bench) -> Callable[..., None]:  # pylint: disable=redefined-outer-name
    """fault(call, code): this call answers with this code from now on."""
    return bench.fault


@pytest.fixture
def instrument(bench: Bench) -> Iterator[kvr.Instrument]:  # pylint: disable=redefined-outer-name,unused-argument
    """A connected virtual instrument. Refuses to be a real one."""
    with kvr.connect() as connected:
        serial_number = connected.device_info().serial_number
        assert kvr.is_virtual(serial_number), f"{serial_number} is a real instrument"
        yield connected


class Tape:
    """A recording of kvr-tape: answers a client as the recorded library did, without any instrument."""

    def __init__(self, file: str | os.PathLike[str], folder: pathlib.Path):
        self.file = pathlib.Path(file).resolve()
        self._receipt = folder / f"{self.file.name}.receipt.json"
        self._errors = folder / f"{self.file.name}.errors"

    def play(self, client: "Callable[[], object] | Sequence[str | os.PathLike[str]]") -> str:
        """Lets a client meet the recording, in a process of its own: a function without arguments (not
        on Windows), or a program with its arguments. Fails the test unless it makes the recorded calls
        with the recorded arguments, all of them, and ends well. Returns its standard error."""
        assert self.file.exists(), f"{self.file} does not exist"
        self._receipt.unlink(missing_ok=True)
        library = pathlib.Path(player())
        path = "PATH" if sys.platform == "win32" else "LD_LIBRARY_PATH"
        variables = {"KVR_TAPE_FILE": str(self.file), "KVR_TAPE_RECEIPT": str(self._receipt),
                     "KVR_CLIENT_LIBRARY": str(library),
                     path: os.pathsep.join(filter(None, [str(library.parent), os.environ.get(path)]))}
        with open(self._errors, "wb") as errors:
            status = (_run_function(client, variables, errors.fileno()) if callable(client) else
                      subprocess.run(list(client), env=os.environ | variables, stderr=errors,
                                     check=False).returncode)
        words = self._errors.read_text(encoding="utf-8", errors="replace")
        receipt = (json.loads(self._receipt.read_text(encoding="utf-8")) if self._receipt.exists() else
                   {"complete": False, "divergence": None})
        if status != 0 or not receipt["complete"] or receipt["divergence"]:
            pytest.fail(f"{words}{self.file.name}: the client ended with status {status}; the tape was "
                        f"{'' if receipt['complete'] else 'not '}played whole", pytrace=False)
        return words


def _run_function(function: Callable[[], object], variables: dict[str, str], errors: int) -> int:
    """Runs it in a child of this process, since a library is loaded once and a divergence ends all."""
    sys.stdout.flush()
    sys.stderr.flush()
    child = os.fork()
    if child == 0:
        status = 1
        try:
            os.dup2(errors, 2)
            sys.stderr = open(2, "w", encoding="utf-8", closefd=False)  # pylint: disable=consider-using-with
            os.environ.update(variables)
            function()
            status = 0
        except BaseException:  # pylint: disable=broad-except
            traceback.print_exc()
        finally:
            sys.stderr.flush()
            os._exit(status)
    return os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])


@pytest.fixture
def tape(tmp_path: pathlib.Path) -> Callable[[str | os.PathLike[str]], Tape]:
    """tape(file).play(client): the client meets a recording again."""
    return lambda file: Tape(file, tmp_path)
