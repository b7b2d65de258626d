"""The C++ sources as tokens and statements: as much of the language as changing it in place needs.

The sources are formatted by clang-format; where the grammar alone is ambiguous (a template's `<` or
a comparison), the blanks that it puts around binary operators decide.
"""

import re
from dataclasses import dataclass

_TOKEN = re.compile(
    r"""(?P<comment>//[^\n]*|/\*.*?\*/)
    |(?P<include>^[ \t]*\#[ \t]*(?:include|if|ifdef|ifndef|endif|else|pragma)\b[^\n]*)
    |(?P<define>^[ \t]*\#[ \t]*define\b)
    |(?P<raw>(?:u8|[LuU])?R"(?P<delimiter>[^(\s]*)\(.*?\)(?P=delimiter)")
    |(?P<string>(?:u8|[LuU])?"(?:[^"\\\n]|\\.)*")
    |(?P<char>'(?:[^'\\\n]|\\.)+')
    |(?P<number>\.?\d(?:[eEpP][+-]|[\w.'])*)
    |(?P<name>[A-Za-z_]\w*)
    |(?P<punctuator><=>|<<=|>>=|\.\.\.|->\*|::|->|\+\+|--|<<|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=
        |\#\#|[^\s\w\\])
    |(?P<continuation>\\\n)
    |(?P<newline>\n)""",
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)

_OPENING = {"(": ")", "[": "]", "{": "}"}
_COMPOUND = ("if", "for", "while", "switch", "do", "try", "{")
_BEFORE_A_BLOCK = (")", "const", "noexcept", "override", "else", "do", "try")


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int
    define: bool  # part of a macro's definition

    @property
    def end(self) -> int:
        return self.start + len(self.text)


@dataclass(frozen=True)
class Span:
    """Tokens first to last, both included."""

    first: int
    last: int


def tokenize(text: str) -> list[Token]:
    """The tokens that may be changed or that give them their place; comments, conditions of the
    preprocessor and what static_assert holds are left out."""
    tokens: list[Token] = []
    define = False
    for match in _TOKEN.finditer(text):
        kind = match.lastgroup if match.lastgroup != "delimiter" else "raw"
        if kind == "define":
            define = True
        elif kind == "newline":
            define = False
        elif kind not in ("comment", "include", "continuation"):
            tokens.append(Token(kind, match.group(), match.start(), define))
    return _without_static_asserts(tokens)


def _without_static_asserts(tokens: list[Token]) -> list[Token]:
    kept: list[Token] = []
    index = 0
    while index < len(tokens):
        if tokens[index].text == "static_assert":
            index = closing(tokens, index + 1) + 2  # and the semicolon
            continue
        kept.append(tokens[index])
        index += 1
    return kept


def closing(tokens: list[Token], opening: int) -> int:
    """The index of the bracket that closes the one at index opening."""
    depth = 0
    for index in range(opening, len(tokens)):
        if tokens[index].text in _OPENING:
            depth += 1
        elif tokens[index].text in _OPENING.values():
            depth -= 1
            if depth == 0:
                return index
    raise ValueError("unbalanced brackets")


def split(tokens: list[Token], span: Span, separator: str) -> list[Span]:
    """The pieces of the span between the separators that stand in no bracket of their own."""
    pieces: list[Span] = []
    first = index = span.first
    while index <= span.last:
        if tokens[index].text in _OPENING:
            index = closing(tokens, index)
        elif tokens[index].text == separator:
            pieces.append(Span(first, index - 1))
            first = index + 1
        index += 1
    pieces.append(Span(first, span.last))
    return [piece for piece in pieces if piece.first <= piece.last]


def blocks(tokens: list[Token]) -> list[Span]:
    """The insides of all blocks of statements, nested ones included. Bodies of classes and
    namespaces, initializers and macros are none."""
    found = []
    for index, token in enumerate(tokens):
        if token.text != "{" or token.define or index == 0:
            continue
        if tokens[index - 1].text in _BEFORE_A_BLOCK:
            found.append(Span(index + 1, closing(tokens, index) - 1))
    return found


def statements(tokens: list[Token], block: Span) -> list[Span]:
    """The block's own statements in order; a label of a switch stands apart."""
    found = []
    index = block.first
    while index <= block.last:
        last = _end_of_statement(tokens, index, block.last)
        found.append(Span(index, last))
        index = last + 1
    return found


def _end_of_statement(tokens: list[Token], first: int, limit: int) -> int:
    label = tokens[first].text in ("case", "default")
    compound = tokens[first].text in _COMPOUND
    index = first
    while index <= limit:
        text = tokens[index].text
        if text in _OPENING:
            index = closing(tokens, index)
            following = tokens[index + 1].text if index < limit else ""
            if compound and text == "{" and following not in ("else", "catch"):
                return index
        elif text == (":" if label else ";"):
            return index
        index += 1
    return limit
