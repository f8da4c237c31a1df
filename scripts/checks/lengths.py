#!/usr/bin/env python3
"""No source file far beyond 500 lines; tells the longest ones and the middle one."""
import tree

LIMIT = 550


def main():
    lengths = sorted((len(tree.text(name).split("\n")) - 1, name) for name in tree.sources())
    for lines, name in lengths[-5:]:
        print(f"{lines:5} {name}")
    print(f"{lengths[len(lengths) // 2][0]:5} in the middle")
    tree.end([f"{name}: {lines} lines, more than {LIMIT}" for lines, name in lengths if lines > LIMIT], f"{len(lengths)} files")


main()
