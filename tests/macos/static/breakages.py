"""Ways to break a good library: each changes the file's bytes so that one thing is wrong."""

import struct
from collections.abc import Callable

from macho import image as macho
from macho.image import Image, Section, Segment, slices
from macho.linking import EXPORT, LAZY_BIND, WEAK_BIND, linking_command


def _replace(data: bytearray, old: bytes, new: bytes, start: int = 0, size: int = -1) -> None:
    """Puts bytes in the place of as many others, which must be there."""
    end = len(data) if size < 0 else start + size
    at = data.index(old, start, end)
    assert len(old) == len(new)
    data[at : at + len(old)] = new


def _within(data: bytearray, piece: tuple[int, int], old: bytes, new: bytes) -> None:
    _replace(data, old, new, *piece)


def _segment(data: bytearray, name: str) -> Segment:
    return next(segment for segment in Image(bytes(data)).segments if segment.name == name)


def _section(data: bytearray, segment: str, name: str) -> Section:
    found = Image(bytes(data)).section(segment, name)
    assert found is not None
    return found


def _command(data: bytearray, kind: int) -> int:
    offset = Image(bytes(data)).command(kind)
    assert offset is not None
    return offset


def rename_an_export(data: bytearray) -> None:
    image = Image(bytes(data))
    piece = image.extent(linking_command(image), EXPORT)
    _within(data, piece, b"PauseCapture\0", b"PausedCaptur\0")


def take_from_another_library(data: bytearray) -> None:
    """The system has a function of the name as well."""
    image = Image(bytes(data))
    names = [dependency.name for dependency in image.dependencies]
    here = names.index("@rpath/libqor_conf_kxcommon64.dylib") + 1
    there = names.index("/usr/lib/libSystem.B.dylib") + 1
    piece = image.extent(linking_command(image), LAZY_BIND)
    symbol = b"\x40_memset_s\0"
    _within(data, piece, symbol + bytes([0x10 | here]), symbol + bytes([0x10 | there]))


def take_from_anywhere(data: bytearray) -> None:
    image = Image(bytes(data))
    names = [dependency.name for dependency in image.dependencies]
    here = names.index("@rpath/libqor_conf_vqutilc.dylib") + 1
    piece = image.extent(linking_command(image), LAZY_BIND)
    symbol = b"\x40_vq_trace_write\0"
    _within(data, piece, symbol + bytes([0x10 | here]), symbol + b"\x3e")


def rename_an_import(data: bytearray) -> None:
    image = Image(bytes(data))
    piece = image.extent(linking_command(image), LAZY_BIND)
    _within(data, piece, b"_CGDisplayBounds\0", b"_CGDisplayBroken\0")


def make_an_import_weak(data: bytearray) -> None:
    image = Image(bytes(data))
    piece = image.extent(linking_command(image), LAZY_BIND)
    _within(data, piece, b"\x40_CGDisplayBounds\0", b"\x41_CGDisplayBounds\0")


def keep_an_allocation(data: bytearray) -> None:
    """Nobody's replacement would take effect in this library."""
    image = Image(bytes(data))
    start, size = image.extent(linking_command(image), WEAK_BIND)
    assert size > 0
    data[start] = 0


def change_nothing(_: bytearray) -> None:
    """The counter-example is the list's."""


def rename_the_library(data: bytearray) -> None:
    _replace(data, b"@rpath/libqor_conf_capturemanager", b"@rpath/libqor_conf_capturemonitor")


def move_a_dependency(data: bytearray) -> None:
    _replace(data, b"@rpath/libqor_conf_vqutilc", b"/rpath/libqor_conf_vqutilc")


def turn_the_run_paths(data: bytearray) -> None:
    first = next(offset for kind, offset in Image(bytes(data)).commands if kind == macho.LC_RPATH)
    _replace(data, b"@loader_path\0", b"@loader_lost\0", first)


def raise_the_version(data: bytearray) -> None:
    struct.pack_into("<I", data, _command(data, macho.LC_ID_DYLIB) + 16, 9 << 16)


def lower_the_compatibility(data: bytearray) -> None:
    struct.pack_into("<I", data, _command(data, macho.LC_ID_DYLIB) + 20, 0)


def need_a_newer_system(data: bytearray) -> None:
    image = Image(bytes(data))
    command = image.command(macho.LC_VERSION_MIN_MACOSX)
    if command is not None:
        struct.pack_into("<I", data, command + 8, 14 << 16)
    else:
        struct.pack_into("<I", data, _command(data, macho.LC_BUILD_VERSION) + 12, 14 << 16)


def drop_a_flag(flag: int) -> Callable[[bytearray], None]:
    def drop(data: bytearray) -> None:
        flags = struct.unpack_from("<I", data, 24)[0]
        assert flags & flag
        struct.pack_into("<I", data, 24, flags & ~flag)

    return drop


def name_a_home(data: bytearray) -> None:
    strings = _section(data, "__TEXT", "__cstring")
    home = b"\0/Users/someone/src\0"
    assert strings.size > len(home)
    data[strings.offset : strings.offset + len(home)] = home


def run_from_a_home(data: bytearray) -> None:
    _replace(data, b"@loader_path/../lib\0", b"/home/someone/../lib"[:19] + b"\0")


def forget_the_table(data: bytearray) -> None:
    at = _segment(data, "__TEXT").command_offset
    _replace(data, b"__unwind_info\0\0\0", b"__unwound_info\0\0", at)


def forget_a_function(data: bytearray) -> None:
    """All that use the first of the encodings that many share."""
    section = _section(data, "__TEXT", "__unwind_info")
    common_at, common_count = struct.unpack_from("<2I", data, section.offset + 4)
    assert common_count > 0
    struct.pack_into("<I", data, section.offset + common_at, 0)


def refer_to_no_frame_entry(data: bytearray) -> None:
    section = _section(data, "__TEXT", "__unwind_info")
    common_at, common_count = struct.unpack_from("<2I", data, section.offset + 4)
    other = {"x86_64": 0x04000000, "arm64": 0x03000000}[Image(bytes(data)).architecture]
    for index in range(common_count):
        struct.pack_into("<I", data, section.offset + common_at + 4 * index, other)


def protect(name: str, most: int, first: int) -> Callable[[bytearray], None]:
    def protect(data: bytearray) -> None:
        struct.pack_into("<2I", data, _segment(data, name).command_offset + 56, most, first)

    return protect


def leave_writable(data: bytearray) -> None:
    struct.pack_into("<I", data, _segment(data, "__DATA_CONST").command_offset + 68, 0)


def overlap(data: bytearray) -> None:
    segment = _segment(data, "__DATA")
    page = macho.PAGE_SIZES[Image(bytes(data)).architecture]
    struct.pack_into("<Q", data, segment.command_offset + 24, segment.address - page)


def make_strings_writable(data: bytearray) -> None:
    section = _segment(data, "__DATA").command_offset + 72
    data[section : section + 16] = b"__cstring".ljust(16, b"\0")


def rename_plain_data(data: bytearray) -> None:
    """What is no constant, and holds no addresses, comes to lie among the constants."""
    at = _segment(data, "__DATA").command_offset
    constants = data.index(b"__const\0", at)
    data[constants : constants + 16] = b"__const_before\0\0"
    _replace(data, b"__data\0\0\0", b"__const\0\0", at)


def change_a_byte(data: bytearray) -> None:
    data[_section(data, "__TEXT", "__text").offset] ^= 1


def change_the_kind(data: bytearray) -> None:
    start = struct.unpack_from("<I", data, _command(data, macho.LC_CODE_SIGNATURE) + 8)[0]
    directory = data.index(bytes.fromhex("fade0c02"), start)
    struct.pack_into(">I", data, directory + 12, 0)


def drop_the_signature(data: bytearray) -> None:
    struct.pack_into("<I", data, _command(data, macho.LC_CODE_SIGNATURE), macho.LC_SOURCE_VERSION)


def append(data: bytearray) -> None:
    data += bytes(16)


def change_a_slice(data: bytearray) -> None:
    part = next(part for part in slices(bytes(data)) if part.architecture == "x86_64")
    data[part.offset + len(part.data) - 1] ^= 1


def change_the_signed_slice(data: bytearray) -> None:
    part = next(part for part in slices(bytes(data)) if part.architecture == "arm64")
    data[part.offset + Image(part.data).sections[0].offset] ^= 1


def misalign(data: bytearray) -> None:
    struct.pack_into(">I", data, 8 + 16, 3)


def forget_a_slice(data: bytearray) -> None:
    struct.pack_into(">I", data, 4, 1)
