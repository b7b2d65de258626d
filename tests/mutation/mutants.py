"""The changes: which there are, what each is called, how it reads."""

import itertools
import re
from collections import Counter
from collections.abc import Callable, Iterator
from dataclasses import dataclass
from pathlib import Path

from .tokens import Span, Token, blocks, closing, split, statements, tokenize

_COMPARISONS = {
    "==": ["!="],
    "!=": ["=="],
    "<": ["<=", ">="],
    "<=": ["<", ">"],
    ">": [">=", "<="],
    ">=": [">", "<"],
    "&&": ["||"],
    "||": ["&&"],
}
# Names of one sort besides the enumerators that headers define: each is exchanged for the next.
_EXCHANGEABLE = [
    ["true", "false"],
    ["kError", "kWarning", "kInformation", "kDetail"],
    ["TRACE_ERROR", "TRACE_WARNING", "TRACE_INFO", "TRACE_DETAIL"],
    ["TRACE_FRAME_PATH", "TRACE_EACH_FRAME", "TRACE_BUFFER"],
]
# Where the pieces of a message begin among the arguments of a trace statement.
_FIRST_PIECE = {
    "TRACE_ERROR": 0,
    "TRACE_WARNING": 0,
    "TRACE_INFO": 0,
    "TRACE_DETAIL": 0,
    "TRACE_FRAME_PATH": 1,
    "TRACE_EACH_FRAME": 1,
    "TRACE_BUFFER": 1,
    "TRACE_STEP": 2,
}
_NEVER_DELETED = ("case", "default", "using", "{")
_LONGEST_SHOWN = 70


@dataclass(frozen=True)
class Edit:
    start: int
    end: int
    replacement: str
    shown: str  # before -> after, in one line

    def apply(self, text: str) -> str:
        return text[: self.start] + self.replacement + text[self.end :]


@dataclass(frozen=True)
class Mutant:
    file: str
    line: int
    column: int
    kind: str
    number: int  # among those of the kind at the place
    edit: Edit
    line_text: str
    occurrence: int  # among those of the file that read the same, from 1

    @property
    def id(self) -> str:
        return f"{self.file}:{self.line}:{self.column}:{self.kind}:{self.number}"

    @property
    def place(self) -> str:
        """The place by what is written there, which other changes of the file do not move."""
        return self.file if self.occurrence == 1 else f"{self.file} ({self.occurrence})"

    def __str__(self) -> str:
        return f"{self.file}:{self.line}: {self.kind}: {self.edit.shown}"


def _one_line(text: str) -> str:
    text = " ".join(text.replace("\\\n", " ").split())
    return text if len(text) <= _LONGEST_SHOWN else text[: _LONGEST_SHOWN - 3] + "..."


class _Source:
    def __init__(self, text: str) -> None:
        self.text = text
        self.tokens: list[Token] = tokenize(text)

    def of(self, span: Span) -> str:
        return self.text[self.tokens[span.first].start : self.tokens[span.last].end]

    def replace(self, token: Token, replacement: str) -> Edit:
        return Edit(token.start, token.end, replacement, f"{token.text} -> {replacement}")

    def swap(self, one: Span, other: Span) -> Edit:
        start, end = self.tokens[one.first].start, self.tokens[other.last].end
        between = self.text[self.tokens[one.last].end : self.tokens[other.first].start]
        shown = f"{_one_line(self.of(one))} <-> {_one_line(self.of(other))}"
        return Edit(start, end, self.of(other) + between + self.of(one), shown)


Exchanges = dict[str, str]


def exchanges(headers: list[Path]) -> Exchanges:
    """For each name that has others of its sort, the next of them."""
    groups = list(_EXCHANGEABLE)
    for header in headers:
        for body in re.findall(r"\benum\b[^;{]*\{([^}]*)\}", header.read_text()):
            body = re.sub(r"//[^\n]*|/\*.*?\*/", "", body, flags=re.DOTALL)
            groups.append(re.findall(r"(?:^|,)\s*(\w+)", body))
    following = {}
    for group in groups:
        if len(group) > 1:
            following.update(zip(group, group[1:] + group[:1]))
    return following


def _text(source: _Source, _: Exchanges) -> Iterator[Edit]:
    for index, token in enumerate(source.tokens):
        if token.kind in ("string", "raw"):
            opening = token.text.index("(" if token.kind == "raw" else '"') + 1
            close = token.text.rindex(")" if token.kind == "raw" else '"')
            yield source.replace(token, f"{token.text[:opening]}~{token.text[opening:]}")
            yield source.replace(token, f"{token.text[:close]}~{token.text[close:]}")
        elif token.text == "CHECKED_CALL" and not token.define:
            yield from _call_text(source, index + 2)


def _call_text(source: _Source, call: int) -> Iterator[Edit]:
    """The arguments of a checked call, whose spelling is told when it fails, in brackets."""
    opening = next(i for i in range(call, len(source.tokens)) if source.tokens[i].text == "(")
    inside = Span(opening + 1, closing(source.tokens, opening) - 1)
    for argument in split(source.tokens, inside, ","):
        first, last = source.tokens[argument.first], source.tokens[argument.last]
        before = source.of(argument)
        shown = f"{_one_line(before)} -> ({_one_line(before)})"
        yield Edit(first.start, last.end, f"({before})", shown)


def _constant(source: _Source, following: Exchanges) -> Iterator[Edit]:
    for token in source.tokens:
        if token.kind == "number":
            for value in _neighbours(token.text):
                yield source.replace(token, value)
        elif token.kind == "char":
            yield source.replace(token, "'\\1'" if token.text == "'\\0'" else "'~'")
        elif token.text in following:
            yield source.replace(token, following[token.text])


def _neighbours(number: str) -> list[str]:
    digits = re.match(r"0[xX][0-9a-fA-F']+|\d[\d']*\.?\d*", number)
    if digits is None:
        return []
    suffix = number[digits.end() :]
    plain = digits.group().replace("'", "")
    if "." in plain:
        return [f"{float(plain) + step}{suffix}" for step in (1, -1) if float(plain) + step >= 0]
    value = int(plain, 0) if plain != "0" else 0
    write = hex if plain.lower().startswith("0x") else str
    return [f"{write(value + step)}{suffix}" for step in (1, -1) if value + step >= 0]


def _comparison(source: _Source, _: Exchanges) -> Iterator[Edit]:
    for token in source.tokens:
        binary = source.text[token.start - 1].isspace() and source.text[token.end].isspace()
        if token.text in _COMPARISONS and binary:
            for other in _COMPARISONS[token.text]:
                yield source.replace(token, other)
        elif token.text == "!":
            yield Edit(token.start, token.end, "", f"{_rest_of_line(source, token)} without the !")


def _rest_of_line(source: _Source, token: Token) -> str:
    return _one_line(source.text[token.start :].split("\n", 1)[0])


def _order(source: _Source, _: Exchanges) -> Iterator[Edit]:
    for block in blocks(source.tokens):
        own = statements(source.tokens, block)
        for one, other in zip(own, own[1:]):
            if _can_tell_order(source, one, other):
                yield source.swap(one, other)
            yield from _swapped_pieces(_streamed_pieces(source, one), source)
    for index, token in enumerate(source.tokens):
        if token.text in _FIRST_PIECE and not token.define:
            inside = Span(index + 2, closing(source.tokens, index + 1) - 1)
            pieces = split(source.tokens, inside, ",")[_FIRST_PIECE[token.text] :]
            yield from _swapped_pieces(pieces, source)


def _streamed_pieces(source: _Source, statement: Span) -> list[Span]:
    without_semicolon = Span(statement.first, statement.last - 1)
    return split(source.tokens, without_semicolon, "<<")[1:]


def _swapped_pieces(pieces: list[Span], source: _Source) -> Iterator[Edit]:
    for one, other in zip(pieces, pieces[1:]):
        if source.of(one) != source.of(other):
            yield source.swap(one, other)


def _can_tell_order(source: _Source, one: Span, other: Span) -> bool:
    """Labels stay where they are. Equal statements come out the same either way, and so do two, one
    a trace perhaps, that call nothing else and neither of which sets what the other uses."""
    tokens = [source.tokens[span.first : span.last + 1] for span in (one, other)]
    if any(own[0].text in ("case", "default") for own in tokens):
        return False
    if source.of(one) == source.of(other):
        return False
    two_traces = all(own[0].text in _FIRST_PIECE for own in tokens)
    if two_traces or not all(_calls_nothing(own) for own in tokens):
        return True
    names = [{token.text for token in own if token.kind == "name"} for own in tokens]
    return bool(_set_by(tokens[0]) & names[1] or _set_by(tokens[1]) & names[0])


def _calls_nothing(statement: list[Token]) -> bool:
    if {token.text for token in statement} & {"new", "delete", "return", "break", "continue", "if"}:
        return False
    if statement[0].text in ("{", ";"):
        return False
    text = " ".join(token.text for token in statement)
    # Brackets after what is no operator open a call's arguments, except these.
    others = len(re.findall(r"static_cast < [\w: *]+ > \(|sizeof \(|^TRACE_\w+ \(", text))
    opened = [index for index, token in enumerate(statement) if token.text == "(" and index > 0]
    calls = [index for index in opened if statement[index - 1].text in (">", ")", "]")
             or statement[index - 1].kind == "name"]
    return len(calls) == others


def _set_by(statement: list[Token]) -> set[str]:
    """The name that the statement sets or defines; all names left of the = when it is none."""
    if statement[0].text in _FIRST_PIECE:
        return set()
    left = list(itertools.takewhile(
        lambda token: token.text not in ("=", "+=", "-=", "{", ";"), statement))
    if left[-1].kind == "name":
        return {left[-1].text}
    return {token.text for token in left if token.kind == "name"}


def _deletion(source: _Source, _: Exchanges) -> Iterator[Edit]:
    for block in blocks(source.tokens):
        for statement in statements(source.tokens, block):
            first, last = source.tokens[statement.first], source.tokens[statement.last]
            returns_value = first.text == "return" and statement.last > statement.first + 1
            simple = last.text == ";" and first.text not in _NEVER_DELETED
            if simple and not returns_value:
                # The line breaks stay: messages tell line numbers.
                gone = source.of(statement)
                kept = ";" + "\n" * gone.count("\n")
                yield Edit(first.start, last.end, kept, f"{_one_line(gone)} -> nothing")


Maker = Callable[[_Source, Exchanges], Iterator[Edit]]
KINDS: dict[str, Maker] = {
    "text": _text,
    "constant": _constant,
    "comparison": _comparison,
    "order": _order,
    "deletion": _deletion,
}


def mutants_of(path: Path, kinds: list[str], following: Exchanges) -> list[Mutant]:
    """All changes of the file of these kinds, in the order of their places."""
    source = _Source(path.read_text())
    lines = source.text.split("\n")
    edits = [(edit, kind) for kind in kinds for edit in KINDS[kind](source, following)]
    edits.sort(key=lambda entry: entry[0].start)
    made: list[Mutant] = []
    at_place: Counter[tuple[int, str]] = Counter()
    alike: Counter[tuple[str, str]] = Counter()
    for edit, kind in edits:
        line = source.text.count("\n", 0, edit.start) + 1
        column = edit.start - source.text.rfind("\n", 0, edit.start)
        line_text = " ".join(lines[line - 1].split())
        at_place[edit.start, kind] += 1
        alike[line_text, edit.shown] += 1
        made.append(
            Mutant(path.name, line, column, kind, at_place[edit.start, kind], edit, line_text,
                   alike[line_text, edit.shown])
        )
    return made
