"""The command line that the check and its counter-examples share."""

import argparse
from dataclasses import dataclass
from pathlib import Path

from checks import CHECKS, Expected


@dataclass(frozen=True)
class Arguments:
    property: str
    file: Path
    expected: Expected
    thin_files: dict[str, Path]
    broken: str

    @property
    def architectures(self) -> str:
        return self.expected.architecture or " and ".join(sorted(self.thin_files))

    def thin(self) -> dict[str, bytes]:
        return {name: file.read_bytes() for name, file in self.thin_files.items()}


def parse(description: str | None, words: list[str], broken: list[str] | None = None) -> Arguments:
    parser = argparse.ArgumentParser(
        description=description, formatter_class=argparse.RawDescriptionHelpFormatter)
    if broken is None:
        parser.add_argument("property", choices=[*CHECKS, "universal"])
    else:
        parser.add_argument("broken", choices=broken)
    parser.add_argument("file", type=Path)
    parser.add_argument("--library", required=True, help="as the build calls it")
    parser.add_argument("--architecture", default="", help="of a file for one processor")
    parser.add_argument("--version", default="0.0.0", help="the project's")
    parser.add_argument("--exports", type=Path, default=Path(), help="the kept list")
    parser.add_argument("--imports", type=Path, default=Path(), help="the kept list")
    parser.add_argument("--machine-path", action="append", default=[],
                        help="a directory that the library must not name")
    parser.add_argument("--x86_64", type=Path, help="that a universal file was made of")
    parser.add_argument("--arm64", type=Path, help="that a universal file was made of")
    given = parser.parse_args(words)
    thin = {name: file for name, file in (("x86_64", given.x86_64), ("arm64", given.arm64)) if file}
    expected = Expected(given.library, given.architecture, given.exports, given.imports,
                        given.version, given.machine_path)
    return Arguments("" if broken is not None else given.property, given.file, expected, thin,
                     "" if broken is None else given.broken)
