"""Random plans against the same answers typed to the dialogues: the library gets the same calls with
the same bytes, the clock the same pauses, and the run leaves the same files.

Seeds are fixed, so every run makes the same plans. KVR_RANDOM_PLANS sets how many there are, 24
without it, KVR_FIRST_PLAN the first seed.
"""

import difflib
import os
import random
import sys

from plan_runs import REAL, Run

PAIRS = ("12", "23", "31", "10", "20", "30")
WINDINGS = ("D", "Y", "Yn", "Z", "Zn")
SINGLE_DIRECTIONS = {"auto": "1", "down": "2", "up": "3", "ct": "5"}
THREE_DIRECTIONS = {"auto": "1", "down": "2", "up": "3"}
METHODS = {"auto": "1", "3-1": "2", "1-1": "3", "3-3": "4", "all": "6"}
NUMBERS = ("8", "12.5", "0.1", "47", "99.99", "240", "1e2", "3.3333333")
RATIOS = ("10", "12.1", "0.5", "66.6667")
ANSWERS = ("44", "76", "0 raw=null", "31", "0 record_id=\"other\"", "0 record=null", "0 progress=1/2,2/2",
           "5", "0 status=83:\"x\"")


def toml_text(text):
    return f'"{text}"'


def voltages(chance):
    """The value in a plan, and the answer."""
    kind = chance.randrange(5)
    if kind == 0:
        return None, ""
    if kind == 1:
        name, answer = chance.choice((("ascending", "A"), ("descending", "Z")))
        return toml_text(name), answer
    number = chance.choice(NUMBERS)
    if kind == 2:
        repeated = f"{number}x{chance.randrange(1, 5)}"
        return toml_text(repeated), repeated
    return number, number


def common(chance, number, test, answers_after_voltages):
    """What both kinds of test have, after the voltages."""
    value, answer = voltages(chance)
    if value is not None:
        test["voltages"] = value
    ratio = chance.choice(RATIOS + ("",) * 2)
    if ratio:
        test["nameplate_ratio"] = ratio
    pattern, name = chance.choice((("{item}-{test}", f"TR-{number}"), ("T{test}", f"T{number}"),
                                   ("", "")))
    if pattern:
        test["id"] = toml_text(pattern)
    return [answer, *answers_after_voltages, ratio, name]


def single_phase(chance, number, has_sides):
    direction = chance.choice(list(SINGLE_DIRECTIONS))
    test = {"kind": toml_text("single-phase"), "direction": toml_text(direction)}
    answers = ["2", SINGLE_DIRECTIONS[direction]]
    if has_sides:
        for side, letter in (("high", "H"), ("low", "X")):
            pair = chance.randrange(6)
            first, second = PAIRS[pair]
            test[side] = toml_text(f"{letter}{first}-{letter}{second}")
            answers.append(str(pair + 1))
    return test, answers + common(chance, number, test, [])


def three_phase(chance, number):
    direction = chance.choice(list(THREE_DIRECTIONS))
    test = {"kind": toml_text("three-phase"), "direction": toml_text(direction)}
    answers = ["1", THREE_DIRECTIONS[direction]]
    if direction != "auto":
        method = chance.choice(list(METHODS))
        test["method"] = toml_text(method)
        answers.append(METHODS[method])
    high, low = chance.randrange(5), chance.randrange(5)
    test["windings"] = toml_text(f"{WINDINGS[high]}-{WINDINGS[low].lower()}")
    answers += [str(high + 1), str(low + 1)]
    phasing = chance.choice(("", "clock", "shift"))
    if phasing == "clock":
        test["clock"] = str(chance.randrange(12))
        answers.append(test["clock"])
    elif phasing == "shift":
        test["shift"] = chance.choice(("15", "-7.5", "330", "0.1"))
        answers.append(test["shift"] + "d")
    else:
        answers.append("")
    return test, answers + common(chance, number, test, [])


class Pair:
    """A plan, the same as typed answers, and what both run on."""

    def __init__(self, seed):
        chance = random.Random(seed)
        self.three = chance.random() < 0.5
        has_sides = chance.random() < 0.7
        script = [f"kvr_GetDeviceInfo: 0 instrument_type={chance.choice((0, 1) if has_sides else (2, 7))}"]
        if chance.random() < 0.2:
            script.append("always kvr_GetStatus: 0 "
                          + chance.choice(("database_loaded=0", "secondary_sd_read_only=1")))
        call = "kvr_Test_Ratio_3ph" if self.three else "kvr_Test_Ratio_1ph"
        for _ in range(chance.choice((0, 0, 3, 6))):
            script.append(f"{call}: {chance.choice(ANSWERS + ('0',) * 6)}")
        self.script = "\n".join(script) + "\n"

        service = chance.random() < 0.3
        tables = ['[connection]', f'method = "{"service" if service else "usb"}"',
                  '[item]', 'name = "TR"', '[run]', 'stop_on = []']
        self.options = []
        for option in ("debug", "quiet"):
            if chance.random() < 0.3:
                tables.insert(2, f"{option} = true")
                self.options.append(f"--{option}")
        if chance.random() < 0.3:
            tables.insert(2, 'serial_port = "COM7"')
            self.options += ["--serialport", "COM7"]
        answers = ["2", "10.0.0.1"] if service else ["1"]
        for number in range(1, chance.randrange(2, 6)):
            test, typed = (three_phase(chance, number) if self.three
                           else single_phase(chance, number, has_sides))
            tables += ["[[test]]"] + [f"{key} = {value}" for key, value in test.items()]
            answers += typed
        self.plan = "\n".join(tables) + "\n"
        self.typed = ("\n".join(answers) + "\n0\n").encode()

    def difference(self):
        """How the two runs differ, or nothing."""
        program = ("KVR_TESTER_WORKBENCH" if self.three else "KVR_CONSOLE_TESTER") + "_UNDER_TEST"
        with Run("KVR_TESTER_RUN_UNDER_TEST", REAL, plan=self.plan, script=self.script) as planned, \
             Run(program, self.options, script=self.script, typed=self.typed) as typed:
            planned.finish()
            typed.finish()
            if planned.status() not in (10, 30):
                return f"the plan ended with {planned.status()}:\n{planned.words()}", 0
            for name, one, other in (("calls", typed.calls(), planned.calls()),
                                     ("files", listing(typed), listing(planned))):
                if one != other:
                    return f"other {name}:\n" + "\n".join(
                        difflib.unified_diff(one, other, "typed", "planned", lineterm="")), 0
            tests = sum(name.startswith("kvr_Test_Ratio") for name in planned.call_names())
            measured = [line for line in planned.lines("measurement")]
            if len(measured) != tests:
                return f"{tests} tests gave {len(measured)} lines", tests
            return "", tests


def listing(run):
    """The files line by line, each under its name."""
    lines = []
    for name, content in run.files().items():
        text = content.decode("latin-1").replace(str(run.folder), "FOLDER")
        lines += [f"== {name}", *text.splitlines()]
    return lines


def main():
    first = int(os.environ.get("KVR_FIRST_PLAN", "1"))
    count = int(os.environ.get("KVR_RANDOM_PLANS", "24"))
    tests_made = 0
    for seed in range(first, first + count):
        pair = Pair(seed)
        difference, tests = pair.difference()
        tests_made += tests
        if difference:
            print(f"Seed {seed}: {difference}\nPlan:\n{pair.plan}\nScript:\n{pair.script}\n"
                  f"Typed: {pair.typed!r}")
            return 1
    print(f"{count} plans made {tests_made} tests, each as typed")
    return 0 if tests_made > count else 1  # fewer: the plans are not worth much


if __name__ == "__main__":
    sys.exit(main())
