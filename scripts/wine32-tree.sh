#!/bin/sh
# 32-bit Wine beside the system, for machines whose package sources cannot give wine32:i386 (an index that is broken,
# or 64-bit libraries that are newer than the 32-bit ones on offer).
#
#   wine32-tree.sh build           fetches wine32 and all that it needs and unpacks it into $LMK_CACHE/wine32
#   wine32-tree.sh run COMMAND...  runs a command that sees the tree's files under /usr
#
# Only the main suite is asked, with an empty list of installed packages, so that nothing on this machine has a say in what
# fits. The packages are unpacked, never installed. "run" lays the tree under the system's /usr in a mount namespace of its
# own: 64-bit programs stay the system's, the 32-bit ones come from the tree, one Wine prefix serves both, and what runs
# outside sees nothing of it. The namespace lives as long as the command: start a whole test run in it, not each test.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=scripts/ensure-packages.sh
. "$here/ensure-packages.sh"
tree="$LMK_CACHE/wine32"

enter() {   # enter COMMAND...: in a mount namespace; where we are not root, in a user namespace as well
  if [ "$(id -u)" = 0 ]; then unshare -m "$@"; else unshare -r -m "$@"; fi
}

fetch() {   # fetch FOLDER PACKAGE...: the packages and what they need
  work=$1; shift
  mkdir -p "$work/state/lists/partial" "$work/cache/archives/partial"
  : > "$work/status"
  suite=$(lmk_main_suite) || { echo "no main suite in the machine's package sources" >&2; return 1; }
  opts="$suite -o APT::Architecture=i386 -o APT::Architectures::=i386 -o Dir::State=$work/state
        -o Dir::State::Lists=$work/state/lists -o Dir::State::status=$work/status -o Dir::Cache=$work/cache"
  # shellcheck disable=SC2086
  lmk_apt $opts update
  # shellcheck disable=SC2086
  lmk_apt $opts install -y --no-install-recommends --download-only "$@"
}

unpack() {   # unpack FOLDER: the fetched packages into FOLDER/root, all of it under usr
  mkdir -p "$1/root/usr"
  for dir in bin lib lib64 sbin; do mkdir -p "$1/root/usr/$dir"; ln -s "usr/$dir" "$1/root/$dir"; done
  for deb in "$1"/cache/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$deb" | tar -x -C "$1/root" --keep-directory-symlink \
      --exclude='./usr/share/doc/*' --exclude='./usr/share/man/*' --exclude='./usr/share/locale/*'
  done
  # The tree's loader of 32-bit programs goes before any that the system may have: that one looks elsewhere for libraries.
  mkdir -p "$1/first/lib"
  ln -s i386-linux-gnu/ld-linux.so.2 "$1/first/lib/ld-linux.so.2"
}

# The one maintainer script that matters: it makes Wine's own zlib1.dll. It runs over the tree, not over the system.
configure() {
  mkdir -p "$1/control" "$1/overlay-work"
  dpkg-deb -e "$(echo "$1"/cache/archives/libwine_*.deb)" "$1/control"
  # shellcheck disable=SC2016
  enter sh -eu -c 'mount -t overlay overlay -o "lowerdir=/usr,upperdir=$1/root/usr,workdir=$1/overlay-work" /usr
                   sh "$1/control/postinst" configure' configure "$1"
  [ -s "$1/root/usr/lib/i386-linux-gnu/wine/i386-windows/zlib1.dll" ]
}

build() {
  mkdir -p "$LMK_CACHE"
  exec 8> "$LMK_CACHE/.wine32.lock"
  flock 8
  # Loader and server must be of one version.
  version=$(dpkg-query -W -f='${Version}' wine64)
  if [ "$(cat "$tree/.stamp" 2>/dev/null)" = "$version" ]; then return 0; fi
  enter true 2>/dev/null || { echo "this machine allows no mount namespace" >&2; return 1; }
  [ -L /lib ] || { echo "/lib is a folder of its own here, not a part of /usr" >&2; return 1; }
  log="$LMK_CACHE/wine32.log"
  echo "fetching wine32 $version into $tree (142 MB)"
  new="$tree.new"
  rm -rf "$new" "$tree"
  mkdir -p "$new"
  { fetch "$new" "wine32=$version"; unpack "$new"; configure "$new"; } > "$log" 2>&1
  rm -rf "$new/cache" "$new/state" "$new/control" "$new/overlay-work" "$new/status"
  echo "$version" > "$new/.stamp"
  mv "$new" "$tree"
}

run() {
  [ -f "$tree/.stamp" ] || { echo "wine32-tree: not built" >&2; return 125; }
  # shellcheck disable=SC2016
  LMK_WINE32_INSIDE=1 enter sh -c 'mount -t overlay overlay -o "lowerdir=$0/first:/usr:$0/root/usr" /usr || exit 125
                                   exec "$@"' "$tree" "$@"
}

case "${1:-}" in
  build) build ;;
  run) shift; run "$@" ;;
  *) echo "usage: wine32-tree.sh build | run COMMAND..." >&2; exit 2 ;;
esac
