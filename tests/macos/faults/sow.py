#!/usr/bin/env python3
"""Sows a fault into a copy of the library's sources, builds the copy for macOS, and has the tests
that must notice it run over that library in the place of the good one.

    sow.py list                       the faults, each with the test program that must notice it
    sow.py unchanged OPTIONS          the copy as it is: every such test passes
    sow.py FAULT OPTIONS              needs what "unchanged" leaves behind
    sow.py harmless OPTIONS           fails: there is nothing to notice
"""

import argparse
import sys
from pathlib import Path

from faults import FAULTS, HARMLESS, Fault
from workshop import BuildError, Outcome, Workshop


def _judge_unchanged(workshop: Workshop) -> str:
    workshop.prepare()
    for program in sorted({fault.program for fault in FAULTS.values()} & workshop.programs()):
        tests = ":".join(sorted({fault.tests for fault in FAULTS.values()
                                 if fault.program == program}))
        result = workshop.run(program, tests)
        if result.outcome != Outcome.PASSED:
            return f"{program} fails without a fault:\n{result.output}"
        for fault in FAULTS.values():
            if fault.program == program and not result.has_run(fault.tests):
                return f"{program} has no test {fault.tests}"
    return ""


def _judge(workshop: Workshop, fault: Fault) -> str:
    with workshop.changed(fault.file, fault.old, fault.new):
        workshop.build()
        result = workshop.run(fault.program, fault.tests)
    if result.outcome == Outcome.NOTICED:
        print(f"noticed by {', '.join(result.failed)}")
        return ""
    if result.outcome == Outcome.PASSED:
        return (f"{fault.program} does not notice that {fault.file} says\n    {fault.new}\n"
                f"for\n    {fault.old}")
    return f"{fault.program} did not get as far as its tests:\n{result.output}"


def main() -> int:
    if sys.argv[1:] == ["list"]:
        for name, fault in FAULTS.items():
            print(f"{name} {fault.program}")
        return 0
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("fault", choices=["unchanged", "harmless", *FAULTS])
    parser.add_argument("--source", type=Path, required=True, help="the project's directory")
    parser.add_argument("--tree", type=Path, required=True,
                        help="where it is built, with its tests")
    parser.add_argument("--scratch", type=Path, required=True, help="the directory of the copy")
    parser.add_argument("--programs", type=Path, required=True,
                        help="a directory of files, each a program's command, a word a line")
    parser.add_argument("--cmake", default="cmake")
    parser.add_argument("--option", action="append", default=[], help="to configure the copy with")
    given = parser.parse_args()
    workshop = Workshop(given.source, given.tree, given.scratch, given.programs, given.cmake,
                        given.option)
    try:
        wrong = (_judge_unchanged(workshop) if given.fault == "unchanged"
                 else _judge(workshop, FAULTS.get(given.fault, HARMLESS)))
    except BuildError as error:
        wrong = str(error)
    if wrong:
        print(wrong, file=sys.stderr)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
