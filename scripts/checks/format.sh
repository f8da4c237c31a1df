#!/bin/sh
# Every C++ file is laid out as .clang-format says.
cd "$(dirname "$0")/../.." || exit 1
command -v clang-format >/dev/null || { echo "clang-format is not installed"; exit 77; }
git ls-files -co --exclude-standard -- '*.h' '*.cpp' | sort -u | xargs -r -n 20 -P "$(nproc)" clang-format --dry-run -Werror
