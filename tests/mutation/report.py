"""What is known of survivors, what was found before, and the summary."""

import hashlib
import json
from collections import Counter
from dataclasses import dataclass, field
from pathlib import Path

from .mutants import KINDS, Mutant
from .trial import EQUAL, INVALID, NOTICED, SURVIVED

_SEPARATOR = " ## "


class InputError(Exception):
    pass


def known_key(mutant: Mutant) -> str:
    return _SEPARATOR.join((mutant.place, mutant.line_text, mutant.edit.shown))


def read_known(path: Path) -> dict[str, str]:
    """Reasons by change."""
    reasons = {}
    for number, line in enumerate(path.read_text().splitlines(), start=1):
        if not line.strip() or line.startswith("#"):
            continue
        fields = line.split(_SEPARATOR)
        if len(fields) != 4:
            raise InputError(f"{path.name}:{number}: not of the form place, line, change, reason")
        reasons[_SEPARATOR.join(fields[:3])] = fields[3]
    return reasons


def digest(*paths: Path) -> str:
    content = b"".join(path.read_bytes() for path in paths)
    return hashlib.sha256(content).hexdigest()[:16]


class Journal:
    """The outcomes as they come, so that a run that was broken off can be resumed.

    A change that was noticed stays noticed as long as its file is the same. One that survived is
    tried again when the tests have changed.
    """

    def __init__(self, path: Path, resume: bool) -> None:
        self._entries: dict[tuple[str, str], dict[str, str]] = {}
        if resume and path.exists():
            for line in path.read_text().splitlines():
                entry = json.loads(line)
                self._entries[entry["id"], entry["file"]] = entry
        self._file = path.open("a" if resume else "w")

    def outcome(self, mutant: Mutant, file_digest: str, tests_digest: str) -> str | None:
        entry = self._entries.get((mutant.id, file_digest))
        if entry is None or entry["shown"] != mutant.edit.shown:
            return None
        if entry["outcome"] == SURVIVED and entry["tests"] != tests_digest:
            return None
        return entry["outcome"]

    def add(self, mutant: Mutant, file_digest: str, tests_digest: str, outcome: str,
            by: str) -> None:
        entry = {"id": mutant.id, "file": file_digest, "tests": tests_digest,
                 "shown": mutant.edit.shown, "outcome": outcome, "by": by}
        self._file.write(json.dumps(entry) + "\n")
        self._file.flush()


@dataclass
class Summary:
    known: dict[str, str]
    counts: dict[str, Counter[str]] = field(default_factory=lambda: {k: Counter() for k in KINDS})
    survivors: list[Mutant] = field(default_factory=list)
    surprises: list[str] = field(default_factory=list)  # known survivors that are none

    def add(self, mutant: Mutant, outcome: str) -> None:
        reason = self.known.get(known_key(mutant))
        if outcome == SURVIVED and reason is not None:
            outcome = "known"
        elif outcome == SURVIVED:
            self.survivors.append(mutant)
        elif reason is not None:
            self.surprises.append(f"{mutant} is {outcome}")
        self.counts[mutant.kind][outcome] += 1

    def unmatched(self, mutants: list[Mutant]) -> list[str]:
        return sorted(set(self.known) - {known_key(mutant) for mutant in mutants})

    def total(self) -> Counter[str]:
        return sum(self.counts.values(), Counter())

    def table(self) -> str:
        columns = [NOTICED, SURVIVED, "known", INVALID, EQUAL]
        lines = [f"{'kind':<12}{'made':>9}" + "".join(f"{c:>9}" for c in columns) + "  percent"]
        rows = [(kind, count) for kind, count in self.counts.items() if count]
        for kind, count in [*rows, ("all", self.total())]:
            cells = "".join(f"{count[column]:>9}" for column in columns)
            lines.append(f"{kind:<12}{count.total():>9}{cells}{share(count):>9.1f}")
        return "\n".join(lines)


def share(count: Counter[str]) -> float:
    """Per cent of the changes that count which were noticed."""
    counted = count[NOTICED] + count[SURVIVED]
    return 100.0 * count[NOTICED] / counted if counted else 100.0
