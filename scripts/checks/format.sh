#!/bin/sh
# Every C++ file is laid out as .clang-format says.
cd "$(dirname "$0")/../.." || exit 1
command -v clang-format >/dev/null || { echo "clang-format is not installed"; exit 77; }
files=$(git -c 'safe.directory=*' ls-files -co --exclude-standard -- '*.h' '*.cpp') && [ -n "$files" ] || exit 1
echo "$files" | sort -u | xargs -n 20 -P "$(nproc)" clang-format --dry-run -Werror
