#!/bin/sh
# Installs what is missing. Sourced by the other scripts, which set "here" to their folder; needs root only when
# something is missing.
# shellcheck disable=SC2034,SC2154
#   lmk_ensure PACKAGE...       installs the missing ones, 1 when that fails
#   lmk_ensure_wine             sets LMK_WINE64 and LMK_WINE32 to yes or no, and LMK_WINE_WHY; never fails the caller
#   lmk_main_suite              prints the options that make apt use the distribution's main suite alone
# LMK_CACHE is where the scripts keep what outlives a source tree.
LMK_CACHE="${XDG_CACHE_HOME:-$HOME/.cache}/lmkutils"
LMK_APT_DIR="${LMK_APT_DIR:-/var/tmp/lmk-apt}"

lmk_missing() {   # prints those of the arguments that are not installed
  for p in "$@"; do
    dpkg-query -W -f='${db:Status-Status}\n' "$p" 2>/dev/null | grep -qx installed || printf '%s ' "$p"
  done
}

lmk_apt() { DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=120 -o Acquire::Retries=2 "$@"; }

# A source list with the main suite alone, made from the machine's own sources (both formats that apt
# knows), so that no address stands here. Prints the options that make apt use it.
lmk_main_suite() {
  etc="${LMK_APT_ETC:-/etc/apt}"
  code=$(. /etc/os-release && printf %s "$VERSION_CODENAME")
  mkdir -p "$LMK_APT_DIR/lists/partial" || return 1
  {
    # deb822: one stanza a paragraph; disabled stanzas and other suites are passed over
    cat "$etc"/sources.list.d/*.sources /dev/null 2>/dev/null | awk -v code="$code" '
      function flush() {
        if (types ~ /(^| )deb( |$)/ && (" " suites " ") ~ (" " code " ") && enabled !~ /^no$/ && uris != "") {
          n = split(uris, u, " ")
          opt = signed != "" ? "[signed-by=" signed "] " : ""
          for (i = 1; i <= n; ++i) { print "deb " opt u[i] " " code " main"; print "deb-src " opt u[i] " " code " main" }
        }
        types = uris = suites = signed = enabled = ""
      }
      /^[[:space:]]*$/ { flush(); next }
      /^#/ { next }
      tolower($1) == "types:"     { $1 = ""; types = substr($0, 2) }
      tolower($1) == "uris:"      { $1 = ""; uris = substr($0, 2) }
      tolower($1) == "suites:"    { $1 = ""; suites = substr($0, 2) }
      tolower($1) == "enabled:"   { enabled = $2 }
      tolower($1) == "signed-by:" { if ($2 ~ /^\//) signed = $2 }
      END { flush() }'
    # one-line format
    cat "$etc"/sources.list "$etc"/sources.list.d/*.list /dev/null 2>/dev/null | awk -v code="$code" '
      $1 == "deb" {
        opt = ""; i = 2
        if ($2 ~ /^\[/) { do { opt = opt $i " " } while ($(i++) !~ /\]$/) }
        if ($(i + 1) == code) { print "deb " opt $i " " code " main"; print "deb-src " opt $i " " code " main" }
      }'
  } | awk '!seen[$0]++' > "$LMK_APT_DIR/main.list"
  [ -s "$LMK_APT_DIR/main.list" ] || return 1
  printf '%s' "-o Dir::Etc::sourcelist=$LMK_APT_DIR/main.list -o Dir::Etc::sourceparts=- -o Dir::State::Lists=$LMK_APT_DIR/lists"
}

lmk_try_install() {   # lmk_try_install LOG OPTIONS PACKAGE...: can it be resolved, then is it installed
  log=$1 opts=$2; shift 2
  # shellcheck disable=SC2086
  lmk_apt $opts update >>"$log" 2>&1 || true      # one broken index does not spoil the others
  # shellcheck disable=SC2086
  lmk_apt $opts install -y --no-install-recommends "$@" >>"$log" 2>&1
}

lmk_ensure() {
  want=$(lmk_missing "$@")
  [ -n "$want" ] || return 0
  if [ "$(id -u)" != 0 ]; then echo "missing packages, and not root: $want" >&2; return 1; fi
  mkdir -p "$LMK_APT_DIR"; log="$LMK_APT_DIR/install.log"
  echo "== $(date '+%F %T'): $want" >> "$log"
  # shellcheck disable=SC2086
  if [ -z "${LMK_FAIL_NORMAL:-}" ] && lmk_try_install "$log" "" $want; then return 0; fi
  echo "the machine's package sources cannot give: $want- trying the main suite alone" >&2
  if [ -z "${LMK_FAIL_MAIN:-}" ] && opts=$(lmk_main_suite); then
    # shellcheck disable=SC2086
    if lmk_try_install "$log" "$opts" $want && [ -z "$(lmk_missing $want)" ]; then return 0; fi
  fi
  echo "not installed: $want(log: $log)" >&2
  return 1
}

# Wine alone runs 64-bit programs and needs no foreign architecture, so the two are asked for one after the other.
# wine32 where it can be installed; else a copy of it beside the system, which wine-session.sh finds by itself.
lmk_ensure_wine() {
  LMK_WINE64=no LMK_WINE32=no LMK_WINE_WHY=""
  if ! lmk_ensure wine wine64; then LMK_WINE_WHY="wine cannot be installed"; return 0; fi
  LMK_WINE64=yes
  if [ -z "$(lmk_missing wine32:i386)" ]; then LMK_WINE32=yes; return 0; fi
  if [ -f "$LMK_CACHE/wine32/.stamp" ] && "$here/wine32-tree.sh" build; then LMK_WINE32=yes; return 0; fi
  added=no
  if [ "$(id -u)" = 0 ] && ! dpkg --print-foreign-architectures | grep -qx i386; then
    dpkg --add-architecture i386; added=yes
  fi
  if lmk_ensure wine32:i386; then LMK_WINE32=yes; return 0; fi
  if [ "$added" = yes ]; then dpkg --remove-architecture i386 || true; fi
  if "$here/wine32-tree.sh" build; then LMK_WINE32=yes; return 0; fi
  LMK_WINE_WHY="wine32 can neither be installed nor fetched (logs: $LMK_APT_DIR/install.log, $LMK_CACHE/wine32.log)"
}
