#!/usr/bin/env bash
# Inside a private X server: runs a .desktop Exec line, waits until the window with the given
# title maps, checks which program it is and how the window presents itself (class, icon), then
# closes it with WM_DELETE_WINDOW and waits for the program to exit with status 0.
#   run-from-menu.sh EXEC_LINE TITLE APP_ID CLOSE_WINDOW_HELPER
set -euo pipefail
exec_line=$1
title=$2
app_id=$3
close_helper=$4
# The Exec lines we ship carry no field codes, so the words are the command.
read -r -a command <<<"$exec_line"
"${command[@]}" >"$HOME/../app.log" 2>&1 &
pid=$!
trap 'kill "$pid" 2>/dev/null || true' EXIT

window=
deadline=$((SECONDS + 30))
while [ "$SECONDS" -lt "$deadline" ]; do
    kill -0 "$pid" 2>/dev/null || { cat "$HOME/../app.log"; echo "FAIL: the program ended early"; exit 1; }
    window=$(xwininfo -name "$title" 2>/dev/null | sed -n 's/.*Window id: \(0x[0-9a-f]*\).*/\1/p') || true
    [ -n "$window" ] && xwininfo -id "$window" | grep -q 'Map State: IsViewable' && break
    window=
    sleep 0.1
done
[ -n "$window" ] || { cat "$HOME/../app.log"; echo "FAIL: no window titled \"$title\" mapped in 30 s"; exit 1; }
echo "ok: window \"$title\" mapped ($window)"
exe=$(readlink "/proc/$pid/exe")
[ "$exe" = /usr/bin/orventa-companion ] || { echo "FAIL: the menu entry started $exe"; exit 1; }
echo "ok: the menu entry started $exe"
class=$(xprop -id "$window" WM_CLASS)
echo "$class"
[[ $class == *"\"$app_id\"" ]] || { echo "FAIL: the window class is not $app_id"; exit 1; }
icon=$(xprop -id "$window" _NET_WM_ICON)
[[ $icon == *"Icon ("* ]] || { echo "FAIL: the window has no icon: ${icon%%$'\n'*}"; exit 1; }
echo "ok: the window carries its icon (_NET_WM_ICON)"

"$close_helper" "$title" 5000 >/dev/null
deadline=$((SECONDS + 15))
while kill -0 "$pid" 2>/dev/null && [ "$SECONDS" -lt "$deadline" ]; do sleep 0.1; done
if kill -0 "$pid" 2>/dev/null; then echo "FAIL: the program did not end after its window closed"; exit 1; fi
status=0
wait "$pid" || status=$?
trap - EXIT
[ "$status" = 0 ] || { cat "$HOME/../app.log"; echo "FAIL: the program exited with $status"; exit 1; }
echo "ok: closing the window ended the program (status 0)"
