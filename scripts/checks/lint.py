#!/usr/bin/env python3
"""clang-tidy has nothing to say of the library's and the tool's sources (.clang-tidy has the rules and their reasons).

A file whose own text, included files of ours and rules were found clean once is not looked at again: the results are kept
in the cache folder."""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

import tree

CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "lmkutils/lint"
BUILD = tree.ROOT / "build/linux"
# clang takes the address of an array that is about to be filled for a use of it, and has no objects with two kinds of code.
EXTRA = ["--extra-arg=-Wno-uninitialized", "--extra-arg=-Wno-ignored-optimization-argument"]


def commands():
    """The compile command of each source of ours that this check looks at."""
    for entry in json.loads((BUILD / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["file"])
        if not path.is_relative_to(tree.ROOT) or path.is_relative_to(BUILD):
            continue
        name = str(path.relative_to(tree.ROOT))
        if not re.search(r"_test\.cpp$|/testing/", name):
            yield name, entry


def fingerprint(entry, rules):
    """Of all that the result depends on: rules, command, and every file of ours that is read."""
    words = [word for word in entry["command"].split() if not word.endswith("ccache")]
    listing = subprocess.run([*words[:words.index("-o")], "-MM", entry["file"]], cwd=entry["directory"], capture_output=True, text=True)
    if listing.returncode != 0:
        return None
    read = listing.stdout.replace("\\\n", " ").split(":", 1)[1].split()
    digest = hashlib.sha256((rules + entry["command"].replace(str(tree.ROOT), "")).encode())
    for path in sorted(read):
        digest.update((pathlib.Path(entry["directory"]) / path).read_bytes())
    return digest.hexdigest()


def lint(job):
    name, entry, rules = job
    print_of = fingerprint(entry, rules)
    mark = CACHE / print_of if print_of else None
    if mark and mark.exists():
        return False, None
    done = subprocess.run(["clang-tidy", "--quiet", "-p", str(BUILD), *EXTRA, entry["file"]], capture_output=True, text=True, cwd=tree.ROOT)
    if done.returncode != 0 or "warning:" in done.stdout:
        return True, f"{name}:\n{done.stdout}{done.stderr}"
    if mark:
        mark.touch()
    return True, None


def main():
    if not shutil.which("clang-tidy"):
        tree.skip("clang-tidy is not installed")
    if not (BUILD / "compile_commands.json").exists():
        tree.skip("the preset linux is not configured")
    CACHE.mkdir(parents=True, exist_ok=True)
    version = subprocess.run(["clang-tidy", "--version"], capture_output=True, text=True).stdout
    rules = version + " ".join(EXTRA) + tree.text(".clang-tidy")
    wanted = sys.argv[1:]
    unique = {name: entry for name, entry in commands() if not wanted or name in wanted}
    jobs = [(name, entry, rules) for name, entry in sorted(unique.items())]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(lint, jobs))
    looked = sum(1 for fresh, _ in results if fresh)
    tree.end([problem for _, problem in results if problem], f"{len(jobs)} files, {looked} of them changed")


main()
