#!/bin/bash
# Builds and tests everything, on all targets, installing what is missing.
#
#   test.sh              all stages
#   test.sh STAGE...     some: linux windows-x86 windows-x64 linux-asan linux-tsan install-linux install-windows-x86 checks
#   test.sh --quick      linux and checks
#
# A stage that fails does not keep the next one from running. The last line is "N passed, N failed, N skipped", over all
# tests of all targets; before it stands a line for each target or stage that was skipped, with the reason. The exit status
# is 0 when nothing failed. Logs: build/logs.
set -u
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)
cd "$root" || exit 2
# shellcheck source=scripts/ensure-packages.sh
. "$here/ensure-packages.sh"

all_stages="linux windows-x86 windows-x64 linux-asan linux-tsan install-linux install-windows-x86 checks"
case "${1:-}" in
  "") stages=$all_stages ;;
  --quick) stages="linux checks" ;;
  *) stages="$*" ;;
esac
for stage in $stages; do
  case " $all_stages " in *" $stage "*) ;; *) echo "unknown stage: $stage (one of: $all_stages)" >&2; exit 2 ;; esac
done

passed=0 failed=0 skipped=0
summary=() skips=()
jobs=$(nproc)
logs="$root/build/logs"
mkdir -p "$logs"
exec </dev/null

note() { summary+=("$(printf '%-20s %s' "$1" "$2")"); }
skip() { skips+=("SKIPPED $1: $2"); }

# A later run in another folder still finds its objects: paths below the source tree are hashed relative to it.
use_ccache() {
  command -v ccache >/dev/null || return 0
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1
}

fail_stage() {   # fail_stage STAGE WHAT LOG: one failed test for a stage that could not even test
  failed=$((failed + 1))
  note "$1" "FAILED: $2"
  echo "--- $1: $2; the end of $3:"
  grep -nE 'error|FAILED|Error|undefined reference' "$3" | head -n 40
  tail -n 40 "$3"
}

build() {   # build STAGE PRESET: all that can be built, so that one run tells all errors
  local stage=$1 preset=$2 log="$logs/$1-build.log"
  if ! { cmake --preset "$preset" && cmake --build --preset "$preset" -j "$jobs" -- -k 0; } > "$log" 2>&1; then
    fail_stage "$stage" "does not build" "$log"
    return 1
  fi
}

# Adds the figures of a ctest result file to the sums, and leaves them in "figures".
count_junit() {
  local p f s
  figures=$(python3 - "$1" <<'PY'
import sys, xml.etree.ElementTree as tree
suite = tree.parse(sys.argv[1]).getroot()
total, bad = int(suite.get("tests")), int(suite.get("failures"))
out = int(suite.get("skipped") or 0) + int(suite.get("disabled") or 0)
print(total - bad - out, bad, out)
PY
  ) || return
  read -r p f s <<< "$figures"
  passed=$((passed + p)) failed=$((failed + f)) skipped=$((skipped + s))
  figures="$p passed, $f failed, $s skipped"
}

# run_tests STAGE PRESET COMMAND...: ctest, with COMMAND before it, once in each of the memory pools' modes. The second
# Windows target, the slowest to test, runs in the normal one only: the pools' code is that of the others.
run_tests() {
  run_mode normal LUMORA_MEM= "$@"
  [ "$1" != windows-x64 ] || return 0
  run_mode higher-speed LUMORA_MEM_HIGHERSPEED_LARGERFOOTPRINT=1 "$@"
  run_mode direct LUMORA_MEM_MAXSPEED_MAXFOOTPRINT=1 "$@"
}

run_mode() {   # run_mode MODE VARIABLE=VALUE STAGE PRESET COMMAND...
  local mode=$1 setting=$2 stage=$3 preset=$4 log="$logs/$3-test-$1.log" junit="$logs/$3-$1.xml" status figures=""; shift 4
  rm -f "$junit"
  env "$setting" "$@" ctest --preset "$preset" -j "$jobs" --no-tests=error --output-junit "$junit" > "$log" 2>&1
  status=$?
  if ! count_junit "$junit" 2>> "$log"; then
    fail_stage "$stage" "the tests do not run (exit status $status)" "$log"
    return
  fi
  note "$stage" "$mode: $figures"
  if [ $status != 0 ]; then
    echo "--- $stage, $mode (log: $log)"
    grep -E ': Failure|ERROR: |WARNING: Thread|runtime error' -A 12 "$log" | head -n 200
    sed -n '/The following tests FAILED/,$p' "$log"
  fi
}

check() {   # check NAME COMMAND...: one check is one test; status 77 means that it cannot be made here
  local name=$1 log="$logs/check-$1.log"; shift
  "$@" > "$log" 2>&1
  case $? in
    0) passed=$((passed + 1)) ;;
    77) skipped=$((skipped + 1)); skip "the check of $name" "$(tail -n 1 "$log")" ;;
    *) failed=$((failed + 1)); note "check of $name" "FAILED"; echo "--- check of $name:"; tail -n 60 "$log" ;;
  esac
}

stage_checks() {
  local file before=$passed
  # The headers are compiled for all targets; clang-tidy reads the compile commands.
  lmk_ensure clang clang-format clang-tidy shellcheck git g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix ||
    skip "part of the checks" "their tools cannot be installed (log: $LMK_APT_DIR/install.log)"
  cmake --preset linux > "$logs/checks-configure.log" 2>&1
  for file in "$here"/checks/*.py "$here"/checks/*.sh; do
    if [ -x "$file" ]; then check "$(basename "${file%.*}")" "$file"; fi
  done
  note checks "$((passed - before)) passed"
}

stage_linux() {
  lmk_ensure graphviz gettext || true     # a test for each skips itself without it
  lmk_ensure zip unzip libarchive-tools || true     # others to read the archives of, and to give them ours
  build linux linux || return
  run_tests linux linux env
  check exports-linux "$here/exports.py" linux
}

# Where the kernel scatters mappings over more bits than the sanitizers expect, run without scattering.
sanitizer_runner() {
  if [ "$(cat /proc/sys/vm/mmap_rnd_bits 2>/dev/null || echo 28)" -gt 28 ] && setarch -R true 2>/dev/null; then
    echo "setarch -R"
  else
    echo env
  fi
}
stage_sanitizer() {
  # shellcheck disable=SC2046
  build "$1" "$1" && run_tests "$1" "$1" $(sanitizer_runner)
}

windows_deps() {   # windows_deps STAGE TRIPLE: the compiler and the dependencies
  local log="$logs/$1-deps.log"
  if ! lmk_ensure "$([ "$2" = i686-w64-mingw32 ] && echo g++-mingw-w64-i686-posix || echo g++-mingw-w64-x86-64-posix)"; then
    skip "$1" "the cross compiler cannot be installed (log: $LMK_APT_DIR/install.log)"
    return 1
  fi
  if ! "$here/build-windows-deps.sh" "$2" > "$log" 2>&1; then
    fail_stage "$1" "the dependencies do not build" "$log"
    return 1
  fi
}

wine_bits() {   # wine_bits 32|64: can programs of that kind run here
  if [ -z "${LMK_WINE64:-}" ]; then lmk_ensure_wine; fi
  if [ "$1" = 32 ]; then [ "$LMK_WINE32" = yes ]; else [ "$LMK_WINE64" = yes ]; fi
}

stage_windows() {   # stage_windows STAGE TRIPLE BITS
  windows_deps "$1" "$2" || return
  wine_bits "$3"     # before the configuration, which looks for it
  build "$1" "$1" || return
  check "exports-$1" "$here/exports.py" "$1"
  if wine_bits "$3"; then
    run_tests "$1" "$1" "$here/wine-session.sh"
  else
    skip "the tests of $1" "$LMK_WINE_WHY"
    note "$1" "built, not tested"
  fi
}

stage_install() {   # stage_install STAGE PRESET RUNNER: an outside program against the installed tree
  local kind log
  build "$1" "$2" || return
  for kind in cmake pkg-config; do
    log="$logs/$1-$kind.log"
    if "$here/consumer-test.sh" "$2" "$kind" "${3:-}" > "$log" 2>&1; then
      passed=$((passed + 1)); note "$1" "by $kind: passed"
    else
      failed=$((failed + 1)); note "$1" "by $kind: FAILED"
      echo "--- $1 by $kind:"; tail -n 40 "$log"
    fi
  done
}

base_packages="g++ cmake ninja-build pkg-config python3 ccache libgtest-dev libgmock-dev libutfcpp-dev libcli11-dev zlib1g-dev
  libpcre2-dev"
started=$(date +%s)
# shellcheck disable=SC2086
lmk_ensure $base_packages || { echo "cannot go on without these packages" >&2; exit 2; }
use_ccache

for stage in $stages; do
  begun=$(date +%s)
  echo "== $stage"
  case $stage in
    checks) stage_checks ;;
    linux) stage_linux ;;
    linux-asan | linux-tsan) stage_sanitizer "$stage" ;;
    windows-x86) stage_windows windows-x86 i686-w64-mingw32 32 ;;
    windows-x64) stage_windows windows-x64 x86_64-w64-mingw32 64 ;;
    install-linux) stage_install install-linux linux ;;
    install-windows-x86)
      if windows_deps install-windows-x86 i686-w64-mingw32; then
        if wine_bits 32; then
          stage_install install-windows-x86 windows-x86 "$here/wine-session.sh"
        else
          skip install-windows-x86 "$LMK_WINE_WHY"
        fi
      fi ;;
  esac
  echo "   $(($(date +%s) - begun)) s"
done

echo
printf '%s\n' "${summary[@]}"
echo "total time: $(($(date +%s) - started)) s"
if [ ${#skips[@]} -gt 0 ]; then printf '%s\n' "${skips[@]}"; fi
echo "$passed passed, $failed failed, $skipped skipped"
[ "$failed" = 0 ]
