#!/bin/sh
# Runs a command with one Wine session held open for its whole length:
#   wine-session.sh ctest --preset windows-x86 -j2
# Wine starts its services with the first program and ends them with the last, about 2.5 s each time.
# A process that stays alive in between brings a test of its own from 2.9 s down to 0.03 s.
set -u
here=$(cd "$(dirname "$0")" && pwd)
tree="${XDG_CACHE_HOME:-$HOME/.cache}/lmkutils/wine32"
if [ -z "${LMK_WINE32_INSIDE:-}" ] && ! [ -x /usr/lib/wine/wine ] && [ -f "$tree/.stamp" ]; then
  exec "$here/wine32-tree.sh" run "$0" "$@"     # no 32-bit Wine installed, but one beside the system
fi
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEPREFIX="${WINEPREFIX:-${XDG_CACHE_HOME:-$HOME/.cache}/lmkutils/wine}"
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
export TZ="${LMK_TEST_TZ:-UTC}"       # a POSIX zone: the C run-time misreads names such as Area/City
unset DISPLAY WAYLAND_DISPLAY
mkdir -p "$WINEPREFIX"
exec 7>"$WINEPREFIX/.lmk-lock"
flock 7                               # a second session would be ended by the first one's end
if ! [ -f "$WINEPREFIX/.lmk-ready" ]; then
  wineboot -i >/dev/null 2>&1 || { echo "wine: cannot create a prefix" >&2; exit 125; }
  # The null driver gives top-level windows without an X server.
  wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null 2>&1
  # A crash ends at once with its exit code 0xC0000005; without this the debugger prints a back-trace for 0.3 s.
  # Auto must stay 1: with 0 the null driver waits for ever on a message box that nobody can see.
  wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Auto /d 1 /f >/dev/null 2>&1
  wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /d 'C:\none.exe %ld %ld' /f >/dev/null 2>&1
  wineserver -w && : > "$WINEPREFIX/.lmk-ready"
fi
fifo=$(mktemp -u) && mkfifo "$fifo" || exit 125
wine cmd.exe /q <"$fifo" >/dev/null 2>&1 &
holder=$!
exec 9>"$fifo"; rm -f "$fifo"
wine cmd.exe /c ver 9>&- >/dev/null 2>&1 || { echo "wine: does not start" >&2; wineserver -k; exit 125; }
# The first program that touches the desktop starts another one that shows it, and hands on its output to it for the rest of
# the session: whoever reads that output to its end would wait for ever. So let it be one whose output nobody reads.
wine rundll32.exe user32.dll,GetDesktopWindow 9>&- >/dev/null 2>&1
"$@" 9>&- 7>&-
status=$?
wineserver -k 2>/dev/null     # ends the holder and whatever a failed test left running
exec 9>&-
wait "$holder" 2>/dev/null
exit $status
