"""What must hold of a library built for macOS, one function for each property: each returns what is
wrong, in sentences about the library."""

import re
from bisect import bisect_right
from collections.abc import Callable, Iterator
from dataclasses import dataclass
from pathlib import Path

from macho import image as macho
from macho.image import Image, Section, Segment, Symbol
from macho.linking import BIND, LAZY_BIND, WEAK_BIND, Binding, bindings, exports, rebased
from macho.signature import AD_HOC, signature
from macho.unwinding import compact_table, frame_entries, refers_to_frame_entry

FIRST_SYSTEM = {"x86_64": "10.13", "arm64": "11.0"}

_SYSTEM = "/usr/lib/libSystem.B.dylib"
_ALLOCATION = "/usr/lib/libc++.1.dylib"
_FRAMEWORKS = "/System/Library/Frameworks/"
_DEPENDENCIES = {
    "qor_conf_vqutilc": [_ALLOCATION, _SYSTEM],
    "qor_conf_kxcommon64": [_ALLOCATION, _SYSTEM],
    "qor_conf_capturemanager": [
        "@rpath/libqor_conf_vqutilc.dylib",
        "@rpath/libqor_conf_kxcommon64.dylib",
        "/usr/lib/libobjc.A.dylib",
        f"{_FRAMEWORKS}CoreGraphics.framework/Versions/A/CoreGraphics",
        f"{_FRAMEWORKS}CoreFoundation.framework/Versions/A/CoreFoundation",
        f"{_FRAMEWORKS}IOKit.framework/Versions/A/IOKit",
        f"{_FRAMEWORKS}AppKit.framework/Versions/C/AppKit",
        _ALLOCATION,
        _SYSTEM,
    ],
}
_RUN_PATHS = ["@loader_path", "@loader_path/../lib"]
# The linker exports these two from every library: where its header is.
_OF_THE_LINKER = {"__mh_dylib_header", "___dso_handle"}


@dataclass(frozen=True)
class Expected:
    library: str  # as the build calls it
    architecture: str
    exports: Path
    imports: Path
    version: str
    machine_paths: list[str]  # directories of the machine that built it

    @property
    def file_name(self) -> str:
        return f"lib{self.library}.dylib"


def _compared(kind: str, actual: set[str], kept: set[str], kept_in: Path) -> list[str]:
    missing = [f"{kind} no {line}, which {kept_in.name} lists" for line in sorted(kept - actual)]
    return missing + [f"{kind} {line}, which {kept_in.name} does not list"
                      for line in sorted(actual - kept)]


def check_exports(image: Image, expected: Expected) -> list[str]:
    names = exports(image).keys() - _OF_THE_LINKER
    wrong = [f"exports {name}, which is no name of C's" for name in names if name[:1] != "_"]
    kept = set(expected.exports.read_text().split())
    return wrong + _compared("exports", {name[1:] for name in names}, kept, expected.exports)


@dataclass(frozen=True)
class _KeptImport:
    line: str  # without the version and the architecture
    since: str
    weak: bool


def _kept_imports(expected: Expected) -> list[_KeptImport]:
    found = []
    for line in expected.imports.read_text().splitlines():
        if not line or line.startswith("#"):
            continue
        library, symbol, since, *marks = line.split()
        if not set(marks) & FIRST_SYSTEM.keys() or expected.architecture in marks:
            kind = [mark for mark in marks if mark not in FIRST_SYSTEM]
            found.append(_KeptImport(" ".join([library, symbol, *kind]), since, "weak" in marks))
    return found


def _number_of(version: str) -> list[int]:
    return [int(part) for part in version.split(".")]


def check_imports(image: Image, expected: Expected) -> list[str]:
    kept = _kept_imports(expected)
    first = FIRST_SYSTEM[expected.architecture]
    newer = [f"needs {entry.line}, which macOS has since {entry.since} only, to run on {first}"
             for entry in kept if entry.since != "-" and not entry.weak
             and _number_of(entry.since) > _number_of(first)]
    coalesced = {binding.symbol for binding in bindings(image, WEAK_BIND)}
    actual = {_import_line(image, binding, binding.symbol in coalesced)
              for which in (BIND, LAZY_BIND) for binding in bindings(image, which)}
    return newer + _compared("imports", actual, {entry.line for entry in kept}, expected.imports)


def _import_line(image: Image, binding: Binding, coalesced: bool) -> str:
    library = (Path(image.dependencies[binding.library - 1].name).name if binding.library > 0
               else f"(anywhere: {binding.library})")
    marks = ["coalesced"] * coalesced + ["weak"] * binding.weak
    return " ".join([library, binding.symbol, *marks])


def check_load_commands(image: Image, expected: Expected) -> list[str]:
    identity = image.identity or macho.Dylib("nothing", "", "")
    major, minor, *_ = expected.version.split(".")
    facts = [
        ("is of architecture", image.architecture, expected.architecture),
        ("is a file of type", image.file_type, macho.FILE_TYPE_DYLIB),
        ("calls itself", identity.name, f"@rpath/{expected.file_name}"),
        ("is of version", identity.current, expected.version),
        ("is compatible with version", identity.compatibility, f"{major}.{minor}.0"),
        ("needs", sorted(dependency.name for dependency in image.dependencies),
         sorted(_DEPENDENCIES[expected.library])),
        ("looks for libraries in", image.run_paths, _RUN_PATHS),
        ("runs on macOS", image.first_system, f"{FIRST_SYSTEM[expected.architecture]}.0"),
    ]
    wrong = [f"{what} {actual}, not {right}" for what, actual, right in facts if actual != right]
    for flag, meaning in ((macho.FLAG_TWO_LEVEL, "which library each import is from"),
                          (macho.FLAG_NO_UNDEFS, "that every import is from some library")):
        if not image.flags & flag:
            wrong.append(f"does not say {meaning}")
    for dependency in image.dependencies:
        if dependency.name.startswith("@") and dependency.compatibility != f"{major}.{minor}.0":
            wrong.append(f"needs {dependency.name} of version {dependency.compatibility}")
    return wrong


# What a debugger needs lies in the symbol table, and names the places of object files on purpose.
def check_paths(image: Image, expected: Expected) -> list[str]:
    areas = [("a load command", image.data[: image.header_end])]
    areas += [(f"{section.segment},{section.name}", image.content(section))
              for section in image.sections if section.in_file]
    names = [symbol.name.encode() for symbol in image.symbols if not symbol.debugging]
    areas.append(("a symbol's name", b"\0" + b"\0".join(names)))
    return sorted({f"has a path of the machine that built it in {where}: {path}"
                   for where, content in areas for path in _paths(content, expected)})


def _paths(content: bytes, expected: Expected) -> Iterator[str]:
    for found in re.finditer(rb"(?<=\0)/[\w.+@-]+/[ -~]*", content):
        if not found.group().startswith((b"/usr/lib/", b"/System/Library/")):
            yield found.group().decode()
    for directory in expected.machine_paths:
        if directory.encode() in content:
            yield directory


def check_unwinding(image: Image, _: Expected) -> list[str]:
    text = image.section("__TEXT", "__text")
    compact = image.section("__TEXT", "__unwind_info")
    frames = image.section("__TEXT", "__eh_frame")
    if text is None or compact is None:
        return ["has no __TEXT,__text with __TEXT,__unwind_info"]
    table = compact_table(image, compact)
    entries = sorted(frame_entries(image, frames)) if frames else []
    starts = [start for start, _ in entries]
    functions = [symbol for symbol in image.symbols_in(text)
                 if not _is_a_jump(image, symbol, text)]
    wrong = [] if functions else ["names no function in its symbol table"]
    for function in functions:
        encoding = table.encoding_at(function.address)
        place = bisect_right(starts, function.address) - 1
        in_frames = place >= 0 and function.address < entries[place][1]
        if encoding == 0 and not in_frames:
            wrong.append(f"does not say how to leave {function.name}")
        elif refers_to_frame_entry(encoding, image.architecture) and not in_frames:
            wrong.append(f"refers to __eh_frame for {function.name}, which is not there")
    return wrong


_JUMP_TO_X16 = bytes.fromhex("00021fd6")


def _is_a_jump(image: Image, symbol: Symbol, text: Section) -> bool:
    """The linker's own, to what is too far for an instruction: it has no frame to leave."""
    if image.architecture != "arm64" or not symbol.name.endswith("__thunk"):
        return False
    third = text.offset + symbol.address - text.address + 8
    return image.data[third : third + 4] == _JUMP_TO_X16


_PROTECTION = {
    "__TEXT": macho.READABLE | macho.EXECUTABLE,
    "__DATA_CONST": macho.READABLE | macho.WRITABLE,
    "__DATA": macho.READABLE | macho.WRITABLE,
    "__LINKEDIT": macho.READABLE,
}
_CONSTANT = {
    "__TEXT": ["__cstring", "__gcc_except_tab", "__unwind_info", "__eh_frame", "__objc_methname"],
    "__DATA_CONST": ["__got", "__cfstring", "__objc_imageinfo"],
}


def check_protection(image: Image, _: Expected) -> list[str]:
    wrong = []
    for segment in image.segments:
        wrong += _wrong_protection(segment)
        if segment.most & macho.EXECUTABLE:
            continue
        wrong += [f"has code in {segment.name},{section.name}, which cannot run"
                  for section in segment.sections if section.has_code]
    for segment_name, names in _CONSTANT.items():
        wrong += [f"has {section.segment},{section.name}, which belongs in {segment_name}"
                  for section in image.sections
                  if section.name in names and section.segment != segment_name]
    constants = image.section("__DATA", "__const")
    return [*wrong, *_wrong_places(image),
            *(_needlessly_writable(image, constants) if constants else [])]


def _wrong_protection(segment: Segment) -> Iterator[str]:
    for what, protection in (("begins with", segment.first), ("can get", segment.most)):
        if protection & macho.WRITABLE and protection & macho.EXECUTABLE:
            yield f"has {segment.name}, which {what} both writing and running"
        if protection != _PROTECTION.get(segment.name):
            yield f"has {segment.name}, which {what} protection {protection}"
    if segment.name == "__DATA_CONST" and not segment.flags & macho.SEGMENT_READ_ONLY:
        yield "has __DATA_CONST, which stays writable once its addresses are filled in"


def _wrong_places(image: Image) -> Iterator[str]:
    """Pages are given to the segments whole: two must not share one."""
    page = macho.PAGE_SIZES[image.architecture]
    end = 0
    for segment in image.segments:
        if segment.address % page or segment.offset % page:
            yield f"has {segment.name}, which does not begin with a page"
        if segment.address < end:
            yield f"has {segment.name}, which begins in the segment before it"
        end = segment.address + max(segment.size, segment.file_size)
        for section in segment.sections:
            if not segment.address <= section.address <= section.end <= end:
                yield f"has {section.segment},{section.name}, which is not in its segment"


def _needlessly_writable(image: Image, constants: Section) -> list[str]:
    """Only what holds addresses, such as tables of virtual functions, must be filled in at first.
    For systems as old as the oldest here, linkers leave that in __DATA."""
    addresses = sorted({*rebased(image), *(binding.address
                                           for which in (BIND, WEAK_BIND, LAZY_BIND)
                                           for binding in bindings(image, which))})
    symbols = image.symbols_in(constants)
    ends = [symbol.address for symbol in symbols[1:]] + [constants.end]
    return [f"has {symbol.name} in {constants.segment},{constants.name}, though it holds no address"
            for symbol, end in zip(symbols, ends)
            if symbol.address < end
            and bisect_right(addresses, end - 1) == bisect_right(addresses, symbol.address - 1)]


def check_signature(image: Image, _: Expected) -> list[str]:
    signed = signature(image)
    if signed is None:
        return ["is not signed: no Mac with this processor runs it"]
    wrong = [] if signed.flags & AD_HOC else [f"is not signed ad hoc: {signed.flags:#x}"]
    text, link_edit = image.segments[0], image.segments[-1]
    file_end = link_edit.offset + link_edit.file_size
    if not signed.end == file_end == len(image.data) or signed.start % 16:
        wrong.append("does not end with its signature")
    if signed.code_limit != signed.start:
        wrong.append(f"is signed up to {signed.code_limit}, not to the signature, {signed.start}")
    pages = -(-signed.code_limit // signed.page_size)
    if len(signed.hashes) != pages:
        wrong.append(f"has {pages} pages, of which {len(signed.hashes)} are signed")
    if signed.text_extent != (text.offset, text.file_size):
        wrong.append(f"has its text signed as {signed.text_extent}")
    wrong += [f"is not what was signed on page {page}" for page in signed.wrong_pages(image.data)]
    return wrong + [f"is signed with another part {slot}" for slot in signed.wrong_parts()]


def check_universal(data: bytes, thin: dict[str, bytes], expected: Expected) -> list[str]:
    """Of a universal file, and the files that it was made of by architecture."""
    found = macho.slices(data)
    wrong = []
    if sorted(part.architecture for part in found) != sorted(thin):
        wrong.append(f"is for {[part.architecture for part in found]}")
    for part in found:
        name = part.architecture
        if part.data != thin.get(name):
            wrong.append(f"has a slice for {name} that is not the library built for it")
        if part.alignment != macho.PAGE_SIZES.get(name) or part.offset % part.alignment:
            wrong.append(f"has its slice for {name} at {part.offset}, {part.alignment}-aligned")
        if name == "arm64":
            wrong += check_signature(Image(part.data), expected)
    if found and len(data) != max(part.offset + len(part.data) for part in found):
        wrong.append("goes on behind its last slice")
    return wrong


CHECKS: dict[str, Callable[[Image, Expected], list[str]]] = {
    "exports": check_exports,
    "imports": check_imports,
    "load_commands": check_load_commands,
    "paths": check_paths,
    "unwinding": check_unwinding,
    "protection": check_protection,
    "signature": check_signature,
}
