#!/usr/bin/env python3
"""Packs the inputs of a fuzz target into one file, and unpacks them. corpus.h describes the file.

  corpus.py pack FILE FOLDER      makes the file from all files of the folder, with any names
  corpus.py unpack FILE FOLDER    makes the folder, and in it a file of each input, named by its
                                  number as the replay prints it
"""

import os
import pathlib
import sys
import zlib


class BadCorpus(Exception):
    """A file that is no corpus, or a damaged one."""


def first_line(count, body):
    return f"corpus of {count} inputs, CRC-32 {zlib.crc32(body):08x}\n".encode()


def packed(inputs):
    """The file's bytes: the same ones for the same inputs, in any order."""
    inputs = sorted(set(inputs), key=lambda content: (len(content), content))
    body = b"".join(b"%d:%s\n" % (len(content), content) for content in inputs)
    return first_line(len(inputs), body) + body


def unpacked(file):
    """The inputs in the order of the file."""
    line, _, body = file.partition(b"\n")
    inputs, left = [], body
    while left:
        digits, _, rest = left.partition(b":")
        if not digits.isdigit():
            raise BadCorpus("an input without its length")
        size = int(digits)
        if rest[size:size + 1] != b"\n":
            raise BadCorpus("an input that is longer or shorter than its length says")
        inputs.append(rest[:size])
        left = rest[size + 1:]
    if line + b"\n" != first_line(len(inputs), body):
        raise BadCorpus("its first line does not fit the rest")
    if not inputs:
        raise BadCorpus("no inputs")
    return inputs


def pack(file, folder):
    contents = packed(path.read_bytes() for path in folder.iterdir())
    unpacked(contents)  # refuses an empty folder
    new = file.with_name(file.name + ".new")
    new.write_bytes(contents)
    os.replace(new, file)


def unpack(file, folder):
    folder.mkdir()
    for number, content in enumerate(unpacked(file.read_bytes()), start=1):
        (folder / f"{number:05}").write_bytes(content)


def main():
    actions = {"pack": pack, "unpack": unpack}
    if len(sys.argv) != 4 or sys.argv[1] not in actions:
        sys.exit(__doc__)
    try:
        actions[sys.argv[1]](pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3]))
    except (BadCorpus, OSError) as error:
        sys.exit(f"{sys.argv[2]}: {error}")


if __name__ == "__main__":
    main()
