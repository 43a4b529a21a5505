"""A ratio at three voltages, in ten lines."""

import kvr

with kvr.connect() as instrument:
    print("Instrument", instrument.device_info().serial_number)
    with instrument.locked():
        for voltage in (8, 12, 24):
            phase = instrument.test_ratio_1ph(voltage, nameplate_ratio=10).record.data_ratio_1ph[0].phase
            print(f"{voltage} V: ratio {phase.tnr:.4f}, error {phase.tnr_error:+.3f} %")
