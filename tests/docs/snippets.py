#!/usr/bin/env python3
"""Compiles and links the programs that README.md and docs/*.md show.

A ```c or ```cpp block is compiled when it has a main, or when a comment stands before it:
    <!-- compiled: c11 -->          as a file of its own
    <!-- compiled: c11 body -->     as the body of a function of `unsigned int capture`
"""

import argparse
import re
import subprocess
import sys
import tempfile
from pathlib import Path

BLOCK = re.compile(
    r"(?:^<!-- compiled: (?P<standard>\S+)(?P<body> body)? -->\n+)?^```(?P<language>cpp|c)\n(?P<code>.*?)^```$",
    re.MULTILINE | re.DOTALL,
)
STANDARDS = {"c": "c11", "cpp": "c++17"}


def in_a_function(code):
    lines = code.splitlines(keepends=True)
    includes = "".join(line for line in lines if line.startswith("#include"))
    rest = "".join("\n" if line.startswith("#include") else line for line in lines)
    return (
        f"{includes}void snippet(unsigned int capture);\n"
        f"void snippet(unsigned int capture) {{\n(void)capture;\n{{\n{rest}}}\n}}\n"
    )


def programs(file):
    text = file.read_text(encoding="utf-8")
    for block in BLOCK.finditer(text):
        code, language = block["code"], block["language"]
        if not block["standard"] and not re.search(r"\bint main\(", code):
            continue
        where = f"{file.name}:{text.count(chr(10), 0, block.start('code')) + 1}"
        standard = block["standard"] or STANDARDS[language]
        yield where, language, standard, in_a_function(code) if block["body"] else code


def compile_one(arguments, folder, language, standard, code):
    """What the compiler says against it; nothing when it is right."""
    source = Path(folder, f"snippet.{language}")
    source.write_text(code, encoding="utf-8")
    compiler = arguments.cc if language == "c" else arguments.cxx
    command = [compiler, f"-std={standard}", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-O1"]
    command += arguments.flags.split()
    command += [f"-I{arguments.root / path}" for path in ("include", "support", "platform/linux/include")]
    command += [str(source), "-o", str(Path(folder, "snippet"))]
    if re.search(r"\bint main\(", code):
        command += [f"-L{arguments.lib}", "-lqor_conf_capturemanager", "-lqor_conf_vqutilc",
                    f"-Wl,-rpath,{arguments.lib}", "-pthread"]
    else:
        command += ["-c"]
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    return done.stderr if done.returncode != 0 else ""


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--root", type=Path, required=True)
    parser.add_argument("--lib", required=True)
    parser.add_argument("--cc", required=True)
    parser.add_argument("--cxx", required=True)
    parser.add_argument("--flags", default="")
    arguments = parser.parse_args()
    files = [arguments.root / "README.md", *sorted((arguments.root / "docs").glob("*.md"))]
    found = [program for file in files for program in programs(file)]
    if not found:
        sys.exit("no block to compile")
    failed = False
    for where, language, standard, code in found:
        with tempfile.TemporaryDirectory() as folder:
            errors = compile_one(arguments, folder, language, standard, code)
        print(f"{where}: {standard}: {errors or 'ok'}")
        failed = failed or bool(errors)
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
