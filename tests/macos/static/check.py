#!/usr/bin/env python3
"""Checks a property of a library built for macOS, without running it.

    check.py PROPERTY --library NAME --architecture x86_64|arm64 ... FILE
    check.py universal --library NAME --x86_64 FILE --arm64 FILE ... FILE
"""

import struct
import sys

from arguments import Arguments, parse
from checks import CHECKS, check_universal
from macho.image import FormatError, Image


def complaints(arguments: Arguments, data: bytes) -> list[str]:
    """What is wrong with the file, of which only the content is asked for."""
    try:
        if arguments.property == "universal":
            return check_universal(data, arguments.thin(), arguments.expected)
        return CHECKS[arguments.property](Image(data), arguments.expected)
    except (FormatError, struct.error, IndexError, ValueError) as error:
        return [f"cannot be read: {error}"]


def main() -> int:
    arguments = parse(__doc__, sys.argv[1:])
    found = complaints(arguments, arguments.file.read_bytes())
    for complaint in found:
        print(f"{arguments.file.name} for {arguments.architectures} {complaint}", file=sys.stderr)
    if not found:
        print(f"ok: {arguments.property} of {arguments.file.name} for {arguments.architectures}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
