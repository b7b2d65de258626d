"""What an image gives to others and takes from them, as the dynamic linker reads it: the export
trie and the binding instructions."""

from collections.abc import Iterator
from dataclasses import dataclass, replace

from .image import LC_DYLD_INFO_ONLY, FormatError, Image

# Of the command's pairs of offset and size.
REBASE, BIND, WEAK_BIND, LAZY_BIND, EXPORT = 8, 16, 24, 32, 40


@dataclass(frozen=True)
class Binding:
    symbol: str
    library: int  # from 1, as the image lists its dependencies; 0 or less has special meanings
    address: int
    weak: bool  # may be missing


def number(data: bytes, at: int) -> tuple[int, int]:
    """An unsigned number in groups of seven bits, and where the next byte is."""
    value = shift = 0
    while True:
        byte = data[at]
        at += 1
        value |= (byte & 0x7F) << shift
        shift += 7
        if byte < 0x80:
            return value, at


def _signed(data: bytes, at: int) -> tuple[int, int]:
    value, after = number(data, at)
    bits = 7 * (after - at)
    return (value - (1 << bits) if value >> (bits - 1) else value), after


def _string(data: bytes, at: int) -> tuple[str, int]:
    end = data.index(b"\0", at)
    return data[at:end].decode(), end + 1


def linking_command(image: Image) -> int:
    command = image.command(LC_DYLD_INFO_ONLY)
    if command is None:
        raise FormatError("no LC_DYLD_INFO_ONLY, so nothing says what it imports and exports")
    return command


def exports(image: Image) -> dict[str, int]:
    """The address by name of all that the image exports."""
    trie = image.piece(linking_command(image), EXPORT)
    found: dict[str, int] = {}
    waiting = [(0, "")] if trie else []
    seen = set()
    while waiting:
        at, prefix = waiting.pop()
        if at in seen:
            raise FormatError("the export trie has a loop")
        seen.add(at)
        size, at = number(trie, at)
        if size:
            flags, position = number(trie, at)
            # Another library's symbols, or functions that choose among others.
            if flags & 0x18:
                raise FormatError(f"{prefix} is exported in an unexpected way, {flags:#x}")
            found[prefix] = number(trie, position)[0]
        at += size
        children, at = trie[at], at + 1
        for _ in range(children):
            edge, at = _string(trie, at)
            child, at = number(trie, at)
            waiting.append((child, prefix + edge))
    return found


@dataclass(frozen=True)
class _Place:
    symbol: str = ""
    library: int = 0
    weak: bool = False
    address: int = 0


def bindings(image: Image, which: int) -> list[Binding]:
    return list(_bindings(image, image.piece(linking_command(image), which), which == LAZY_BIND))


def _bindings(image: Image, code: bytes, lazy: bool) -> Iterator[Binding]:
    at, place = 0, _Place()
    while at < len(code):
        instruction, immediate = code[at] & 0xF0, code[at] & 0x0F
        at += 1
        if instruction == 0x00:
            if not lazy:  # there, each symbol's instructions end so
                return
        elif instruction == 0x10:
            place = replace(place, library=immediate)
        elif instruction == 0x20:
            library, at = number(code, at)
            place = replace(place, library=library)
        elif instruction == 0x30:
            place = replace(place, library=immediate - 16 if immediate else 0)
        elif instruction == 0x40:
            symbol, at = _string(code, at)
            place = replace(place, symbol=symbol, weak=immediate & 1 != 0)
        elif instruction == 0x50:
            if immediate != 1:
                raise FormatError(f"{place.symbol} is bound as type {immediate}")
        elif instruction == 0x60:
            _, at = _signed(code, at)
        elif instruction == 0x70:
            offset, at = number(code, at)
            place = replace(place, address=image.segments[immediate].address + offset)
        elif instruction == 0x80:
            offset, at = number(code, at)
            place = _moved(place, offset)
        else:
            addresses, at = _run_of(instruction, immediate, code, at)
            for step in addresses:
                yield Binding(place.symbol, place.library, place.address, place.weak)
                place = _moved(place, 8 + step)


def _moved(place: _Place, distance: int) -> _Place:
    return replace(place, address=(place.address + distance) % (1 << 64))


def _run_of(instruction: int, immediate: int, code: bytes, at: int) -> tuple[list[int], int]:
    """What lies between one bound address and the next, for each that an instruction binds."""
    if instruction == 0x90:
        return [0], at
    if instruction == 0xA0:
        step, at = number(code, at)
        return [step], at
    if instruction == 0xB0:
        return [8 * immediate], at
    if instruction == 0xC0:
        count, at = number(code, at)
        step, at = number(code, at)
        return [step] * count, at
    raise FormatError(f"unknown binding instruction {instruction:#x}")


def rebased(image: Image) -> list[int]:
    """The addresses that hold an address of the image itself."""
    code = image.piece(linking_command(image), REBASE)
    found: list[int] = []
    at = address = 0
    while at < len(code):
        instruction, immediate = code[at] & 0xF0, code[at] & 0x0F
        at += 1
        count, step = 0, 0
        if instruction == 0x00:
            break
        if instruction == 0x10:
            if immediate != 1:
                raise FormatError(f"an address is moved as type {immediate}")
        elif instruction == 0x20:
            offset, at = number(code, at)
            address = image.segments[immediate].address + offset
        elif instruction == 0x30:
            offset, at = number(code, at)
            address = (address + offset) % (1 << 64)
        elif instruction == 0x40:
            address += 8 * immediate
        elif instruction == 0x50:
            count = immediate
        elif instruction == 0x60:
            count, at = number(code, at)
        elif instruction == 0x70:
            count = 1
            step, at = number(code, at)
        elif instruction == 0x80:
            count, at = number(code, at)
            step, at = number(code, at)
        else:
            raise FormatError(f"unknown rebase instruction {instruction:#x}")
        for _ in range(count):
            found.append(address)
            address = (address + 8 + step) % (1 << 64)
    return found
