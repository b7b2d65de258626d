#!/usr/bin/env python3
"""Runs Doxygen, for which whatever is not documented is an error, and looks for each exported
function of the C interface in what it wrote: reference.py DOXYFILE EXPORTS"""

import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
from pathlib import Path


def run_doxygen(doxyfile, output):
    settings = Path(doxyfile).read_text(encoding="utf-8")
    settings += f"\nOUTPUT_DIRECTORY = {output}\nGENERATE_HTML = NO\nGENERATE_XML = YES\n"
    if shutil.which("doxygen") is None:
        sys.exit("there is no doxygen")
    done = subprocess.run(["doxygen", "-"], input=settings, text=True, capture_output=True, check=False)
    if done.returncode != 0 or done.stderr:
        sys.exit(f"doxygen ended with {done.returncode}:\n{done.stderr}")


def text_of(member):
    descriptions = (member.find("briefdescription"), member.find("detaileddescription"))
    return "".join("".join(part.itertext()) for part in descriptions if part is not None).strip()


def documented_functions(output):
    for file in Path(output, "xml").glob("*.xml"):
        for member in ElementTree.parse(file).iter("memberdef"):
            if member.get("kind") == "function" and text_of(member):
                yield member.findtext("name")


def main(doxyfile, exports):
    exported = {name for name in Path(exports).read_text(encoding="utf-8").split() if name.startswith("CapMgr_")}
    if not exported:
        sys.exit(f"{exports} lists no function of the C interface")
    with tempfile.TemporaryDirectory() as output:
        run_doxygen(doxyfile, output)
        missing = exported - set(documented_functions(output))
    if missing:
        sys.exit("not in the reference: " + ", ".join(sorted(missing)))
    print(f"ok: {len(exported)} functions")


if __name__ == "__main__":
    main(*sys.argv[1:])
