"""Builds the library with one change in it and has the contract tests judge it."""

import json
import os
import re
import resource
import shlex
import shutil
import subprocess
import threading
import time
from collections import Counter
from dataclasses import dataclass, field
from pathlib import Path

from .mutants import Mutant

LIBRARY = "lib/libqor_conf_capturemanager.so"
SOURCES = "src/component/captureManager"
# A changed library may allocate and write without end.
_MEMORY_LIMIT = 4 << 30
_OUTPUT_LIMIT = 64 << 20
_SPARE_TIME_S = 20.0
# So many of the tests that noticed most in a file have the first look at its next change.
_FIRST_TESTS = 40

NOTICED, SURVIVED, INVALID, EQUAL = "noticed", "survived", "invalid", "equal"


class BuildError(Exception):
    pass


@dataclass
class Verdict:
    outcome: str
    by: str = ""  # the test that failed, or how the program ended
    output: str = ""


def _run(command: list[str] | str, cwd: Path) -> str:
    done = subprocess.run(command, cwd=cwd, shell=isinstance(command, str), text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode != 0:
        raise BuildError(done.stdout)
    return done.stdout


def _limit_resources() -> None:
    resource.setrlimit(resource.RLIMIT_AS, (_MEMORY_LIMIT, _MEMORY_LIMIT))
    resource.setrlimit(resource.RLIMIT_FSIZE, (_OUTPUT_LIMIT, _OUTPUT_LIMIT))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


@dataclass
class Tree:
    """The unchanged library and its tests, built in a directory of their own."""

    root: Path
    build: Path
    compile_commands: dict[str, list[str]] = field(default_factory=dict)  # by source
    link_command: str = ""
    included_by: dict[str, list[str]] = field(default_factory=dict)  # sources by header
    seconds: float = 0.0  # that the tests take
    noticed_by: dict[str, Counter[str]] = field(default_factory=dict)  # tests by file

    @property
    def program(self) -> Path:
        return self.build / "bin/contract_test"

    @property
    def library(self) -> str:
        """The file that the names of the library lead to."""
        return str((self.build / LIBRARY).resolve().relative_to(self.build.resolve()))

    def make(self, jobs: int) -> None:
        # No debug information: a change without effect leaves the very same object file.
        _run(["cmake", "-S", str(self.root), "-B", str(self.build), "-G", "Ninja",
              "-DCMAKE_BUILD_TYPE=", "-DCMAKE_CXX_FLAGS=-O0", "-DQOR_BUILD_TOOLS=OFF",
              "-DQOR_BUILD_GSTREAMER=OFF"], self.root)
        _run(["cmake", "--build", str(self.build), "--target", "contract_test", "-j", str(jobs)],
             self.root)
        for entry in json.loads((self.build / "compile_commands.json").read_text()):
            source = Path(entry["file"])
            if source.parent == self.root / SOURCES:
                self.compile_commands[source.name] = _without_warnings(entry["command"])
        self._precompile_includes()
        last = _run(["ninja", "-t", "commands", self.library], self.build).strip().split("\n")[-1]
        self.link_command = last.removeprefix(": && ").removesuffix(" && :")
        self._read_includes()

    def _precompile_includes(self) -> None:
        """What the sources include from outside their folder takes most of the time to compile,
        and no change is in it."""
        own = {header.name for header in (self.root / SOURCES).glob("*.h")}
        included = {line for source in self.compile_commands
                    for line in (self.root / SOURCES / source).read_text().splitlines()
                    if line.startswith("#include") and line.split()[1].strip('"') not in own}
        header = self.build / "mutation/common.h"
        header.parent.mkdir(parents=True, exist_ok=True)
        header.write_text("\n".join(sorted(included)) + "\n")
        command = list(next(iter(self.compile_commands.values())))
        command[command.index("-o") + 1] = f"{header}.gch"
        command[command.index("-c"):] = ["-x", "c++-header", str(header), "-w"]
        _run(command, self.build)
        for command in self.compile_commands.values():
            command += ["-include", str(header)]

    def _read_includes(self) -> None:
        for source in self.compile_commands:
            rules = _run(["ninja", "-t", "deps", self.object_of(source)], self.build)
            for header in re.findall(rf"{re.escape(SOURCES)}/(\w+\.h)\s", rules):
                self.included_by.setdefault(header, []).append(source)

    def object_of(self, source: str) -> str:
        return f"{SOURCES}/CMakeFiles/qor_conf_capturemanager.dir/{source}.o"

    def sources_with(self, file: str) -> list[str]:
        return [file] if file in self.compile_commands else self.included_by.get(file, [])

    def measure(self, workshop: "Workshop") -> None:
        """Fails if a test fails without a change."""
        before = time.monotonic()
        code, output = workshop.run_tests(None)
        self.seconds = time.monotonic() - before
        if code != 0:
            raise BuildError("\n".join(line for line in output.splitlines()
                                       if not line.startswith("[  SKIPPED ]")))


def _without_warnings(command: str) -> list[str]:
    kept = [word for word in shlex.split(command) if not re.match(r"-W(?!l,)|-g", word)]
    if Path(kept[0]).name == "ccache":
        del kept[0]
    return [*kept, "-w"]


class Workshop:
    """A place where one change at a time is tried; one for each thread."""

    def __init__(self, tree: Tree, name: str, time_limit: float | None) -> None:
        self.tree = tree
        self.directory = tree.build / "mutation" / f"workshop-{name}"
        self.time_limit = time_limit
        shutil.rmtree(self.directory, ignore_errors=True)
        for part in ("src", "lib", "objects", "run"):
            (self.directory / part).mkdir(parents=True)
        for file in (tree.root / SOURCES).iterdir():
            shutil.copy(file, self.directory / "src")
        # The name that programs look for.
        name = (tree.build / LIBRARY).readlink()
        (self.directory / "lib" / name).symlink_to((tree.build / LIBRARY).resolve().name)
        self._originals = {source: self._compile(source) for source in tree.compile_commands}
        self._link()

    def _compile(self, source: str) -> bytes:
        command = list(self.tree.compile_commands[source])
        built = self.directory / "objects" / f"{source}.o"
        command[command.index("-o") + 1] = str(built)
        command[command.index("-c") + 1] = str(self.directory / "src" / source)
        _run(command, self.tree.build)
        return built.read_bytes()

    def _link(self) -> None:
        command = self.tree.link_command
        for source in self.tree.compile_commands:
            command = command.replace(self.tree.object_of(source),
                                      str(self.directory / "objects" / f"{source}.o"))
        library = self.tree.library
        command = command.replace(f"-o {library}", f"-o {self.directory / library}")
        # The libraries that it lies with otherwise.
        _run(f"{command} -Wl,-rpath,{shlex.quote(str(self.tree.build / 'lib'))}", self.tree.build)

    def try_mutant(self, mutant: Mutant) -> Verdict:
        copy = self.directory / "src" / mutant.file
        original = copy.read_text()
        copy.write_text(mutant.edit.apply(original))
        sources = self.tree.sources_with(mutant.file)
        try:
            built = {source: self._compile(source) for source in sources}
            if all(built[source] == self._originals[source] for source in sources):
                return Verdict(EQUAL)
            self._link()
        except BuildError as error:
            return Verdict(INVALID, output=str(error))
        else:
            return self._judge(mutant.file)
        finally:
            copy.write_text(original)
            for source in sources:
                (self.directory / "objects" / f"{source}.o").write_bytes(self._originals[source])

    def try_unchanged(self) -> Verdict:
        self._link()
        return self._judge()

    def _judge(self, file: str | None = None) -> Verdict:
        """Has the tests judge the library; those first that have noticed changes of the file."""
        limit = self.time_limit or 4 * self.tree.seconds + _SPARE_TIME_S
        alert = self.tree.noticed_by.setdefault(file, Counter()) if file else Counter()
        first = ":".join(test for test, _ in alert.most_common(_FIRST_TESTS))
        unreliable = ""
        for tests in [first, "*", "*"] if first else ["*", "*"]:
            code, output = self.run_tests(limit, tests + unreliable)
            test = _failed_test(output)
            if code is None:
                return Verdict(NOTICED, f"{test}, out of time", output)
            # A test that fails now and then without a change has not noticed anything.
            if code != 0 and self.run_tests(limit, test)[0] != 0:
                alert[test] += 1
                return Verdict(NOTICED, test, output)
            if code != 0:
                unreliable = f"{unreliable}:{test}" if unreliable else f"-{test}"
            elif tests == "*":
                break
        return Verdict(SURVIVED, output=output)

    def run_tests(self, limit: float | None, tests: str = "*") -> tuple[int | None, str]:
        """The exit status, None when the time ran out, and what was printed."""
        environment = {
            **os.environ,
            "LD_LIBRARY_PATH": str(self.directory / "lib"),
            "LD_BIND_NOW": "1",
            "GTEST_FAIL_FAST": "1",
        }
        log = self.directory / "output.txt"
        with log.open("wb") as printed:
            process = subprocess.Popen(
                [str(self.tree.program), f"--gtest_filter={tests}"],
                cwd=self.directory / "run", env=environment, stdin=subprocess.DEVNULL,
                stdout=printed, stderr=subprocess.STDOUT, preexec_fn=_limit_resources,
                start_new_session=True)
            code = _wait(process, limit)
        return code, log.read_text(errors="replace")


def _failed_test(output: str) -> str:
    """The test that failed, or else the one that the program ended in."""
    failed = re.search(r"^\[  FAILED  \] ([^\s,]+)", output, re.MULTILINE)
    begun = re.findall(r"^\[ RUN      \] (\S+)", output, re.MULTILINE)
    return failed.group(1) if failed else begun[-1] if begun else "*"


def _wait(process: subprocess.Popen[bytes], limit: float | None) -> int | None:
    try:
        return process.wait(limit)
    except subprocess.TimeoutExpired:
        # With what the test started, which shares its session.
        os.killpg(process.pid, 9)
        process.wait()
        return None


class Workshops:
    """One workshop for each thread that asks."""

    def __init__(self, tree: Tree, time_limit: float | None) -> None:
        self._tree = tree
        self._time_limit = time_limit
        self._own = threading.local()
        self._lock = threading.Lock()
        self._made = 0

    def own(self) -> Workshop:
        if not hasattr(self._own, "workshop"):
            with self._lock:
                number, self._made = self._made, self._made + 1
            self._own.workshop = Workshop(self._tree, str(number), self._time_limit)
        return self._own.workshop
