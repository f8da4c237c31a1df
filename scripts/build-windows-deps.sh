#!/bin/sh
# Builds what the Windows targets need and no package offers: PCRE2, minizip, GoogleTest, Google Benchmark, and copies of
# the header libraries; for linux only minizip, whose packaged version misreads members beyond 4 GiB.
#
#   build-windows-deps.sh [TRIPLE...]      TRIPLE: i686-w64-mingw32, x86_64-w64-mingw32, linux; all of them when none is given
#
# All sources are the distribution's source packages. The result stands in $LMK_DEPS/TRIPLE (outside the source tree) and is
# built anew only when its stamp, made of this script and the versions of the packages, has changed.
# A run that is cut short leaves the previous result, or none.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
cmake_dir=$(cd "$here/../cmake" && pwd)
# shellcheck source=scripts/ensure-packages.sh
. "$here/ensure-packages.sh"
LMK_DEPS="${LMK_DEPS:-$LMK_CACHE/deps}"
export LMK_DEPS
[ $# -gt 0 ] || set -- i686-w64-mingw32 x86_64-w64-mingw32 linux

packages_of() {   # the packages that a triple is built from and with
  case $1 in
    i686-w64-mingw32)   echo "g++-mingw-w64-i686-posix libz-mingw-w64-dev googletest libutfcpp-dev libcli11-dev" ;;
    x86_64-w64-mingw32) echo "g++-mingw-w64-x86-64-posix libz-mingw-w64-dev googletest libutfcpp-dev libcli11-dev" ;;
    linux)              echo "g++ zlib1g-dev" ;;
    *) echo "unknown target: $1" >&2; return 1 ;;
  esac
}

stamp_of() {
  # shellcheck disable=SC2046
  {
    cat "$here/build-windows-deps.sh" "$cmake_dir/minizip.CMakeLists.txt"
    sed -n 's/^VERSION_ID=//p' /etc/os-release
    dpkg-query -W -f='${Package} ${Version}\n' $(packages_of "$1")
  } | sha256sum | cut -d' ' -f1
}

fetch_sources() {   # unpacks the source packages into $work/src, once a run
  if [ -d "$work/src" ]; then return 0; fi
  lmk_main_suite > "$work/apt-options" || { echo "no main suite in the machine's package sources" >&2; return 1; }
  opts=$(cat "$work/apt-options")
  # shellcheck disable=SC2086
  lmk_apt $opts update >> "$log" 2>&1 || true
  mkdir -p "$work/dsc" "$work/src.new"
  # shellcheck disable=SC2086
  (cd "$work/dsc" && lmk_apt $opts source --download-only pcre2 minizip zlib benchmark) >> "$log" 2>&1
  for name in pcre2 minizip zlib benchmark; do
    dpkg-source --no-check -x "$work/dsc/${name}"_*.dsc "$work/src.new/$name" >> "$log" 2>&1
  done
  # Over-long names: the patch is the minizip package's, made for an older zip.c; it fits with an offset.
  patch -d "$work/src.new/zlib/contrib/minizip" -p1 < "$work/src.new/minizip/debian/patches/CVE-2023-45853.patch" >> "$log"
  mv "$work/src.new" "$work/src"
}

build_one() {   # build_one TRIPLE NAME SOURCE OPTION...: configures, builds, installs into the staging folder
  triple=$1 name=$2 source=$3; shift 3
  toolchain="" flags=""
  case $triple in
    i686-*)   toolchain="$cmake_dir/windows-x86.cmake" flags="-march=pentium4 -msse2 -mfpmath=sse" ;;
    x86_64-*) toolchain="$cmake_dir/windows-x64.cmake" ;;
  esac
  echo "  $name"
  {
    cmake -S "$source" -B "$work/build/$triple/$name" -G Ninja ${toolchain:+"-DCMAKE_TOOLCHAIN_FILE=$toolchain"} \
      -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_SHARED_LIBS=OFF \
      -DCMAKE_INSTALL_PREFIX="$LMK_DEPS/$triple" -DCMAKE_INSTALL_LIBDIR=lib "$@"
    cmake --build "$work/build/$triple/$name"
    DESTDIR="$work/stage" cmake --install "$work/build/$triple/$name"
  } >> "$log" 2>&1
}

build_all() {
  triple=$1
  mkdir -p "$work/minizip"
  cp "$cmake_dir/minizip.CMakeLists.txt" "$work/minizip/CMakeLists.txt"
  build_one "$triple" minizip "$work/minizip" -DMINIZIP_SOURCE_DIR="$work/src/zlib/contrib/minizip"
  [ "$triple" != linux ] || return 0
  build_one "$triple" pcre2 "$work/src/pcre2" -DPCRE2_SUPPORT_JIT=ON -DPCRE2_BUILD_PCRE2_8=ON -DPCRE2_SUPPORT_UNICODE=ON \
    -DPCRE2_BUILD_PCRE2GREP=OFF -DPCRE2_BUILD_TESTS=OFF
  build_one "$triple" googletest /usr/src/googletest -DBUILD_GMOCK=ON -DINSTALL_GTEST=ON
  # Benchmark does not configure without a version, and tries to run programs unless told what they would say.
  build_one "$triple" benchmark "$work/src/benchmark" -DGIT_VERSION=1.7.1 -DBENCHMARK_ENABLE_TESTING=OFF \
    -DBENCHMARK_ENABLE_GTEST_TESTS=OFF -DBENCHMARK_USE_BUNDLED_GTEST=OFF -DBENCHMARK_ENABLE_WERROR=OFF \
    -DBENCHMARK_INSTALL_DOCS=OFF -DHAVE_STD_REGEX=1 -DRUN_HAVE_STD_REGEX=1 -DHAVE_STEADY_CLOCK=1 \
    -DHAVE_POSIX_REGEX=0 -DHAVE_GNU_POSIX_REGEX=0
  include="$work/stage$LMK_DEPS/$triple/include"
  mkdir -p "$include/utf8cpp"
  cp -R /usr/include/utf8cpp/. "$include/utf8cpp/"
  cp -R /usr/include/CLI "$include/"
}

mkdir -p "$LMK_DEPS"
exec 8> "$LMK_DEPS/.lock"
flock 8            # two runs at once: the second finds the work done
work="" log="$LMK_DEPS/build.log" building=""
finish() {
  status=$?
  if [ -n "$work" ]; then rm -rf "$work"; fi
  if [ "$status" != 0 ] && [ -n "$building" ]; then
    echo "the dependencies of $building cannot be built (log: $log)" >&2
    tail -n 15 "$log" >&2
  fi
}
trap finish EXIT
trap 'exit 130' INT TERM

for triple in "$@"; do
  # shellcheck disable=SC2046
  lmk_ensure $(packages_of "$triple") cmake ninja-build dpkg-dev patch || exit 1
  stamp=$(stamp_of "$triple")
  [ "$(cat "$LMK_DEPS/$triple/.stamp" 2>/dev/null)" != "$stamp" ] || continue
  if [ -z "$work" ]; then work=$(mktemp -d "${TMPDIR:-/tmp}/lmk-deps.XXXXXX"); chmod 755 "$work"; : > "$log"; fi
  start=$(date +%s)
  echo "building the dependencies of $triple"
  building=$triple
  fetch_sources
  build_all "$triple"
  echo "$stamp" > "$work/stage$LMK_DEPS/$triple/.stamp"
  rm -rf "${LMK_DEPS:?}/$triple"
  mv "$work/stage$LMK_DEPS/$triple" "$LMK_DEPS/$triple"
  building=""
  echo "  done in $(($(date +%s) - start)) s: $LMK_DEPS/$triple"
done
