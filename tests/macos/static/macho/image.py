"""A Mach-O image: its header, load commands, segments and symbols; and the slices of a universal
file. Addresses are those of the file, as if it were loaded where it was linked for."""

import struct
from collections.abc import Iterator
from dataclasses import dataclass, field

CPU_TYPES = {0x01000007: "x86_64", 0x0100000C: "arm64"}
PAGE_SIZES = {"x86_64": 0x1000, "arm64": 0x4000}

_MAGIC_64 = 0xFEEDFACF
_FAT_MAGIC = 0xCAFEBABE

FILE_TYPE_DYLIB = 6
FLAG_NO_UNDEFS = 0x1
FLAG_TWO_LEVEL = 0x80

LC_SYMTAB = 0x2
LC_LOAD_DYLIB = 0xC
LC_ID_DYLIB = 0xD
LC_SEGMENT_64 = 0x19
LC_RPATH = 0x8000001C
LC_CODE_SIGNATURE = 0x1D
LC_DYLD_INFO_ONLY = 0x80000022
LC_VERSION_MIN_MACOSX = 0x24
LC_SOURCE_VERSION = 0x2A
LC_BUILD_VERSION = 0x32
# Weak, re-exported, lazy and upward dependencies: no library of this project has any.
_OTHER_DEPENDENCIES = (0x80000018, 0x8000001F, 0x20, 0x80000023)

PLATFORM_MACOS = 1

READABLE, WRITABLE, EXECUTABLE = 1, 2, 4
SEGMENT_READ_ONLY = 0x10  # once its addresses are filled in

_STAB = 0xE0
_TYPE = 0x0E
_TYPE_UNDEFINED, _TYPE_SECTION = 0x0, 0xE
_WEAK_REFERENCE = 0x40


class FormatError(Exception):
    """The file is not what a reader of it expects."""


@dataclass(frozen=True)
class Section:
    segment: str
    name: str
    address: int
    size: int
    offset: int
    flags: int

    @property
    def end(self) -> int:
        return self.address + self.size

    @property
    def in_file(self) -> bool:
        return self.flags & 0xFF not in (0x1, 0xC, 0x12)  # zero-filled, of threads as well

    @property
    def has_code(self) -> bool:
        return self.flags & 0x80000400 != 0


@dataclass(frozen=True)
class Segment:
    name: str
    address: int
    size: int
    offset: int
    file_size: int
    most: int  # protection that it can be given
    first: int  # protection that it begins with
    flags: int
    sections: list[Section]
    command_offset: int


@dataclass(frozen=True)
class Symbol:
    name: str
    address: int
    section: int  # from 1, 0 for none
    library: int  # of an undefined one, from 1
    weak_reference: bool
    undefined: bool
    debugging: bool


@dataclass(frozen=True)
class Dylib:
    name: str
    current: str
    compatibility: str


def version_text(packed: int) -> str:
    parts = [packed >> 16, packed >> 8 & 0xFF, packed & 0xFF]
    return ".".join(map(str, parts))


def _c_string(data: bytes, offset: int) -> str:
    return data[offset : data.index(b"\0", offset)].decode()


def _fixed_string(data: bytes) -> str:
    return data.rstrip(b"\0").decode()


@dataclass
class Image:
    data: bytes
    architecture: str = ""
    file_type: int = 0
    flags: int = 0
    commands: list[tuple[int, int]] = field(default_factory=list)  # kind and offset
    header_end: int = 0
    segments: list[Segment] = field(default_factory=list)
    dependencies: list[Dylib] = field(default_factory=list)
    identity: Dylib | None = None
    run_paths: list[str] = field(default_factory=list)
    first_system: str = ""
    symbols: list[Symbol] = field(default_factory=list)

    def __post_init__(self) -> None:
        try:
            self._read()
        except (struct.error, ValueError, IndexError) as error:
            raise FormatError(f"the header or a load command is cut short: {error}") from error

    def _read(self) -> None:
        magic, cpu, _, self.file_type, count, size, self.flags, _ = struct.unpack_from(
            "<8I", self.data)
        if magic != _MAGIC_64 or cpu not in CPU_TYPES:
            raise FormatError(f"no 64-bit image for a known processor: {magic:#x}, {cpu:#x}")
        self.architecture = CPU_TYPES[cpu]
        self.header_end = 32 + size
        offset = 32
        for _ in range(count):
            kind, length = struct.unpack_from("<2I", self.data, offset)
            if length < 8 or offset + length > self.header_end:
                raise FormatError(f"load command {kind:#x} is {length} bytes long")
            self.commands.append((kind, offset))
            self._read_command(kind, offset)
            offset += length

    def _read_command(self, kind: int, offset: int) -> None:
        if kind == LC_SEGMENT_64:
            self.segments.append(self._segment(offset))
        elif kind == LC_LOAD_DYLIB:
            self.dependencies.append(self._dylib(offset))
        elif kind in _OTHER_DEPENDENCIES:
            raise FormatError(f"a dependency of an unexpected kind, {kind:#x}")
        elif kind == LC_ID_DYLIB:
            self.identity = self._dylib(offset)
        elif kind == LC_RPATH:
            self.run_paths.append(self._string_of(offset))
        elif kind == LC_VERSION_MIN_MACOSX:
            self.first_system = version_text(self._number(offset + 8))
        elif kind == LC_BUILD_VERSION:
            if self._number(offset + 8) != PLATFORM_MACOS:
                raise FormatError(f"built for platform {self._number(offset + 8)}, not macOS")
            self.first_system = version_text(self._number(offset + 12))
        elif kind == LC_SYMTAB:
            self.symbols = list(self._read_symbols(offset))

    def _number(self, offset: int) -> int:
        number: int = struct.unpack_from("<I", self.data, offset)[0]
        return number

    def _string_of(self, command: int) -> str:
        """The string of a command whose first field says where in the command it begins."""
        return _c_string(self.data, command + self._number(command + 8))

    def _dylib(self, offset: int) -> Dylib:
        current, compatibility = struct.unpack_from("<2I", self.data, offset + 16)
        return Dylib(self._string_of(offset), version_text(current), version_text(compatibility))

    def _segment(self, at: int) -> Segment:
        name, address, size, offset, file_size, most, first, count, flags = struct.unpack_from(
            "<16s4Q4I", self.data, at + 8)
        sections = []
        for index in range(count):
            section, segment, start, length, position, _, _, _, kind = struct.unpack_from(
                "<16s16s2Q5I", self.data, at + 72 + 80 * index)
            sections.append(Section(_fixed_string(segment), _fixed_string(section), start, length,
                                    position, kind))
        return Segment(_fixed_string(name), address, size, offset, file_size, most, first, flags,
                       sections, at)

    def _read_symbols(self, command: int) -> Iterator[Symbol]:
        table, count, strings, _ = struct.unpack_from("<4I", self.data, command + 8)
        for index in range(count):
            name, kind, section, description, value = struct.unpack_from(
                "<IBBHQ", self.data, table + 16 * index)
            yield Symbol(
                _c_string(self.data, strings + name), value,
                section if kind & _TYPE == _TYPE_SECTION else 0, description >> 8,
                description & _WEAK_REFERENCE != 0,
                kind & _STAB == 0 and kind & _TYPE == _TYPE_UNDEFINED, kind & _STAB != 0)

    @property
    def sections(self) -> list[Section]:
        return [section for segment in self.segments for section in segment.sections]

    def section(self, segment: str, name: str) -> Section | None:
        return next((section for section in self.sections
                     if (section.segment, section.name) == (segment, name)), None)

    def content(self, section: Section) -> bytes:
        return self.data[section.offset : section.offset + section.size]

    def command(self, kind: int) -> int | None:
        """The offset of the only command of the kind."""
        offsets = [offset for own, offset in self.commands if own == kind]
        if len(offsets) > 1:
            raise FormatError(f"{len(offsets)} load commands {kind:#x}")
        return offsets[0] if offsets else None

    def extent(self, command: int, field_offset: int) -> tuple[int, int]:
        """Offset and size of a piece of the file that a load command names."""
        start, size = struct.unpack_from("<2I", self.data, command + field_offset)
        if start + size > len(self.data):
            raise FormatError("a load command names bytes behind the file's end")
        return start, size

    def piece(self, command: int, field_offset: int) -> bytes:
        start, size = self.extent(command, field_offset)
        return self.data[start : start + size]

    def symbols_in(self, section: Section) -> list[Symbol]:
        number = self.sections.index(section) + 1
        return sorted((symbol for symbol in self.symbols
                       if symbol.section == number and not symbol.debugging),
                      key=lambda symbol: symbol.address)


@dataclass(frozen=True)
class Slice:
    architecture: str
    offset: int
    alignment: int
    data: bytes


def slices(data: bytes) -> list[Slice]:
    """The slices of a universal file."""
    magic, count = struct.unpack_from(">2I", data)
    if magic != _FAT_MAGIC:
        raise FormatError(f"no universal file: it begins with {magic:#x}")
    found = []
    for index in range(count):
        cpu, _, offset, size, power = struct.unpack_from(">5I", data, 8 + 20 * index)
        if offset + size > len(data):
            raise FormatError(f"the slice of {cpu:#x} ends behind the file's end")
        found.append(Slice(CPU_TYPES.get(cpu, f"{cpu:#x}"), offset, 1 << power,
                           data[offset : offset + size]))
    return found
