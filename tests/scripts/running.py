"""What the scripts that build say and do when all is installed, and what stops them."""

import pathlib
import re
import subprocess
import unittest

from sandbox import PACKAGES, Sandbox

TESTING = [*PACKAGES, "libgtest-dev", "libgmock-dev", "python3", "python3-html5lib", "python3-junitparser", "python3-pytest"]
BUILDING = """\
Building 1 of 3
Building 2 of 3
part_2.cpp:1:1: warning: what a compiler says
Building 3 of 3
"""
CONFIGURING = "Configuring (release) ...\n"
CONFIGURE = "cmake --preset release -D KVR_BUILD_TESTS=OFF"
BUILD = "cmake --build TREE/build/release --target console-tester kvr-client-api"
ROOT = pathlib.Path(__file__).resolve().parents[2]


def own_release():
    release = re.search("^VERSION_CODENAME=(.*)$", pathlib.Path("/etc/os-release").read_text(), re.M)
    return release[1] if release else ""


class Running(unittest.TestCase):
    maxDiff = None

    def test_run_starts_the_console_tester(self):
        """In the folder it is called in, with the options, the answers and the status of the program."""
        with Sandbox(installed=PACKAGES) as sandbox:
            outcome = sandbox.run("run", "--debug", "a b", answers="1\n0\n")
            self.assertEqual(outcome.status, 7)
            self.assertEqual(outcome.output,
                             "console-tester started in FOLDER with: --debug a b\n1\n0\n")
            self.assertEqual(outcome.errors, CONFIGURING + BUILDING)
            self.assertEqual(outcome.calls, [CONFIGURE, BUILD])

    def test_run_starts_the_workbench(self):
        with Sandbox(installed=PACKAGES) as sandbox:
            outcome = sandbox.run("run", "workbench", "--version")
            self.assertEqual(outcome.status, 7)
            self.assertEqual(outcome.output,
                             "tester-workbench started in FOLDER with: --version\n")

    def test_run_configures_once(self):
        with Sandbox(installed=PACKAGES) as sandbox:
            sandbox.run("run")
            self.assertEqual(sandbox.run("run").calls, [BUILD])

    def test_run_without_root_builds_nothing(self):
        with Sandbox() as sandbox:
            outcome = sandbox.run("run")
            self.assertEqual((outcome.status, outcome.output), (1, ""))
            self.assertEqual(outcome.calls, [])
            self.assertRegex(outcome.errors, r"  su -l -c '.*scripts/bootstrap run'\n\Z")

    def test_run_stops_where_something_fails(self):
        """What failed is shown whole, and nothing comes after it."""
        for failing, calls in (("cmake --preset *", [CONFIGURE]),
                               ("cmake --build *", [CONFIGURE, BUILD])):
            with self.subTest(failing), Sandbox(installed=PACKAGES, failing=[failing]) as sandbox:
                outcome = sandbox.run("run")
                self.assertEqual((outcome.status, outcome.output), (3, ""))
                self.assertEqual(outcome.errors, CONFIGURING + "cmake went wrong\n")
                self.assertEqual(outcome.calls, calls)

    def test_a_terminal_shows_the_build_on_one_line(self):
        with Sandbox(installed=TESTING) as sandbox:
            outcome = sandbox.run_in_terminal("test")
            self.assertEqual(outcome.status, 0)
            self.assertEqual(outcome.errors, CONFIGURING + (
                "\r\033[KBuilding 1 of 3\r\033[KBuilding 2 of 3"
                "\r\033[Kpart_2.cpp:1:1: warning: what a compiler says\n"
                "\r\033[KBuilding 3 of 3\nall tests pass\n"))

    def test_test_runs_all_tests(self):
        with Sandbox(installed=TESTING) as sandbox:
            outcome = sandbox.run("test", "-R", "session")
            self.assertEqual((outcome.status, outcome.output), (0, "all tests pass\n"))
            self.assertEqual(outcome.errors, CONFIGURING + BUILDING)
            self.assertEqual(outcome.calls, [
                "cmake --preset release -D KVR_BUILD_TESTS=ON -D KVR_BUILD_BENCHMARKS=OFF",
                "cmake --build build/release", "ctest --preset release -R session"])

    def test_test_tells_when_tests_fail(self):
        with Sandbox(installed=TESTING, failing=["ctest *"]) as sandbox:
            self.assertEqual(sandbox.run("test").status, 3)

    def test_package_for_linux_needs_no_cross_compiler(self):
        with Sandbox(installed=[*PACKAGES, "dpkg-dev", "file"]) as sandbox:
            outcome = sandbox.run("package", "linux")
            self.assertEqual(outcome.status, 0, outcome.errors)
            self.assertEqual(outcome.errors, CONFIGURING + BUILDING + "Packing for linux ...\n")
            self.assertEqual(sandbox.run("package").status, 1)

    def test_check_makes_a_bare_system_from_this_one_s_mirror(self):
        mirror = "http://mirror.invalid/debian"
        with Sandbox(installed=["everything"], root=True,
                     mirror=f"{mirror} Debian {own_release()} main") as sandbox:
            outcome = sandbox.run("check", "debian-13")
            self.assertEqual((outcome.status, outcome.output),
                             (0, "== debian-13\nAll checks passed.\n"), outcome.errors)
            self.assertRegex(outcome.calls[-1], (
                r"\Aunshare --mount --propagation private --pid --fork --kill-child python3 -B "
                rf"tests/bare_system/check_bare_system.py trixie {mirror} FOLDER/tmp\.\w+/system "
                r"FOLDER/\.cache/kvr-console-tester/trixie"))
            packages = outcome.calls[-1].count("TREE/build/packages/kvr-console-tester_1.deb")
            self.assertEqual(packages, 1 if own_release() == "bookworm" else 0)
            self.assertEqual(list(sandbox.folder.glob("tmp.*")), [])

    def test_check_fails_without_a_mirror(self):
        """Even when apt has been asked once more."""
        with Sandbox(installed=["everything"], root=True,
                     mirror="http://mirror.invalid/other Other sid main") as sandbox:
            outcome = sandbox.run("check", "debian-13")
            self.assertEqual((outcome.status, outcome.output), (1, "== debian-13\n"))
            self.assertEqual(outcome.errors,
                             "No apt source of a Debian release found to derive a mirror from.\n")
            self.assertEqual(outcome.calls, ["apt-get -qq update"])

    def test_warnings_are_errors_for_developers_and_in_ci(self):
        """In CI, as CMake sees it, CI is set."""
        for preset, ci, expected in (("release", None, ""), ("release", "true", "true"),
                                     ("debug", None, "ON"), ("clang", None, "ON")):
            with self.subTest(preset=preset, ci=ci):
                environment = {"PATH": "/usr/bin:/bin", **({"CI": ci} if ci else {})}
                said = subprocess.run(["cmake", "-N", "--preset", preset], cwd=ROOT, text=True,
                                      env=environment, check=True, stdout=subprocess.PIPE).stdout
                self.assertEqual(re.search('KVR_WARNINGS_AS_ERRORS="(.*)"', said)[1], expected)


class Words(unittest.TestCase):
    """Nothing is installed, configured or built for a word that is not known, nor for help."""

    REFUSED = [
        ("run workbnch", "unknown program 'workbnch' (known: workbench, plan; without a word: the console "
                         "tester)"),
        ("test session", "unknown word 'session': options begin with a dash"),
        ("bootstrap runn", "unknown word 'runn' (known: run test package-linux package benchmark check)"),
        ("bootstrap --run", "unknown word '--run' (known: run test package-linux package benchmark check)"),
        ("bootstrap run test", "one purpose at a time"),
        ("package linux mac", "unknown word 'mac' (known: linux windows)"),
        ("benchmark text", "unknown word 'text': options begin with a dash"),
        ("fuzz", "how long? SECONDS, runs=COUNT or keep"),
        ("fuzz alpha", "unknown word 'alpha': SECONDS, runs=COUNT or keep come first"),
        ("fuzz 10 alpha gamma -x", "unknown word 'gamma' (known: alpha beta)"),
        ("mutate text", "unknown word 'text': options begin with a dash"),
        ("rebuild-goldens text", "unknown word 'text'"),
        ("rebuild-sessions a.session", "'a.session' is no session file"),
        ("rebuild-sessions scripts", "'scripts' is no session file"),
        ("fetch-sqlite", "one word is wanted: a folder to put sqlite3.c and sqlite3.h into"),
        ("fetch-sqlite --all", "one word is wanted: a folder to put sqlite3.c and sqlite3.h into"),
    ]

    def test_unknown_words_are_refused(self):
        with Sandbox(root=True) as sandbox:
            for line, reason in self.REFUSED:
                with self.subTest(line):
                    outcome = sandbox.run(*line.split())
                    name = line.split()[0]
                    self.assertEqual((outcome.status, outcome.output), (2, ""))
                    self.assertEqual(outcome.errors, f"{name}: {reason}\n"
                                     f"{name} --help says what it takes.\n")
                    self.assertEqual(outcome.calls, [])

    def test_unknown_checks_are_refused_with_the_known_ones(self):
        with Sandbox(root=True) as sandbox:
            outcome = sandbox.run("check", "format", "fromat")
            self.assertEqual((outcome.status, outcome.output, outcome.calls), (2, "", []))
            self.assertRegex(outcome.errors,
                             r"\Acheck: unknown word 'fromat' \(known: format tidy .*packages.*\)\n")

    def test_each_script_has_help(self):
        with Sandbox(root=True) as sandbox:
            scripts = [path.name for path in (sandbox.tree / "scripts").iterdir() if path.is_file()]
            self.assertIn("run", scripts)
            for name in scripts:
                with self.subTest(name):
                    outcome = sandbox.run(name, "--help")
                    self.assertEqual((outcome.status, outcome.errors, outcome.calls), (0, "", []))
                    self.assertRegex(outcome.output, r"\A[A-Z][^#]*\n\Z")
                    self.assertIn(f"\n  scripts/{name}", outcome.output)
                    self.assertEqual(sandbox.run(name, "-h").output, outcome.output)


if __name__ == "__main__":
    unittest.main()
