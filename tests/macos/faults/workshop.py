"""A copy of the library's sources and of the tree that its tests run in, to change a line in."""

import enum
import filecmp
import fnmatch
import os
import re
import shutil
import signal
import subprocess
from collections.abc import Iterator
from contextlib import contextmanager
from dataclasses import dataclass
from pathlib import Path

_COPIED = ["CMakeLists.txt", "cmake", "docs", "include", "platform", "src", "support"]
_TARGET = "qor_conf_capturemanager"
_BUILT = {f"lib{name}.dylib" for name in (_TARGET, "qor_conf_vqutilc", "qor_conf_kxcommon64")}
_TIME_LIMIT_S = 120.0


class BuildError(Exception):
    """The copy cannot be made, or not be built."""


class Outcome(enum.Enum):
    PASSED = enum.auto()
    NOTICED = enum.auto()
    UNABLE = enum.auto()  # ended otherwise than by a test


@dataclass(frozen=True)
class Result:
    status: int | None  # none when the time ran out
    output: str

    def _tests(self, mark: str) -> list[str]:
        return re.findall(rf"^\[{mark}\] ([^\s,(]+)(?: \(|$)", self.output, re.MULTILINE)

    @property
    def failed(self) -> list[str]:
        """Those that began and did not come out well: the last may have ended the program."""
        passed = self._tests("       OK ")
        return [test for test in self._tests(" RUN      ") if test not in passed]

    @property
    def outcome(self) -> Outcome:
        if self.status == 0:
            well = self._tests("       OK ") and not self.failed
            return Outcome.PASSED if well else Outcome.UNABLE
        return Outcome.NOTICED if self.failed else Outcome.UNABLE

    def has_run(self, tests: str) -> bool:
        return any(fnmatch.fnmatchcase(test, tests) for test in self._tests("       OK "))


@dataclass(frozen=True)
class Workshop:
    source: Path
    tree: Path
    scratch: Path
    commands: Path
    cmake: str
    options: list[str]

    @property
    def _copy(self) -> Path:
        return self.scratch / "source"

    @property
    def _build(self) -> Path:
        return self.scratch / "build"

    def programs(self) -> set[str]:
        return {file.name for file in self.commands.iterdir()}

    def prepare(self) -> None:
        """What has not changed since the last time is not copied or built anew."""
        self._copy_sources()
        self._copy_programs()
        self._call([self.cmake, "-S", str(self._copy), "-B", str(self._build), "-G", "Ninja",
                    "-DQOR_BUILD_TESTS=OFF", "-DQOR_BUILD_TOOLS=OFF",
                    *(f"-D{option}" for option in self.options)])
        self.build()

    def _copy_sources(self) -> None:
        wanted = set()
        for name in _COPIED:
            top = self.source / name
            for file in [top] if top.is_file() else sorted(top.rglob("*")):
                if file.is_file():
                    place = self._copy / file.relative_to(self.source)
                    _copy_if_other(file, place)
                    wanted.add(place)
        for place in sorted(self._copy.rglob("*")):
            if place.is_file() and place not in wanted:
                place.unlink()

    def _copy_programs(self) -> None:
        """The programs find libraries by where they themselves are, so each goes where it is in the
        tree, and so do the libraries that stand in for the system's."""
        for file in sorted(self.tree.rglob("*.dylib")):
            if self.scratch not in file.parents and file.name not in _BUILT:
                _copy_if_other(file, self._place_of(file))
        for name in self.programs():
            program = Path(self._command_of(name)[-1])
            if not program.is_file():
                raise BuildError(f"there is no {program} to notice a fault")
            _copy_if_other(program, self._place_of(program))

    def _place_of(self, file: Path) -> Path:
        return self._build / file.relative_to(self.tree)

    def _command_of(self, program: str) -> list[str]:
        return (self.commands / program).read_text().split("\n")

    def build(self) -> None:
        self._call([self.cmake, "--build", str(self._build), "--target", _TARGET, "-j", "2"])

    def _call(self, command: list[str]) -> None:
        done = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if done.returncode != 0:
            raise BuildError(f"{' '.join(command)}:\n{done.stdout}")

    @contextmanager
    def changed(self, file: str, old: str, new: str) -> Iterator[None]:
        place = self._copy / file
        original = place.read_text()
        if original.count(old) != 1:
            raise BuildError(f"{file} has not once, but {original.count(old)} times:\n    {old}")
        place.write_text(original.replace(old, new))
        try:
            yield
        finally:
            place.write_text(original)

    def run(self, program: str, tests: str) -> Result:
        command = [self._relocated(word) for word in self._command_of(program)]
        process = subprocess.Popen(
            [*command, f"--gtest_filter={tests}"], cwd=self._build, text=True, errors="replace",
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            start_new_session=True)
        try:
            output, _ = process.communicate(timeout=_TIME_LIMIT_S)
            return Result(process.returncode, output)
        except subprocess.TimeoutExpired:
            # With what it started, which shares its session.
            os.killpg(process.pid, signal.SIGKILL)
            return Result(None, process.communicate()[0])

    def _relocated(self, word: str) -> str:
        file = Path(word)
        if not file.is_absolute() or not file.is_relative_to(self.tree):
            return word
        place = self._place_of(file)
        return str(place) if place.is_file() else word


def _copy_if_other(file: Path, place: Path) -> None:
    if place.is_file() and filecmp.cmp(file, place, shallow=False):
        return
    place.parent.mkdir(parents=True, exist_ok=True)
    shutil.copy(file, place)
