#!/usr/bin/env python3
"""Links in the documents lead to files of the tree, and the program that the README shows is the compiled one, word for
word."""
import re

import tree

LINK = re.compile(r"\[[^\]]*\]\(([^)#\s]+)[^)]*\)")


def main():
    problems, documents = [], tree.files("*.md")
    for name in documents:
        for number, line in enumerate(tree.text(name).split("\n"), 1):
            for target in LINK.findall(line):
                if "://" not in target and not (tree.ROOT / name).parent.joinpath(target).exists():
                    problems.append(f"{name}:{number}: leads nowhere: {target}")
    if "```cpp\n" + tree.text("examples/first/first.cpp") + "```" not in tree.text("README.md"):
        problems.append("README.md: its first program is not examples/first/first.cpp")
    tree.end(problems, f"{len(documents)} documents")


main()
