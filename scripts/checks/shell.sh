#!/bin/sh
# The shell scripts are clean to shellcheck.
cd "$(dirname "$0")/../.." || exit 1
command -v shellcheck >/dev/null || { echo "shellcheck is not installed"; exit 77; }
files=$(git -c 'safe.directory=*' ls-files -co --exclude-standard -- '*.sh' .ci/run) && [ -n "$files" ] || exit 1
echo "$files" | sort -u | xargs shellcheck -x
