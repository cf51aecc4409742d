#!/usr/bin/env bash
# Renders the README's picture of a panel sheet: the demo show's ME1, dumped from the emulated
# frame at 35 buttons, printed by quorvane-cli sheet, and its page converted by pdftoppm.
# The emulated frame binds the fixed UDP ports 5000 and 5001: run no test at the same time.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
[ -f build/dev/CMakeCache.txt ] || cmake --preset dev
cmake --build --preset dev --target quorvane-frame-emulator quorvane-cli
work=$(mktemp -d)
build/dev/emulator/quorvane-frame-emulator --bind 127.0.0.1 >/dev/null &
frame=$!
trap 'kill "$frame" 2>/dev/null || true; rm -rf "$work"' EXIT
build/dev/src/cli/quorvane-cli dump --host 127.0.0.1 --suite 2 --buttons 35 --bus me1 \
    -o "$work/studio-a.json" --quiet
build/dev/src/cli/quorvane-cli sheet "$work/studio-a.json" --quiet
pdftoppm -r 110 -f 1 -l 1 -singlefile -png "$work/studio-a.pdf" docs/screenshots/sheet
echo "docs/screenshots/sheet.png"
