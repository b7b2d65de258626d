"""An image's code signature: which kind it is, and whether the file is still what was signed."""

import hashlib
import struct
from dataclasses import dataclass

from .image import LC_CODE_SIGNATURE, FormatError, Image

_EMBEDDED_SIGNATURE = 0xFADE0CC0
_CODE_DIRECTORY = 0xFADE0C02
_SLOT_CODE_DIRECTORY = 0
_SHA_256 = 2
_FIRST_WITH_TEXT_EXTENT = 0x20400

AD_HOC = 0x2


@dataclass(frozen=True)
class Signature:
    start: int  # in the file
    end: int
    flags: int
    code_limit: int  # how many bytes of the file it is about
    text_extent: tuple[int, int]
    page_size: int
    hashes: list[bytes]  # of the pages
    special_hashes: dict[int, bytes]  # of the signature's own parts, by slot
    parts: dict[int, bytes]

    def wrong_pages(self, data: bytes) -> list[int]:
        return [page for page, expected in enumerate(self.hashes)
                if hashlib.sha256(self._page(data, page)).digest() != expected]

    def _page(self, data: bytes, page: int) -> bytes:
        start = page * self.page_size
        return data[start : min(start + self.page_size, self.code_limit)]

    def wrong_parts(self) -> list[int]:
        """Slots whose hash is none of the part's; an empty slot has nothing but zeros."""
        return [slot for slot, expected in self.special_hashes.items()
                if expected != (hashlib.sha256(self.parts[slot]).digest()
                                if slot in self.parts else bytes(32))]


def signature(image: Image) -> Signature | None:
    command = image.command(LC_CODE_SIGNATURE)
    if command is None:
        return None
    start, size = image.extent(command, 8)
    blob = image.data[start : start + size]
    magic, length, count = struct.unpack_from(">3I", blob)
    if magic != _EMBEDDED_SIGNATURE or length > size:
        raise FormatError(f"the signature begins with {magic:#x} and is {length} bytes long")
    parts = {}
    for index in range(count):
        slot, at = struct.unpack_from(">2I", blob, 12 + 8 * index)
        parts[slot] = blob[at : at + int(struct.unpack_from(">I", blob, at + 4)[0])]
    if _SLOT_CODE_DIRECTORY not in parts:
        raise FormatError("the signature has no code directory")
    return _read_directory(parts.pop(_SLOT_CODE_DIRECTORY), parts, start, start + size)


def _read_directory(directory: bytes, parts: dict[int, bytes], start: int, end: int) -> Signature:
    (magic, _, version, flags, hashes_at, _, special, count, limit, hash_size, kind, _,
     page_power) = struct.unpack_from(">9I4B", directory)
    if magic != _CODE_DIRECTORY or kind != _SHA_256 or hash_size != 32:
        raise FormatError(f"the code directory begins with {magic:#x}, hashes of kind {kind}")
    if version < _FIRST_WITH_TEXT_EXTENT:
        raise FormatError(f"the code directory of version {version:#x} does not name the text")

    def hash_at(slot: int) -> bytes:
        return directory[hashes_at + 32 * slot : hashes_at + 32 * (slot + 1)]

    return Signature(start, end, flags, limit, struct.unpack_from(">2Q", directory, 64),
                     1 << page_power, [hash_at(slot) for slot in range(count)],
                     {slot: hash_at(-slot) for slot in range(1, special + 1)}, parts)
