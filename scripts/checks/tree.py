"""What the checks share: the files of the tree, and how a check ends."""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]


def files(*patterns):
    """Paths relative to the root of what git knows and of what it would take up; all files without patterns."""
    # The clone may be another user's: the run is root's where it installs what is missing.
    command = ["git", "-c", "safe.directory=*", "-C", str(ROOT), "ls-files", "-co", "--exclude-standard", "--", *patterns]
    listed = subprocess.run(command, check=True, capture_output=True, text=True).stdout.split("\n")
    return sorted(name for name in set(listed) if name and (ROOT / name).is_file())


def sources():
    """C++ files of the library, the tool, the examples; those that stand under bench/ and fuzz/ too."""
    return files("*.h", "*.cpp")


def text(name):
    return (ROOT / name).read_text(encoding="utf-8", errors="replace")


def code_lines(name):
    """(number, line) without comments and the contents of strings; include lines keep theirs."""
    body = re.sub(r"/\*.*?\*/", lambda m: re.sub(r"[^\n]", " ", m.group()), text(name), flags=re.S)
    for number, line in enumerate(body.split("\n"), 1):
        if not re.match(r"\s*#\s*include", line):
            line = re.sub(r'"(\\.|[^"\\])*"', '""', line)
        yield number, re.sub(r"//.*", "", line)


def end(problems, what):
    """Prints the problems, or what was looked at, and ends the check with its status."""
    for problem in problems:
        print(problem)
    print(f"{len(problems)} problem(s); {what}")
    sys.exit(1 if problems else 0)


def skip(why):
    print(why)
    sys.exit(77)
