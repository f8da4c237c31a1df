#!/bin/sh
# Measures the library beside other libraries that do the same work.
#   scripts/bench.sh [AREA...] [--rows EXPRESSION] [--turns N] [--processes N] [--write]
# AREA is symbol, trace, locks, tasks, time, messages, localizer, paths, lines, buffers, binary, sections, zip, queries, memory
# or catalogue; all of them when none is given. --write puts the tables into docs/performance.md too. Peers that this machine
# does not have and cannot install are left out.
set -eu
cd "$(dirname "$0")/.."
. scripts/ensure-packages.sh

lmk_ensure g++ cmake ninja-build libutfcpp-dev zlib1g-dev libpcre2-dev libbenchmark-dev python3
for peer in libspdlog-dev libfmt-dev libboost-dev libboost-filesystem-dev libboost-log-dev libtbb-dev libicu-dev qtbase5-dev \
    qttools5-dev-tools gettext libsqlite3-dev libmimalloc2.0 libjemalloc2 libtcmalloc-minimal4 zip unzip libzip-dev; do
  lmk_ensure "$peer" || echo "without the peer $peer" >&2
done

# The library as it is shipped: the preset's options, shared; a folder of its own.
log=build/bench.log
mkdir -p build
{ cmake --preset linux -B build/bench -DLMK_BUILD_BENCH=ON -DLMK_BUILD_TESTS=OFF &&
  cmake --build build/bench; } >"$log" 2>&1 || { tail -n 40 "$log" >&2; echo "the build failed: $log" >&2; exit 1; }

for argument in "$@"; do
  shift
  if [ "$argument" = --write ]; then set -- "$@" --write docs/performance.md; else set -- "$@" "$argument"; fi
done
exec python3 bench/report.py --programs build/bench/bin "$@"
