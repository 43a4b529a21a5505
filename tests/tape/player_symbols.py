#!/usr/bin/env python3
"""The player can't reach an instrument: it imports nothing that loads a library or starts a process,
and it depends on the C and C++ libraries alone."""

import re
import subprocess
import sys

import common

FORBIDDEN = re.compile(r"^(dlopen|dlmopen|dlsym|dlvsym|fork|vfork|exec\w*|system|popen|posix_spawn\w*"
                       r"|socket|connect)(@|$)")
KNOWN_LIBRARIES = re.compile(r"^(libstdc\+\+|libc\+\+|libm|libgcc_s|libc|libunwind|ld-linux)[.-]")


def main():
    arguments = common.read_arguments(__doc__)
    wrong = common.Failures()
    symbols = subprocess.run(["nm", "-D", "--undefined-only", "--format=posix", arguments.player],
                             check=True, capture_output=True, text=True).stdout.splitlines()
    wrong.that(len(symbols) > 20, "nm lists what the player imports")
    for line in symbols:
        wrong.that(not FORBIDDEN.match(line.split()[0]), f"the player imports {line.split()[0]}")
    needed = subprocess.run(["readelf", "-d", arguments.player], check=True, capture_output=True,
                            text=True).stdout
    for library in re.findall(r"\(NEEDED\).*\[(.*)\]", needed):
        wrong.that(KNOWN_LIBRARIES.match(library), f"the player depends on {library}")
    recorder = subprocess.run(["nm", "-D", "--undefined-only", "--format=posix",
                               arguments.recorder], check=True, capture_output=True, text=True)
    wrong.that("dlopen" in recorder.stdout, "the same look at the recorder finds dlopen")
    return wrong.status()


if __name__ == "__main__":
    sys.exit(main())
