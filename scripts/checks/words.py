#!/usr/bin/env python3
"""Words that do not belong into the tree: left-over markers, places of one machine, hosts, and references to papers that a
reader does not have. And names of files that Windows cannot have."""
import re

import tree

SELF = "scripts/checks/words.py"
WORDS = [
    (re.compile(r"\b(TODO|FIXME|XXX|HACK)\b"), "a left-over marker"),
    (re.compile(r"(?<![\w.$}/])/(work|root|home/\w+|tmp/(wt|lmk|o))(/|\b)"), "a place of one machine"),
    (re.compile(r"https?://(?!(www\.)?(w3\.org|unicode\.org|ietf\.org|rfc-editor\.org|sourceware\.org)\b)"), "an address"),
    (re.compile(r"\bdebian\.(org|net)\b"), "a host"),
    (re.compile(r"\bParts? \d"), "a reference that a reader cannot follow"),
    (re.compile(r"\b(the|this|our) (brief|spec|issue)\b", re.I), "a reference that a reader cannot follow"),
    (re.compile(r"\b(decisions|design|faults|examples|windows)\.md\b"), "a reference that a reader cannot follow"),
    (re.compile("[\u200b-\u200f\u202a-\u202e\u2060\ufeff]"), "an invisible character"),
]
DEVICE = re.compile(r"(^|/)(con|prn|aux|nul|com\d|lpt\d)(\.[^/]*)?(/|$)", re.I)


def main():
    problems, names = [], [name for name in tree.files() if name != SELF and not name.startswith("fuzz/corpus/")]
    problems += [f"{name}: no name for a file on Windows" for name in tree.files() if DEVICE.search(name) or re.search(r'[<>:"|?*\\]|[. ]$', name)]
    looked = 0
    for name in names:
        try:
            body = (tree.ROOT / name).read_text(encoding="utf-8")
        except UnicodeDecodeError:
            continue      # samples of broken text
        looked += 1
        for number, line in enumerate(body.split("\n"), 1):
            for pattern, what in WORDS:
                match = pattern.search(line)
                if match:
                    problems.append(f"{name}:{number}: {what}: {match.group()!r}")
    tree.end(problems, f"{looked} files")


main()
