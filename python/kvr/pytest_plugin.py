"""Fixtures for tests with the virtual instrument: pytest_plugins = ["kvr.pytest_plugin"].

bench(toml)         the bench has these values from now on
instrument          a connected virtual instrument, whose tests take no time
fault(call, code)   this call answers with this code from now on
"""

import pathlib
from collections.abc import Callable, Iterator

import pytest

import kvr



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
