#!/usr/bin/env python3
"""Every public header compiles alone, twice in a row, and (for Windows, where the cross compilers are) before and after
<windows.h>, whose macros must not rename what we declare; the umbrella header names all of them.

Public is what CMake installs: build/linux/public_headers.txt, written when the preset linux is configured."""
import concurrent.futures
import os
import re
import shutil
import subprocess
import tempfile

import tree

WARNINGS = ("-Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wnon-virtual-dtor -Wundef -Werror").split()
UMBRELLA = "lmkutils/lmkutils.h"
WINDOWS = "#include <windows.h>\n"


def public_headers():
    listed = tree.ROOT / "build/linux/public_headers.txt"
    if not listed.exists():
        tree.skip("the preset linux is not configured")
    return listed.read_text().split()


def umbrella_problems(headers):
    named = set(re.findall(r'#include "([^"]+)"', tree.text(UMBRELLA)))
    wanted = set(headers) - {UMBRELLA}
    on_disk = {name for name in tree.files("lmkutils/*.h") if not re.search(r"/(internal|os|testing|fault)/", name)} - {UMBRELLA}
    return ([f"{UMBRELLA}: {name} is missing" for name in sorted(wanted - named)]
            + [f"{UMBRELLA}: {name} is not installed" for name in sorted(named - wanted)]
            + [f"{name}: in no list of HEADERS" for name in sorted(on_disk - wanted)])


def programs(headers):
    """(title, compiler, text) of all that must compile. The 64-bit cross compiler sees the umbrella header only: what it would
    say of each header, the 32-bit one says."""
    for header in headers:
        yield header, "g++", f'#include "{header}"\n' * 2
        if shutil.which("i686-w64-mingw32-g++-posix"):
            yield f"{header} after windows.h", "i686-w64-mingw32-g++-posix", WINDOWS + f'#include "{header}"\n' * 2
    umbrella = f'#include "{UMBRELLA}"\n'
    for compiler in ("clang++", "i686-w64-mingw32-g++-posix", "x86_64-w64-mingw32-g++-posix"):
        if shutil.which(compiler):
            yield f"{UMBRELLA}, {compiler}", compiler, umbrella + (WINDOWS if "mingw" in compiler else "")


def compiles(folder, number, program):
    title, compiler, body = program
    path = os.path.join(folder, f"{number}.cpp")
    with open(path, "w", encoding="utf-8") as file:
        file.write(body)
    done = subprocess.run([compiler, "-std=c++20", *WARNINGS, f"-I{tree.ROOT}", "-fsyntax-only", path], capture_output=True, text=True)
    return None if done.returncode == 0 else f"{title}:\n{done.stderr}"


def main():
    headers = public_headers()
    problems = umbrella_problems(headers)
    todo = list(programs(headers))
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = pool.map(lambda job: compiles(folder, *job), enumerate(todo))
        problems += [problem for problem in results if problem]
    tree.end(problems, f"{len(headers)} headers, {len(todo)} compilations")


main()
