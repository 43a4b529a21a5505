#!/usr/bin/env python3
"""kvr-tape from outside: a session with private texts is recorded, shown, checked, compared, cut,
redacted and played, and each form of divergence ends the program with status 98 and its own words."""

import json
import pathlib
import re
import shutil
import sys

import common

BENCH = """[instrument]
clock = 2021-03-05T11:00:00Z
serial_number = "VI-SECRET77"

[measurement]
duration = 0.0
steps = 2
"""
# Connects, makes two single-phase tests with the IDs PLANT-A7 and PLANT-B8, and leaves.
TEST = b"2\n1\n1\n1\n8\n\n%s\n"
FIRST, SECOND = b"PLANT-A7", b"PLANT-B8"
ANSWERS = b"1\n" + TEST % FIRST + TEST % SECOND + b"0\n"


def divergence_of(tape):
    return json.loads(pathlib.Path(f"{tape}.receipt.json").read_text())["divergence"]


def edited(source, target, change):
    lines = source.read_text().splitlines(keepends=True)
    target.write_text("".join(change(lines)))
    return target


def check_divergences(place, wrong, tape):
    def expect(name, form, answers=ANSWERS, change=lambda lines: lines, **extra):
        other = edited(tape, place.folder / f"{name}.kvrtape", change)
        played = place.play(other, answers, **extra)
        wrong.that(played.returncode == 98, f"{name}: status {played.returncode}")
        wrong.that(played.stderr.decode().startswith(f"kvr-tape: {form}\n"),
                   f"{name}: says {played.stderr[:200]!r}")
        wrong.that((divergence_of(other) or {}).get("form") == form, f"{name}: the receipt")
        return played.stderr.decode()

    text = expect("wrong", "wrong call", ANSWERS.replace(b"\n8\n", b"\n9\n", 1))
    wrong.that(re.search(r"request\.test_voltage: recorded 8 \(00 00 00 41\), now 9 ", text),
               f"the field of a wrong call: {text}")
    def with_lines(where, *added):
        def change(lines):
            at = next(i for i, line in enumerate(lines) if where in line)
            return lines[:at] + [line + "\n" for line in added] + lines[at:]
        return change

    lock = ('{"call":"kvr_LockAPI","n":9999,"t":1,"thread":1}',
            '{"return":"kvr_LockAPI","n":9999,"t":1,"thread":1,"code":0}')
    cancel = ('{"call":"kvr_CancelOperation","n":9999,"t":1,"thread":9}',
              '{"return":"kvr_CancelOperation","n":9999,"t":1,"thread":9,"code":0}')
    expect("early", "early end", ANSWERS, with_lines('"close"', *lock))
    expect("missing", "missing call", ANSWERS, with_lines('"call":"kvr_Lib_Shutdown"', *lock))
    text = expect("stuck", "stuck", ANSWERS,
                  with_lines('"return":"kvr_Test_Ratio_1ph"', *cancel), KVR_TAPE_PATIENCE=1)
    wrong.that("thread 9: kvr_CancelOperation is called" in text, f"what it waits for: {text}")
    expect("wrong_thread", "wrong thread", ANSWERS, lambda lines: [
        line.replace('"thread":1', '"thread":9') if '"kvr_Lib_Shutdown"' in line else line
        for line in lines])
    expect("extra", "extra call", ANSWERS,
           lambda lines: [line for line in lines if '"kvr_Lib_Shutdown"' not in line])
    text = expect("unanswered", "unanswered call", ANSWERS,
                  lambda lines: lines[:next(i for i, line in enumerate(lines)
                                            if '"return":"kvr_Test_Ratio_1ph"' in line)],
                  KVR_TAPE_PATIENCE=1)

    expect("without_lock", "extra call", ANSWERS,
           lambda lines: [line for line in lines if '"kvr_LockAPI"' not in line])
    shutil.copy(tape, place.folder / "bad.kvrtape")
    (place.folder / "bad.kvrtape").write_bytes(tape.read_bytes().replace(b'"n":2,', b'"n":1,', 1))
    played = place.play(place.folder / "bad.kvrtape", ANSWERS)
    wrong.that(played.returncode == 97 and b'line 4: "n": 1 was there before' in played.stderr,
               f"a bad tape: {played.returncode} {played.stderr!r}")


def check_tolerance(place, wrong, tape):
    """Arguments may differ where the file beside the tape says so, and nowhere else."""
    other = place.folder / "tolerant.kvrtape"
    shutil.copy(tape, other)
    beside = place.folder / "tolerant.kvrtape.tolerance.json"
    answers = ANSWERS.replace(b"\n8\n", b"\n9\n", 1)
    for fields, status in (("kvr_Test_Ratio_1ph.request.test_voltage", 0), ("*.request.*", 0),
                           ("kvr_Test_Ratio_3ph.request.test_voltage", 98),
                           ("kvr_Test_Ratio_1ph.request.current", 98)):
        beside.write_text(json.dumps({"fields": [fields]}))
        played = place.play(other, answers)
        wrong.that(played.returncode == status, f"tolerance {fields}: {played.stderr!r}")
    beside.write_text("{}")
    played = place.play(other, ANSWERS)
    wrong.that(played.returncode == 97 and b"tolerance.json: not an object" in played.stderr,
               f"a bad tolerance: {played.stderr!r}")


def check_redaction(place, wrong, tape):
    clean = place.folder / "clean.kvrtape"
    done = place.tool("redact", tape, "-o", clean)
    wrong.that(done.returncode == 0, f"redact: {done.stderr!r}")
    content = clean.read_bytes()
    shown = place.tool("show", clean, "--fields").stdout
    for private in (FIRST, SECOND, b"SECRET77"):
        wrong.that(private in place.tool("show", tape, "--fields").stdout, f"{private} was there")
        wrong.that(private not in content and private not in shown, f"{private} is still there")
        wrong.that(private in done.stdout, f"redact says that it replaced {private}")
    answers = ANSWERS.replace(FIRST, b"ID-1").replace(SECOND, b"ID-2")
    if b"ID-1 stands for \"PLANT-B8\"" in done.stdout:
        answers = ANSWERS.replace(FIRST, b"ID-2").replace(SECOND, b"ID-1")
    played = place.play(clean, answers)
    wrong.that(played.returncode == 0, f"the redacted tape: {played.stderr!r}")


def main():
    arguments = common.read_arguments(__doc__)
    wrong = common.Failures()
    with common.Place(arguments) as place:
        bench = place.folder / "bench.toml"
        bench.write_text(BENCH)
        tape = place.folder / "one.kvrtape"
        tool = pathlib.Path(arguments.tool)
        recorded = place.tool("record", "-o", tape, "--library", arguments.instrument,
                              "--", arguments.program, stdin=ANSWERS, KVR_BENCH_FILE=bench)
        wrong.that(recorded.returncode == 0, f"record with {tool}: {recorded.stderr!r}")
        wrong.that(tape.stat().st_mode & 0o777 == 0o600, "only the owner may read a tape")
        again = place.tool("record", "-o", tape, "--library", arguments.instrument,
                           "--", arguments.program, stdin=ANSWERS, KVR_BENCH_FILE=bench)
        wrong.that(again.returncode == 2 and b"exists" in again.stderr, "a tape is not overwritten")
        checked = place.tool("check", tape)
        wrong.that(checked.returncode == 0 and b"kvr_Test_Ratio_1ph: 2\n" in checked.stdout and
                   checked.stdout.endswith(b"whole\n"), f"check: {checked.stdout!r}")
        shown = place.tool("show", tape, "--fields").stdout
        for part in (b"code=0 KVR_RES_OK", b"request.test_voltage: 8 V\n",
                     b'record.Ratio_1ph[0].phase.phase_name: "A"', b"key=\"given\""):
            wrong.that(part in shown, f"show has {part}")
        few = place.tool("show", tape, "--calls", "2-3").stdout.splitlines()
        wrong.that(len(few) == 5, f"show --calls: {few}")
        wrong.that(place.tool("diff", tape, tape).stdout == b"", "a tape is like itself")
        shutil.rmtree(place.folder / "Documents")
        played = place.tool("play", tape, "--answers", "--", arguments.program)
        wrong.that(played.returncode == 0 and played.stdout == recorded.stdout,
                   f"play: {played.returncode} {played.stderr!r}")
        receipt = json.loads(pathlib.Path(f"{tape}.receipt.json").read_text())
        wrong.that(receipt["complete"] and receipt["served"] == receipt["expected"] > 20,
                   f"the receipt: {receipt}")
        changed = place.folder / "other.kvrtape"
        line = next(line for line in tape.read_text().splitlines() if '"callback"' in line)
        changed.write_text(tape.read_text().replace(line, line.replace('"AQ', '"BQ')))
        found = place.tool("diff", tape, changed)
        wrong.that(found.returncode == 1 and b"progress.current: 1 (01 00 00 00), 5" in found.stdout,
                   f"diff: {found.stdout!r}")
        cut = place.folder / "cut.kvrtape"
        shorter = place.tool("cut", tape, "--record", "PLANT-B8", "-o", cut)
        wrong.that(shorter.returncode == 0 and b"PLANT-A7" not in
                   place.tool("show", cut, "--fields").stdout, f"cut: {shorter.stderr!r}")
        played = place.play(cut, b"1\n" + TEST % SECOND + b"0\n")
        wrong.that(played.returncode in (0, 98), "the cut tape is readable")
        session = place.tool("to-session", tape).stdout
        wrong.that(b"---- tape one\n\n---- answers\n1\n2\n" in session, f"to-session: {session!r}")
        check_redaction(place, wrong, tape)
        check_divergences(place, wrong, tape)
        check_tolerance(place, wrong, tape)
        bad = place.tool("check", bench)
        wrong.that(bad.returncode == 2 and b"line 1: not JSON" in bad.stderr, f"{bad.stderr!r}")
        folder = place.folder / "installed"
        folder.mkdir()
        name = pathlib.Path(arguments.instrument).name
        shutil.copy(arguments.instrument, folder / name)
        wrong.that(place.tool("install", folder).returncode == 0, "install")
        wrong.that(place.tool("install", folder).returncode == 2, "install twice")
        run = place.run([arguments.program], ANSWERS, LD_LIBRARY_PATH=folder,
                        KVR_TAPE_FOLDER=folder, KVR_BENCH_FILE=bench)
        made = list(folder.glob("*.kvrtape"))
        wrong.that(run.returncode == 0 and len(made) == 1, f"installed: {run.stderr!r} {made}")
        wrong.that(place.tool("uninstall", folder).returncode == 0 and (folder / name).read_bytes()
                   == pathlib.Path(arguments.instrument).read_bytes(), "uninstall")
    return wrong.status()


if __name__ == "__main__":
    sys.exit(main())
