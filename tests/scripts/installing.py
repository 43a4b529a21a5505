"""What scripts/bootstrap says and does when packages are missing, as scripts/run has it called."""

import unittest

from sandbox import PACKAGES, Sandbox

ANNOUNCED = """\
To build the programs, apt-get will install these packages and what they depend on:
  cmake g++ ninja-build libcli11-dev libplog-dev libsqlite3-dev libtomlplusplus-dev libutfcpp-dev nlohmann-json3-dev
"""
UPDATING = "Reading the lists of packages ...\n"
INSTALLING = """\
Downloading 12 %
Downloading 100 %
Installing 3 %
Installing 100 %
"""
INSTALL = ("env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 "
           "-q -o APT::Status-Fd=1 install -y --no-install-recommends ")
UPDATE = "env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 -qq update"


def as_apt_get(call):
    return call.split("noninteractive ")[1]


class Installing(unittest.TestCase):
    maxDiff = None

    def test_nothing_is_missing(self):
        with Sandbox(installed=PACKAGES) as sandbox:
            outcome = sandbox.run("bootstrap", "run")
            self.assertEqual((outcome.status, outcome.output, outcome.errors), (0, "", ""))
            self.assertEqual(outcome.calls, [])

    def test_as_root(self):
        with Sandbox(root=True) as sandbox:
            outcome = sandbox.run("bootstrap", "run")
            self.assertEqual(outcome.status, 0)
            self.assertEqual(outcome.output, "")
            self.assertEqual(outcome.errors, ANNOUNCED + UPDATING + INSTALLING)
            self.assertEqual(outcome.calls,
                             [as_apt_get(UPDATE), as_apt_get(INSTALL) + " ".join(PACKAGES)])

    def test_only_what_is_missing(self):
        with Sandbox(root=True, installed=PACKAGES[1:]) as sandbox:
            outcome = sandbox.run("bootstrap", "run")
            self.assertEqual(outcome.errors, ANNOUNCED.splitlines()[0] + "\n  cmake\n" + UPDATING +
                             INSTALLING)
            self.assertEqual(outcome.calls[1:], [as_apt_get(INSTALL) + "cmake"])

    def test_with_sudo_that_asks_for_no_password(self):
        with Sandbox(sudo="passwordless") as sandbox:
            outcome = sandbox.run("bootstrap", "run")
            self.assertEqual(outcome.status, 0)
            self.assertEqual(outcome.errors, ANNOUNCED + UPDATING + INSTALLING)
            self.assertEqual(outcome.calls[0], "sudo -n " + UPDATE)
            self.assertIn("sudo -n " + INSTALL + " ".join(PACKAGES), outcome.calls)

    def test_with_sudo_that_asks_for_a_password(self):
        """It asks after it has been said what for."""
        with Sandbox(sudo="password") as sandbox:
            outcome = sandbox.run_in_terminal("bootstrap", "run")
            self.assertEqual(outcome.status, 0)
            self.assertTrue(outcome.errors.startswith(
                ANNOUNCED + "That takes root: sudo asks for your password.\n[sudo] password:\n" +
                UPDATING), outcome.errors)
            self.assertIn("sudo " + INSTALL + " ".join(PACKAGES), outcome.calls)

    def test_sudo_refuses(self):
        with Sandbox(sudo="refused") as sandbox:
            outcome = sandbox.run_in_terminal("bootstrap", "run")
            self.assertEqual(outcome.status, 1)
            self.assertEqual(outcome.errors, ANNOUNCED + """\
That takes root: sudo asks for your password.
[sudo] no
That takes root. Run this, then try again:
  su -l -c 'TREE/scripts/bootstrap run'
""".replace("TREE", quoted_tree(sandbox)))
            self.assertEqual(outcome.calls, ["sudo -v"])

    def test_no_sudo(self):
        with Sandbox() as sandbox:
            outcome = sandbox.run("bootstrap", "run")
            self.assertEqual(outcome.status, 1)
            self.assertEqual(outcome.errors, ANNOUNCED + """\
That takes root. Run this, then try again:
  su -l -c 'TREE/scripts/bootstrap run'
""".replace("TREE", quoted_tree(sandbox)))
            self.assertEqual(outcome.calls, [])

    def test_sudo_can_not_ask(self):
        """Without a terminal, that is. The command that is named then works as it is."""
        with Sandbox(sudo="password") as sandbox:
            outcome = sandbox.run("bootstrap", "run")
            self.assertEqual(outcome.status, 1)
            self.assertEqual(outcome.calls, [])
            *before, command = outcome.errors.splitlines(keepends=True)
            self.assertEqual("".join(before),
                             ANNOUNCED + "That takes root. Run this, then try again:\n")
            self.assertTrue(command.startswith("  sudo /"), command)
            done = sandbox.run_command(["bash", "-c", command])
            self.assertEqual(done.status, 0, done.errors)
            self.assertEqual(done.errors, ANNOUNCED + UPDATING + INSTALLING)
            self.assertEqual(sandbox.run("bootstrap", "run").errors, "")

    def test_no_apt(self):
        with Sandbox(sudo="passwordless") as sandbox:
            (sandbox.commands / "apt-get").unlink()
            outcome = sandbox.run("bootstrap", "run")
            self.assertEqual(outcome.status, 1)
            self.assertEqual(outcome.errors, ANNOUNCED + "There is no apt-get here. Install what these "
                             "packages of Debian hold, then try again.\n")
            self.assertEqual(outcome.calls, [])

    def test_a_failure_is_shown_whole(self):
        for failing in ("apt-get * update", "apt-get * install *"):
            with self.subTest(failing), Sandbox(root=True, failing=[failing]) as sandbox:
                outcome = sandbox.run("bootstrap", "run")
                self.assertNotEqual(outcome.status, 0)
                self.assertEqual(outcome.errors, ANNOUNCED + UPDATING + "apt-get went wrong\n")

    def test_a_package_of_the_next_release(self):
        with Sandbox(root=True, unknown=["libplog-dev"],
                     mirror="http://mirror.invalid/debian Debian bookworm main") as sandbox:
            outcome = sandbox.run("bootstrap", "run")
            self.assertEqual(outcome.status, 0, outcome.errors)
            self.assertEqual(outcome.errors, ANNOUNCED + UPDATING + "Taking libplog-dev from Debian 13, "
                             "since this release has none; it holds headers only ...\n" + INSTALLING)
            self.assertTrue(any(call.startswith("dpkg -i ") for call in outcome.calls), outcome.calls)
            self.assertEqual(sandbox.run("bootstrap", "run").errors, "")

    def test_no_source_to_take_it_from(self):
        with Sandbox(root=True, unknown=["libplog-dev"],
                     mirror="http://mirror.invalid/other Other bookworm main") as sandbox:
            outcome = sandbox.run("bootstrap", "run")
            self.assertNotEqual(outcome.status, 0)
            self.assertTrue(outcome.errors.endswith(
                "bootstrap: no apt source for Debian 12 found to derive from\n"), outcome.errors)
            self.assertEqual(len(outcome.calls), 1)

    def test_a_terminal_shows_it_on_one_line(self):
        with Sandbox(root=True) as sandbox:
            outcome = sandbox.run_in_terminal("bootstrap", "run")
            self.assertEqual(outcome.errors, ANNOUNCED + UPDATING + "".join(
                f"\r\033[K{line}" for line in INSTALLING.splitlines()) + "\n")


def quoted_tree(sandbox):
    """The copied tree as a shell takes it: the sandbox has spaces in its name."""
    return str(sandbox.tree).replace(" ", "\\ ")


if __name__ == "__main__":
    unittest.main()
