"""Tests of corpus files: how they are packed, and that a replay refuses damaged ones.

Takes the replay program of a target that any input passes.
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

FUZZ = pathlib.Path(__file__).resolve().parents[2] / "fuzz"
REPLAY = sys.argv[1]
INPUTS = [b"three\nlines\n", b"", b"\x00\xff:", b"12:", b"b", b"a"]
PACKED = (b"corpus of 6 inputs, CRC-32 f36f5edc\n"
          b"0:\n1:a\n1:b\n3:\x00\xff:\n3:12:\n12:three\nlines\n\n")

sys.path.insert(0, str(FUZZ))
import corpus  # noqa: E402


class Folder(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="fuzz-corpus-test-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.file = self.folder / "try.corpus"

    def folder_of(self, inputs):
        """A folder that holds the inputs, under names in the order given."""
        folder = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
        for number, content in enumerate(inputs):
            (folder / str(number)).write_bytes(content)
        return folder

    def pack_tool(self, *arguments):
        done = subprocess.run([sys.executable, FUZZ / "corpus.py", *arguments],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        return done.returncode, done.stdout.decode()

    def replay(self, *arguments):
        """Exit status and output."""
        done = subprocess.run([REPLAY, *arguments], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, check=False)
        return done.returncode, done.stdout.decode()


class Packing(Folder):

    def test_the_same_inputs_make_the_same_file(self):
        for inputs in (INPUTS, INPUTS[::-1], INPUTS + INPUTS[:3]):
            self.assertEqual(self.pack_tool("pack", self.file, self.folder_of(inputs)), (0, ""))
            self.assertEqual(self.file.read_bytes(), PACKED)

    def test_unpacked_inputs_are_numbered_in_the_order_of_the_file(self):
        self.file.write_bytes(PACKED)
        self.assertEqual(self.pack_tool("unpack", self.file, self.folder / "new"), (0, ""))
        files = sorted((self.folder / "new").iterdir())
        self.assertEqual([path.name for path in files],
                         ["00001", "00002", "00003", "00004", "00005", "00006"])
        self.assertEqual([path.read_bytes() for path in files],
                         sorted(INPUTS, key=lambda content: (len(content), content)))

    def test_unpacking_refuses_a_folder_that_exists(self):
        self.file.write_bytes(PACKED)
        status, output = self.pack_tool("unpack", self.file, self.folder_of([b"old"]))
        self.assertEqual(status, 1)
        self.assertIn("File exists", output)

    def test_packing_refuses_a_folder_without_inputs(self):
        self.file.write_bytes(PACKED)
        self.assertEqual(self.pack_tool("pack", self.file, self.folder_of([])),
                         (1, f"{self.file}: no inputs\n"))
        self.assertEqual(self.file.read_bytes(), PACKED)

    def test_a_change_of_any_byte_is_noticed(self):
        for index, byte in enumerate(PACKED):
            for damaged in (PACKED[:index], PACKED[:index] + bytes([byte ^ 1]) + PACKED[index + 1:],
                            PACKED[:index] + b"0" + PACKED[index:]):
                with self.assertRaises(corpus.BadCorpus):
                    corpus.unpacked(damaged)

    def test_kept_corpora_are_what_packing_makes_of_them(self):
        targets = {path.stem for path in (FUZZ / "targets").glob("*.cpp")}
        kept = sorted((FUZZ / "corpus").iterdir())
        self.assertEqual({path.name for path in kept}, {name + ".corpus" for name in targets})
        for path in kept:
            file = path.read_bytes()
            self.assertEqual(corpus.packed(corpus.unpacked(file)), file, path)

    def test_each_finding_belongs_to_a_target(self):
        targets = {path.stem for path in (FUZZ / "targets").glob("*.cpp")}
        self.assertLessEqual({path.name for path in (FUZZ / "findings").iterdir()}, targets)


class Replaying(Folder):

    def assert_refused(self, reason, *arguments):
        self.assertEqual(self.replay(*arguments), (1, reason + "\n"))

    def test_runs_each_input_and_counts_them(self):
        self.file.write_bytes(PACKED)
        folder = self.folder_of([b"one", b"two"])
        (self.folder / "alone").write_bytes(b"alone")
        self.assertEqual(self.replay(self.file, folder, self.folder / "alone"),
                         (0, "".join(f"try.corpus {number}\n" for number in range(1, 7))
                          + "0\n1\nalone\n9 inputs\n"))

    def test_refuses_a_damaged_corpus(self):
        length, content, end = PACKED.index(b"3:12"), PACKED.index(b"three"), len(PACKED) - 1
        for damaged in (PACKED.replace(b"of 6", b"of 5"), PACKED.replace(b"f36f", b"f36e"),
                        PACKED[:length] + b"4" + PACKED[length + 1:],
                        PACKED[:length] + b"99999999999999999999999" + PACKED[length + 1:],
                        PACKED[:content] + b"T" + PACKED[content + 1:],
                        PACKED[:end], PACKED[:end] + b" ", PACKED + b"\n", PACKED + b"1:c\n",
                        PACKED.split(b"\n")[0], PACKED.split(b"\n", 1)[1], b"12\n", b""):
            self.file.write_bytes(damaged)
            self.assert_refused(f"{self.file}: damaged, or no corpus", self.file)

    def test_refuses_what_has_no_inputs(self):
        self.assert_refused("nothing to replay")
        self.file.write_bytes(b"corpus of 0 inputs, CRC-32 00000000\n")
        self.assert_refused(f"{self.file}: a corpus without inputs", self.file)
        empty = self.folder_of([])
        self.assert_refused(f"{empty}: an empty folder", empty)
        missing = self.folder / "missing.corpus"
        self.assert_refused(f"{missing}: can't be read", missing)
        missing = self.folder / "missing"
        self.assert_refused(f"{missing}: can't be read", missing)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
