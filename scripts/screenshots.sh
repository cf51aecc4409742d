#!/usr/bin/env bash
# Renders the README's screenshots of the real window on a virtual X display:
# connected to the built-in demo frame with 35 buttons fitted to the window, with a selection
# and the debug log open at its newest lines, with the Edit menu open, with the log searched
# without its hex dumps and filtered to its warnings, and with the source picker open.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
if ! command -v xvfb-run >/dev/null 2>&1; then
    if [ "$(id -u)" -eq 0 ] && command -v apt-get >/dev/null 2>&1; then
        DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends xvfb xauth
    else
        echo "Install xvfb (xvfb-run) first." >&2
        exit 2
    fi
fi
[ -f build/dev/CMakeCache.txt ] || cmake --preset dev
cmake --build --preset dev --target quorvane-screenshots
QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1440x900x24" \
    build/dev/src/app/quorvane-screenshots docs/screenshots
