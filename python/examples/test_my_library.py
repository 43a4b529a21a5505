"""How a test of one's own looks: the fixtures set a bench in front of the virtual instrument."""

import pytest

import kvr

pytest_plugins = ["kvr.pytest_plugin"]


def test_ratio_of_a_unit_that_is_off(bench, instrument):
    bench("[transformer]\nturns_deviation = 2.0\n")
    with instrument.locked():
        phase = instrument.test_ratio_1ph(8, kvr.DOWN, nameplate_ratio=10).record.data_ratio_1ph[0].phase
    assert abs(phase.tnr_error) > 0.5


def test_what_happens_without_a_connection(instrument, fault):
    fault("kvr_GetStatus", kvr.Code.RES_COMMUNICATION_TIMEOUT)
    with pytest.raises(kvr.KvrError):
        instrument.status()
