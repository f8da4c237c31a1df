#!/usr/bin/env python3
"""Compares what a built target exports with its checked-in list, scripts/exports/PRESET.txt.

  exports.py PRESET            0 when they agree, 1 with the differences when not
  exports.py PRESET --update   writes the list

Listed are demangled names. Left out are those that the compiler decides on, not we: parts that it splits off, instances of the standard
library's templates; on linux everything weak (inline functions, type information, tables of virtual functions), on Windows the
inline members that exporting a class drags along and what else has no address in our sources."""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
TOOLS = {"linux": "", "windows-x86": "i686-w64-mingw32-", "windows-x64": "x86_64-w64-mingw32-"}
# Virtual tables, type information, thunks: weak on linux as a rule, and no name that a caller writes.
COMPILER_MADE = re.compile(r"^(vtable|VTT|typeinfo|typeinfo name|construction vtable|guard variable|reference temporary|TLS \w+ function)"
                           r" for |^(non-virtual|virtual) thunk to |(^|\s)(std|__gnu_cxx|__cxxabiv1)::[^(]*\(|^(std|__gnu_cxx)::| \[clone ")


def run(*command, text=None):
    return subprocess.run(command, check=True, capture_output=True, text=True, input=text).stdout


def linux_symbols():
    """Mangled names of the strong dynamic symbols."""
    listing = run("nm", "-D", "--defined-only", str(ROOT / "build/linux/bin/liblmkutils.so"))
    return [words[2] for words in map(str.split, listing.split("\n")) if len(words) == 3 and words[1] in "TDBR"]


def windows_symbols(preset):
    """Mangled names of the export table whose symbol is not in a section of its own that the linker may merge: those are
    inline functions."""
    tools, dll = TOOLS[preset], ROOT / f"build/{preset}/bin/liblmkutils.dll"
    exported, table = set(), run(tools + "objdump", "-p", str(dll))
    for line in table.split("[Ordinal/Name Pointer] Table", 1)[1].split("\n"):
        match = re.match(r"\s*\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+)?(?:[0-9a-fA-F]{4}\s+)?(\S+)$", line)
        if match:
            exported.add(match.group(1))
    merged = set()
    for object_file in (ROOT / f"build/{preset}/CMakeFiles").glob("lmk_o*.dir/**/*.obj"):
        for words in map(str.split, run(tools + "nm", "--defined-only", str(object_file)).split("\n")):
            # A function of a section of its own, .text$NAME, is one that several objects may bring.
            if len(words) == 3 and words[2].startswith(".text$"):
                merged.add(words[2][len(".text$"):])
    prefix = "_" if preset == "windows-x86" else ""
    return [name for name in exported if name not in merged and prefix + name not in merged]


def demangled(names):
    lines = run("c++filt", text="\n".join(names)).split("\n")
    return sorted({line for line in lines if line and not COMPILER_MADE.search(line)})


def main():
    if len(sys.argv) not in (2, 3) or sys.argv[1] not in TOOLS or sys.argv[2:] not in ([], ["--update"]):
        sys.exit("usage: exports.py " + "|".join(TOOLS) + " [--update]")
    preset = sys.argv[1]
    now = demangled(linux_symbols() if preset == "linux" else windows_symbols(preset))
    listed = ROOT / f"scripts/exports/{preset}.txt"
    if len(sys.argv) == 3:
        listed.parent.mkdir(exist_ok=True)
        listed.write_text("".join(name + "\n" for name in now))
        return
    before = listed.read_text().split("\n")[:-1] if listed.exists() else []
    for name in sorted(set(before) - set(now)):
        print("no longer exported: " + name)
    for name in sorted(set(now) - set(before)):
        print("newly exported: " + name)
    print(f"{len(now)} names; `scripts/exports.py {preset} --update` writes the list anew")
    sys.exit(now != before)


main()
