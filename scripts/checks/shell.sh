#!/bin/sh
# The shell scripts are clean to shellcheck.
cd "$(dirname "$0")/../.." || exit 1
command -v shellcheck >/dev/null || { echo "shellcheck is not installed"; exit 77; }
git ls-files -co --exclude-standard -- '*.sh' .ci/run | xargs -r shellcheck -x
