#!/usr/bin/env python3
"""Checks that every test that uses Wine waits for the test that starts it: starting stops a server
that another program may have started, and with it that program."""

import json
import pathlib
import subprocess
import sys


def runs(launcher, command):
    files = [word for word in command if pathlib.Path(word).name == launcher.name]
    return (any(launcher.samefile(file) for file in files)
            and not {"--start", "--stop"} & set(command))


def main():
    ctest, build_folder, launcher = sys.argv[1:]
    listing = json.loads(subprocess.run(
        [ctest, "--show-only=json-v1", "--test-dir", build_folder], check=True, text=True,
        stdout=subprocess.PIPE).stdout)
    users = [test for test in listing["tests"]
             if runs(pathlib.Path(launcher), test.get("command", []))]
    early = [test["name"] for test in users
             if {"name": "FIXTURES_REQUIRED", "value": ["wine"]} not in test["properties"]]
    if not users:
        sys.exit(f"No test uses {launcher}.")
    if early:
        sys.exit("These do not wait for wine.start; call use_wine_for_tests() in their folder: "
                 + ", ".join(early))


main()
