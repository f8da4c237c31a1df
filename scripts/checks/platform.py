#!/usr/bin/env python3
"""No platform or compiler test and no operating-system header outside lmkutils/os and export.h; no thread_local with a
destructor anywhere; no time_t in public headers (32 bits on windows-x86)."""
import re

import tree

PLATFORM = re.compile(r"\b(_?_?WIN(32|64)(__)?|_?_?(linux|unix|APPLE|CYGWIN|ANDROID)_?_?|__MINGW\w*|_MSC_\w+|__GNUC\w*|__clang\w*"
                      r"|_M_\w+|__(x86_64|i386|amd64|aarch64)__|_GLIBCXX_\w+|__GLIBC\w*|_POSIX_\w+|__SIZEOF_\w+)\b")
CONDITION = re.compile(r"\s*#\s*(if|ifdef|ifndef|elif|elifdef)\b")
HEADER = re.compile(r"\s*#\s*include\s*<([^>]+)>")
# All that may stand in angle brackets: the C++20 library, and the dependencies of the project.
STANDARD = set("""algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes climits
clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib
cstring ctime cuchar cwchar cwctype deque exception execution filesystem format forward_list fstream functional future
initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map memory memory_resource mutex new
numbers numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore set shared_mutex source_location
span sstream stack stdexcept stop_token streambuf string string_view strstream syncstream system_error thread tuple type_traits
typeindex typeinfo unordered_map unordered_set utility valarray variant vector version""".split())
DEPENDENCIES = re.compile(r"(utf8\.h|utf8/.*|gtest/.*|gmock/.*|benchmark/.*|CLI/.*|pcre2\.h|zlib\.h|(minizip/)?(unzip|zip|ioapi)\.h|lmkutils/.*)$")
# Types of a thread_local whose destruction is nothing: built-in ones and plain pointers.
TRIVIAL = re.compile(r"thread_local\s+((constinit|const|static|volatile|unsigned|signed)\s+)*"
                     r"((bool|char|short|int|long|float|double|(std::)?(size_t|ptrdiff_t|u?int(8|16|32|64|ptr)_t))\b[^*;=({]*[;={\[(]"
                     r"|[\w:<>, ]+\*[^;=({]*[;={])")


def in_seam(name):
    return name.startswith("lmkutils/os/") or name == "lmkutils/export.h"


def is_public_header(name):
    return name.startswith("lmkutils/") and name.endswith(".h") and not re.search(r"/(internal|os|testing)/", name)


def main():
    problems, names = [], tree.sources()
    for name in names:
        for number, line in tree.code_lines(name):
            where = f"{name}:{number}"
            if re.search(r"\bthread_local\b", line) and not TRIVIAL.search(line):
                problems.append(f"{where}: thread_local of a type that may have a destructor")
            if is_public_header(name) and re.search(r"\btime_t\b", line):
                problems.append(f"{where}: time_t in a public header")
            if in_seam(name):
                continue
            if CONDITION.match(line) and PLATFORM.search(line):
                problems.append(f"{where}: tests for a platform or a compiler outside the seam")
            header = HEADER.match(line)
            # The benchmarks may include their peers, whatever these are called.
            if header and not name.startswith("bench/"):
                if header.group(1) not in STANDARD and not DEPENDENCIES.match(header.group(1)):
                    problems.append(f"{where}: <{header.group(1)}> outside the seam")
    tree.end(problems, f"{len(names)} files")


main()
