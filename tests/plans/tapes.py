"""Plans that are recorded: the results are those of a plan without a tape, the tape is whole and plays
back, and where it can't be made nothing is tested."""

import os
import pathlib
import shutil
import subprocess
import unittest

from plan_runs import INSTANT, Run, single_test

PLAN = "[run]\npause = 0\n" + single_test(voltages='"10x2"')
LIBRARY = pathlib.Path(os.environ["KVR_INSTRUMENT_LIBRARY"])


def tape_tool(*command, **others):
    return subprocess.run([os.environ["KVR_TAPE_TOOL"], *command], capture_output=True, text=True,
                          check=False, timeout=60, **others)


class Tapes(unittest.TestCase):

    def run_plan(self, *arguments, prepare=None, **variables):
        run = Run("KVR_TESTER_RUN", arguments, plan=PLAN, bench=INSTANT, prepare=prepare)
        self.addCleanup(run.temporary.cleanup)
        run.environment.update(variables)
        return run.finish()

    @staticmethod
    def measured(run):
        return [(line["verdict"], line["record"]["ratio_1ph"]) for line in run.lines("measurement")]

    def test_a_plan_is_recorded_and_played(self):
        plain = self.run_plan()
        run = self.run_plan("--tape", "new.kvrtape")
        self.assertEqual(run.status(), 10, run.words())
        self.assertEqual(self.measured(run), self.measured(plain))
        self.assertEqual(len(self.measured(run)), 2)
        tape = run.work / "new.kvrtape"
        checked = tape_tool("check", str(tape))
        self.assertEqual(checked.returncode, 0, checked.stderr)
        self.assertIn("kvr_Test_Ratio_1ph: 2\n", checked.stdout)
        (run.folder / "bench.toml").write_text("[connection]\nrefused = 1\n")
        played = tape_tool("play", str(tape), "--", os.environ["KVR_TESTER_RUN"], "plan.toml",
                           cwd=run.work, env=run.environment)
        run.done.stdout = played.stdout.encode()
        self.assertEqual(played.returncode, 10, played.stderr)
        self.assertEqual(self.measured(run), self.measured(plain))

    def test_a_tape_is_never_overwritten(self):
        run = self.run_plan("--tape", "old.kvrtape",
                            prepare=lambda folder: (folder / "work" / "old.kvrtape").write_text("mine"))
        self.assertEqual(run.status(), 64)
        self.assertEqual(run.words(), "tester-run: old.kvrtape exists, and a tape is never overwritten\n")
        self.assertEqual((run.work / "old.kvrtape").read_text(), "mine")

    def test_nothing_is_tested_where_the_tape_cant_be_written(self):
        run = self.run_plan("--tape", "/proc/new.kvrtape")
        self.assertEqual(run.status(), 30)
        self.assertEqual(run.lines("measurement"), [])
        self.assertEqual(run.lines("end")[0]["why"], "the tape can't be written")

    def test_a_dry_run_makes_no_tape(self):
        run = self.run_plan("--dry-run", "--tape", "new.kvrtape")
        self.assertEqual(run.status(), 0, run.words())
        self.assertFalse((run.work / "new.kvrtape").exists())

    def test_a_run_that_is_recorded_already(self):
        run = self.run_plan()
        recorded = tape_tool("record", "-o", "outer.kvrtape", "--", os.environ["KVR_TESTER_RUN"],
                             "--tape", "inner.kvrtape", "plan.toml", cwd=run.work, env=run.environment)
        self.assertIn(f"this run is recorded already, on {run.work / 'outer.kvrtape'}", recorded.stderr)
        self.assertFalse((run.work / "inner.kvrtape").exists())

    def test_a_recorder_in_the_place_of_the_library(self):
        def install(folder):
            (folder / "real").mkdir()
            shutil.copy(LIBRARY, folder / "real" / LIBRARY.name)
            self.assertEqual(tape_tool("install", str(folder / "real")).returncode, 0)

        run = self.run_plan()
        install(run.folder)
        run.environment["LD_LIBRARY_PATH"] = str(run.folder / "real")
        run.command[1:1] = ["--tape", "new.kvrtape"]
        run.finish()
        self.assertEqual(run.status(), 10, run.words())
        self.assertEqual([path.name for path in run.folder.rglob("*.kvrtape")], ["new.kvrtape"])
        self.assertEqual(tape_tool("check", str(run.work / "new.kvrtape")).returncode, 0)

    def test_a_program_without_a_recorder(self):
        run = self.run_plan()
        program = run.folder / "bin" / "tester-run"
        program.parent.mkdir()
        shutil.copy(os.environ["KVR_TESTER_RUN"], program)
        run.command = [str(program), "--tape", "new.kvrtape", "plan.toml"]
        run.environment["LD_LIBRARY_PATH"] = str(LIBRARY.parent)
        run.finish()
        self.assertEqual(run.status(), 64)
        self.assertIn("kvr-tape install FOLDER", run.words())


if __name__ == "__main__":
    unittest.main()
