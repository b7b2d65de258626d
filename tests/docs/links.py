#!/usr/bin/env python3
"""Checks that what the Markdown files of a tree link to is there, headings included: links.py ROOT

Links to other machines are left aside. Folders that are built or hidden are not looked into."""

import os
import re
import sys
from pathlib import Path

LINK = re.compile(r"\[[^\]]*\]\(\s*<?([^)\s>]+)>?[^)]*\)|^\s*\[[^\]]+\]:\s*(\S+)", re.MULTILINE)
HEADING = re.compile(r"^ {0,3}#{1,6}\s+(.*?)\s*#*$", re.MULTILINE)
ELSEWHERE = re.compile(r"^[a-z][a-z0-9+.-]*:", re.IGNORECASE)


def markdown_files(root):
    for folder, folders, names in os.walk(root):
        folders[:] = [name for name in folders if not name.startswith((".", "build"))]
        yield from (Path(folder, name) for name in names if name.endswith(".md"))


def without_blocks(text):
    return re.sub(r"^ *(```+|~~~+).*?^ *\1 *$", "", text, flags=re.MULTILINE | re.DOTALL)


def anchors(file):
    """The names that a repository's web pages give a file's headings."""
    seen = {}
    for heading in HEADING.findall(without_blocks(file.read_text(encoding="utf-8"))):
        plain = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower()
        name = re.sub(r"[^\w\- ]", "", plain).replace(" ", "-")
        count = seen.get(name, 0)
        seen[name] = count + 1
        yield f"{name}-{count}" if count else name


def complaint(file, target):
    path, _, anchor = target.partition("#")
    linked = file if not path else file.parent / path
    if not linked.exists():
        return "no such file"
    if anchor and linked.suffix == ".md" and anchor not in anchors(linked):
        return "no such heading"
    return None


def main(root):
    checked, wrong = 0, []
    for file in sorted(markdown_files(root)):
        text = re.sub(r"`[^`\n]*`", "", without_blocks(file.read_text(encoding="utf-8")))
        for target in (one or other for one, other in LINK.findall(text)):
            if ELSEWHERE.match(target):
                continue
            checked += 1
            if reason := complaint(file, target):
                wrong.append(f"{file.relative_to(root)}: {target}: {reason}")
    if wrong:
        sys.exit("\n".join(wrong))
    if not checked:
        sys.exit(f"{root} holds no link to check")
    print(f"ok: {checked} links")


if __name__ == "__main__":
    main(sys.argv[1])
