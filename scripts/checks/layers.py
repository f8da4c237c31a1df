#!/usr/bin/env python3
"""Includes point down or stay level, by scripts/layers.txt; headers include each other in no circle."""
import fnmatch
import re

import tree

INCLUDE = re.compile(r'\s*#\s*include\s+["<](lmkutils/[^">]+|tools/[^">]+)[">]')


def read_layers():
    layers, report = {}, set()
    for line in tree.text("scripts/layers.txt").split("\n"):
        words = line.split("#")[0].split()
        if words[:1] == ["report"]:
            report.add(words[1])
        elif words:
            layers[words[0]] = int(words[1])
    return layers, report


def is_test(name):
    stem = name.rsplit(".", 1)[0]
    return stem.endswith("_test") or "/testing/" in name or "/fault/" in name


def layer_of(name, layers):
    stem = name.rsplit(".", 1)[0]
    fits = [pattern for pattern in layers if fnmatch.fnmatchcase(stem, pattern)]
    return layers[max(fits, key=len)] if fits else None


def circles(graph):
    done, path, found = set(), [], []

    def visit(name):
        if name in path:
            found.append("headers in a circle: " + " -> ".join(path[path.index(name):] + [name]))
        elif name not in done:
            path.append(name)
            for other in graph.get(name, ()):
                visit(other)
            path.pop()
            done.add(name)

    for name in graph:
        visit(name)
    return found


def main():
    layers, report = read_layers()
    problems, graph, looked = [], {}, 0
    for name in tree.files("lmkutils/*.h", "lmkutils/*.cpp", "tools/*.h", "tools/*.cpp"):
        if is_test(name):
            continue
        looked += 1
        own = layer_of(name, layers)
        if own is None:
            problems.append(f"{name}: no line of scripts/layers.txt fits")
            continue
        for number, line in tree.code_lines(name):
            match = INCLUDE.match(line)
            if not match:
                continue
            other = match.group(1)
            if name.endswith(".h"):
                graph.setdefault(name, []).append(other)
            theirs = layer_of(other, layers)
            if is_test(other):
                problems.append(f"{name}:{number}: {other} is for tests")
            elif theirs is None:
                problems.append(f"{name}:{number}: {other} has no layer")
            elif theirs > own and not (name.endswith(".cpp") and other in report):
                problems.append(f"{name}:{number}: layer {own} includes {other} of layer {theirs}")
    tree.end(problems + circles(graph), f"{looked} files")


main()
