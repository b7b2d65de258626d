#!/usr/bin/env python3
"""Breaks a copy of a good library, and expects the check of that property to refuse it for that.

    counterexamples.py WHAT --library NAME ... FILE     as for check.py
"""

import dataclasses
import sys
import tempfile
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path

import breakages
from arguments import Arguments, parse
from check import complaints
from macho import image as macho


@dataclass(frozen=True)
class Counterexample:
    property: str
    breaks: Callable[[bytearray], None]
    complaint: str  # part of what the check must say
    kept_import: tuple[str, str] | None = None  # to be changed in the list, and into what


COUNTEREXAMPLES = {
    "a_renamed_export": Counterexample(
        "exports", breakages.rename_an_export, "exports no CapMgr_PauseCapture, which"),
    "an_unlisted_export": Counterexample(
        "exports", breakages.rename_an_export, "exports CapMgr_PausedCaptur, which"),
    "an_import_of_another_library": Counterexample(
        "imports", breakages.take_from_another_library,
        "imports libSystem.B.dylib _memset_s, which"),
    "an_import_of_any_library": Counterexample(
        "imports", breakages.take_from_anywhere, "imports (anywhere: -2) _vq_trace_write, which"),
    "a_renamed_import": Counterexample(
        "imports", breakages.rename_an_import, "imports no CoreGraphics _CGDisplayBounds, which"),
    "an_import_that_may_be_missing": Counterexample(
        "imports", breakages.make_an_import_weak,
        "imports CoreGraphics _CGDisplayBounds weak, which"),
    "an_allocation_of_its_own": Counterexample(
        "imports", breakages.keep_an_allocation, "imports libc++.1.dylib __Znwm, which"),
    "an_import_of_a_newer_system": Counterexample(
        "imports", breakages.change_nothing,
        "_CGDisplayBounds, which macOS has since 14.0 only, to run on",
        ("_CGDisplayBounds 10.0", "_CGDisplayBounds 14.0")),
    "another_install_name": Counterexample(
        "load_commands", breakages.rename_the_library,
        "calls itself @rpath/libqor_conf_capturemonitor.dylib, not"),
    "an_absolute_dependency": Counterexample(
        "load_commands", breakages.move_a_dependency, "'/rpath/libqor_conf_vqutilc.dylib'"),
    "another_run_path": Counterexample(
        "load_commands", breakages.turn_the_run_paths, "looks for libraries in ['@loader_lost'"),
    "another_version": Counterexample(
        "load_commands", breakages.raise_the_version, "is of version 9.0.0"),
    "another_compatibility": Counterexample(
        "load_commands", breakages.lower_the_compatibility, "is compatible with version 0.0.0"),
    "a_newer_system": Counterexample(
        "load_commands", breakages.need_a_newer_system, "runs on macOS 14.0.0, not"),
    "a_flat_namespace": Counterexample(
        "load_commands", breakages.drop_a_flag(macho.FLAG_TWO_LEVEL),
        "does not say which library each import is from"),
    "undefined_imports": Counterexample(
        "load_commands", breakages.drop_a_flag(macho.FLAG_NO_UNDEFS),
        "does not say that every import is from some library"),
    "a_path_in_a_string": Counterexample(
        "paths", breakages.name_a_home, "in __TEXT,__cstring: /Users/someone/src"),
    "a_path_in_a_load_command": Counterexample(
        "paths", breakages.run_from_a_home, "in a load command: /home/someone/"),
    "no_unwind_table": Counterexample(
        "unwinding", breakages.forget_the_table, "has no __TEXT,__text with __TEXT,__unwind_info"),
    "functions_without_unwinding": Counterexample(
        "unwinding", breakages.forget_a_function, "does not say how to leave "),
    "functions_without_frame_entry": Counterexample(
        "unwinding", breakages.refer_to_no_frame_entry, "refers to __eh_frame for "),
    "writable_code": Counterexample(
        "protection", breakages.protect("__TEXT", 7, 5),
        "has __TEXT, which can get both writing and"),
    "code_that_begins_writable": Counterexample(
        "protection", breakages.protect("__TEXT", 7, 7),
        "has __TEXT, which begins with both writing and"),
    "executable_data": Counterexample(
        "protection", breakages.protect("__DATA", 7, 3),
        "has __DATA, which can get both writing and"),
    "writable_constants": Counterexample(
        "protection", breakages.leave_writable, "has __DATA_CONST, which stays writable"),
    "overlapping_segments": Counterexample(
        "protection", breakages.overlap, "has __DATA, which begins in the segment before it"),
    "writable_strings": Counterexample(
        "protection", breakages.make_strings_writable,
        "has __DATA,__cstring, which belongs in __TEXT"),
    "constants_without_addresses": Counterexample(
        "protection", breakages.rename_plain_data, "in __DATA,__const, though it holds no address"),
    "a_changed_byte": Counterexample(
        "signature", breakages.change_a_byte, "is not what was signed on page "),
    "another_kind_of_signature": Counterexample(
        "signature", breakages.change_the_kind, "is not signed ad hoc: 0x0"),
    "no_signature": Counterexample("signature", breakages.drop_the_signature, "is not signed: "),
    "bytes_behind_the_signature": Counterexample(
        "signature", breakages.append, "does not end with its signature"),
    "another_slice": Counterexample(
        "universal", breakages.change_a_slice,
        "has a slice for x86_64 that is not the library built"),
    "a_badly_signed_slice": Counterexample(
        "universal", breakages.change_the_signed_slice, "is not what was signed on page "),
    "a_misaligned_slice": Counterexample("universal", breakages.misalign, "8-aligned"),
    "one_slice_only": Counterexample("universal", breakages.forget_a_slice, "is for ['x86_64']"),
}


def _with_another_list(arguments: Arguments, old: str, new: str, place: Path) -> Arguments:
    text = arguments.expected.imports.read_text()
    assert text.count(old) == 1
    place.write_text(text.replace(old, new))
    return dataclasses.replace(
        arguments, expected=dataclasses.replace(arguments.expected, imports=place))


def judge(arguments: Arguments) -> str:
    """What is wrong with the check; nothing if it does what it is for."""
    example = COUNTEREXAMPLES[arguments.broken]
    arguments = dataclasses.replace(arguments, property=example.property)
    data = bytearray(arguments.file.read_bytes())
    before = complaints(arguments, bytes(data))
    if before:
        return f"the library is refused before it is broken: {before[0]}"
    example.breaks(data)
    with tempfile.TemporaryDirectory() as work:
        if example.kept_import:
            arguments = _with_another_list(arguments, *example.kept_import, Path(work) / "kept.txt")
        found = complaints(arguments, bytes(data))
    if not any(example.complaint in complaint for complaint in found):
        return f"the check does not say '{example.complaint}', but {found or 'nothing'}"
    print(f"ok: {next(text for text in found if example.complaint in text)}")
    return ""


def main() -> int:
    wrong = judge(parse(__doc__, sys.argv[1:], list(COUNTEREXAMPLES)))
    if wrong:
        print(wrong, file=sys.stderr)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
