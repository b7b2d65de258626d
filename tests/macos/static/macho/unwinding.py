"""For which addresses an image says how to leave the function there: the compact table, and the
entries that it refers to where its own form does not suffice."""

import struct
from bisect import bisect_right
from dataclasses import dataclass

from .image import FormatError, Image, Section
from .linking import number

_REGULAR_PAGE, _COMPRESSED_PAGE = 2, 3
_MODE = 0x0F000000
_MODE_OTHER = {"x86_64": 0x04000000, "arm64": 0x03000000}  # as __eh_frame has it


@dataclass(frozen=True)
class Table:
    starts: list[int]
    encodings: list[int]

    def encoding_at(self, address: int) -> int:
        place = bisect_right(self.starts, address) - 1
        return self.encodings[place] if place >= 0 else 0


def compact_table(image: Image, section: Section) -> Table:
    content = image.content(section)
    version, common_at, common_count, _, _, index_at, index_count = struct.unpack_from(
        "<7I", content)
    if version != 1:
        raise FormatError(f"__unwind_info is of version {version}")
    common = list(struct.unpack_from(f"<{common_count}I", content, common_at))
    base = image.segments[0].address
    entries: list[tuple[int, int]] = []
    for index in range(index_count):
        first, page, _ = struct.unpack_from("<3I", content, index_at + 12 * index)
        if page:
            entries += _page(content, page, first, common)
        else:  # behind the last function
            entries.append((first, 0))
    if entries != sorted(entries, key=lambda entry: entry[0]):
        raise FormatError("__unwind_info is not in the order of addresses")
    return Table([base + start for start, _ in entries], [encoding for _, encoding in entries])


def _page(content: bytes, page: int, first: int, common: list[int]) -> list[tuple[int, int]]:
    kind, entry_at, count = struct.unpack_from("<IHH", content, page)
    if kind == _REGULAR_PAGE:
        return [struct.unpack_from("<2I", content, page + entry_at + 8 * index)
                for index in range(count)]
    if kind != _COMPRESSED_PAGE:
        raise FormatError(f"__unwind_info has a page of kind {kind}")
    own_at, own_count = struct.unpack_from("<2H", content, page + 8)
    encodings = common + list(struct.unpack_from(f"<{own_count}I", content, page + own_at))
    entries = struct.unpack_from(f"<{count}I", content, page + entry_at)
    return [(first + (entry & 0xFFFFFF), encodings[entry >> 24]) for entry in entries]


def frame_entries(image: Image, section: Section) -> list[tuple[int, int]]:
    """The first and the end address of each function that has an entry."""
    content = image.content(section)
    found = []
    at = 0
    while at < len(content):
        length, back = struct.unpack_from("<II", content, at)
        if length in (0, 0xFFFFFFFF) or at + 4 + length > len(content):
            raise FormatError(f"__eh_frame has an entry of length {length:#x} at {at:#x}")
        if back:
            encoding = _pointer_encoding(content, at + 4 - back)
            found.append(_function(content, at + 8, section.address, encoding))
        at += 4 + length
    return found


def _pointer_encoding(content: bytes, common: int) -> int:
    """How the entries that refer to this common one write their addresses."""
    version = content[common + 8]
    end = content.index(b"\0", common + 9)
    augmentation = content[common + 9 : end].decode()
    if version != 1 or not augmentation.startswith("z"):
        raise FormatError(f"__eh_frame has an unknown common entry, {augmentation!r}")
    at = end + 1
    for _ in range(4):  # two alignments, the return address's register, the length of what follows
        _, at = number(content, at)
    for letter in augmentation[1:]:
        if letter == "R":
            return content[at]
        if letter == "L":
            at += 1
        elif letter == "P":
            at += 1 + _SIZES[content[at] & 0x0F]
        else:
            raise FormatError(f"__eh_frame has an unknown common entry, {augmentation!r}")
    return 0


_SIZES = {0x0: 8, 0xB: 4, 0xC: 8}
_FORMATS = {0x0: "<q", 0xB: "<i", 0xC: "<q"}


def _function(content: bytes, at: int, address: int, encoding: int) -> tuple[int, int]:
    form = encoding & 0x0F
    if encoding & 0xF0 != 0x10 or form not in _FORMATS:
        raise FormatError(f"__eh_frame writes addresses as {encoding:#x}")
    start: int = struct.unpack_from(_FORMATS[form], content, at)[0] + address + at
    size: int = struct.unpack_from(_FORMATS[form], content, at + _SIZES[form])[0]
    return start, start + size


def refers_to_frame_entry(encoding: int, architecture: str) -> bool:
    return encoding & _MODE == _MODE_OTHER[architecture]
