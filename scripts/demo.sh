#!/bin/bash
# Builds the library and shows its main job: string-resource files, read and rendered through the whole chain, in four
# languages, with tracing on; what the memory pools hold; and a catalogue of the files in /usr/share, with questions about
# it. Installs what is missing.
#
#   demo.sh [BUILD_OPTION...]     options for "cmake --build", such as -j1
set -eu
here=$(cd "$(dirname "$0")" && pwd)
cd "$here/.."
# shellcheck source=scripts/ensure-packages.sh
. "$here/ensure-packages.sh"
lmk_ensure g++ cmake ninja-build libutfcpp-dev zlib1g-dev libpcre2-dev libcli11-dev libgtest-dev libgmock-dev || exit 1

log=build/logs/demo-build.log
mkdir -p build/logs
echo "Building (log: $log) ..."
if ! { cmake --preset linux && cmake --build --preset linux --target lmkutil "$@"; } > "$log" 2>&1; then
  tail -n 40 "$log" >&2
  exit 1
fi

tool=build/linux/bin/lmkutil
trace=$(mktemp -d)
trap 'rm -rf "$trace"' EXIT
export LUMORA_TRACE_FORMAT=json TRACKING_ID=demo
echo "The tool below is $tool; its messages go through symbols, tables and the tracer of the library."

title() { printf '\n\033[1m%s\033[0m\n' "$1"; }
show() {  # show ARGUMENT...: as one would type them
  local argument
  for argument in "$@"; do
    case $argument in
      *[!A-Za-z0-9_./=-]* | "") printf " '%s'" "$argument" ;;
      *) printf ' %s' "$argument" ;;
    esac
  done
  echo
}
run() {   # run NAME ARGUMENT...: shows the command, runs it with a trace of its own
  local name=$1; shift
  printf '$ %slmkutil' "${LUMORA_LANG:+LUMORA_LANG=$LUMORA_LANG }"; show "$@"
  LUMORA_TRACE="$trace/$name.json" "$tool" "$@" || echo "(exit status $?)"
}
[ -t 1 ] || title() { printf '\n%s\n' "$1"; }

title "A message in four languages"
for language in en de fr ja; do
  run "show-$language" strings show "share/lumora/$language/lmkutil.lmtrb" WRONG_COUNT SIZE 2 1
done

title "The tool speaks them too, and one that shows what is not translated"
for language in en de fr ja pseudo; do
  LUMORA_LANG=$language run "unknown-$language" strings show share/lumora/en/lmkutil.lmtrb NO_SUCH_TAG 2>&1
done

title "Some messages of the file"
run list strings list share/lumora/en/lmkutil.lmtrb | grep -v '^HELP' | head -n 8

title "The tool's own texts, checked in all languages"
run check strings check share/lumora

title "A translation with mistakes"
printf 'SIZE.value={0} of {1} bytes\nOPEN.value=Cannot open {0}.\nQUIT.value=Quit\n' > "$trace/en.lmtrb"
printf 'SIZE.value={0} Bytes\nOPEN.value={0 lässt sich nicht öffnen.\nOPEN.value=x\nSAVE value\nQUIT.Value=Ende' > "$trace/de.lmtrb"
(cd "$trace" && tool="$here/../$tool" && run mistakes strings check en.lmtrb de.lmtrb)

title "A translation on its way to translators, and back"
run export strings export share/lumora/en/lmkutil.lmtrb share/lumora/it/lmkutil.lmtrb "$trace/it.po"
grep -A 3 '"WRONG_COUNT"' "$trace/it.po"
run import strings import "$trace/it.po" "$trace/it.lmtrb"

title "What memory the words of a document take"
run memory memory README.md

# A million files is nothing to be afraid of, but they all have to be read: a smaller folder where there are many.
folder=/usr/share
if [ "$(find $folder -type f 2> /dev/null | head -n 150000 | wc -l)" = 150000 ]; then folder=/usr/share/doc; fi
title "What files this machine has in $folder, and how long that takes to see"
time run catalog catalog -o "$trace/share.lmkcat" "$folder"

title "Questions about them"
run query query "$trace/share.lmkcat" '<name> EQ <.*[Ll]icen[cs]e.*> AND <kind> EQ <text>' | head -n 12
run query-json query --json "$trace/share.lmkcat" '<version>' | head -n 12
run query-wrong query "$trace/share.lmkcat" '<name> EQ <copyright> AN <size>' 2>&1

title "What one of them found, packed and unpacked again"
run zip-create zip create "$trace/licenses.zip" --from-query "$trace/share.lmkcat" '<name> EQ <.*[Ll]icen[cs]e.*> AND <kind> EQ <text>'
run zip-list zip list "$trace/licenses.zip" | tail -n 3
run zip-test zip test "$trace/licenses.zip"
run zip-extract zip extract -d "$trace/unpacked" "$trace/licenses.zip" | tail -n 2

title "What was traced"
cat "$trace"/show-de.json "$trace"/unknown-de.json "$trace"/mistakes.json
