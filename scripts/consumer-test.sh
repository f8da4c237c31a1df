#!/bin/sh
# Installs a built preset into a folder of its own, moves that folder, and builds and runs examples/first against it, as a
# user of the library would; then runs the installed tool, which must find its texts in German:
#   consumer-test.sh PRESET cmake|pkg-config [RUNNER]      RUNNER runs the program, e.g. scripts/wine-session.sh
set -eu
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)
preset=$1 kind=$2 runner=${3:-}
work="$root/build/consumer-$preset-$kind"
rm -rf "$work"
mkdir -p "$work"
cmake --install "$root/build/$preset" --prefix "$work/unpacked" > "$work/install.log"
mv "$work/unpacked" "$work/prefix"      # nothing installed may know where it was first put
prefix="$work/prefix"

toolchain="" triple=""
case $preset in
  windows-x86) toolchain="$root/cmake/windows-x86.cmake" triple=i686-w64-mingw32 ;;
  windows-x64) toolchain="$root/cmake/windows-x64.cmake" triple=x86_64-w64-mingw32 ;;
esac

if [ "$kind" = cmake ]; then
  cmake -S "$root/examples/first" -B "$work/build" -G Ninja ${toolchain:+"-DCMAKE_TOOLCHAIN_FILE=$toolchain"} \
    ${toolchain:+"-DCMAKE_FIND_ROOT_PATH=$prefix"} -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release
  cmake --build "$work/build"
  program="$work/build/first"
else
  program="$work/first"
  export PKG_CONFIG_LIBDIR="$prefix/lib/pkgconfig" PKG_CONFIG_PATH=""
  # shellcheck disable=SC2046
  "${triple:+$triple-}g++${triple:+-posix}" -std=c++20 -Wall -Wextra -Werror "$root/examples/first/first.cpp" \
    -o "$program${triple:+.exe}" $(pkg-config --cflags --libs lmkutils)
fi

if [ -n "$triple" ]; then
  WINEPATH=$(printf 'z:%s' "$prefix/bin" | tr / "\\\\")     # where the DLLs are
  export WINEPATH
  program="$program.exe" run=wine
else
  export LD_LIBRARY_PATH="$prefix/lib"
  run="env"
fi
${runner:+"$runner"} "$run" "$program" > "$work/output"
cat "$work/output"
# Windows ends lines with CR LF.
tr -d '\r' < "$work/output" | diff - "$root/examples/first/expected_output"

unset LD_LIBRARY_PATH     # the tool knows where its library is
cd "$prefix"
export LUMORA_LANG=de
${runner:+"$runner"} "$run" "bin/lmkutil${triple:+.exe}" strings check share/lumora/en/lmkutil.lmtrb \
  share/lumora/de/lmkutil.lmtrb > "$work/tool-output"
cat "$work/tool-output"
grep -q '^Dateien: 2, .* Fehler: 0' "$work/tool-output"
