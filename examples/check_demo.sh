#!/usr/bin/env bash
# Runs the demo for 3 seconds on a real X server (Xvfb, Qt's xcb platform) and
# fails unless it wrote frames of both its windows and none of them is blank.
# Needs xvfb, xauth and Qt's xcb plugin (qt6-qpa-plugins, libxcb-cursor0).
# Usage: examples/check_demo.sh [BUILD_DIR]   (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
demo=$build/examples/orvek_demo
check=$build/examples/check_png
for p in "$demo" "$check"; do
  [ -x "$p" ] || { echo "check_demo: $p is missing; build first" >&2; exit 1; }
done

out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
QT_QPA_PLATFORM=xcb timeout 120 xvfb-run -a -s "-screen 0 1280x1024x24" "$demo" --seconds 3 --out "$out"

shopt -s nullglob
graphs=("$out"/graphs_*.png)
sweeps=("$out"/sweep_*.png)
if [ ${#graphs[@]} -eq 0 ] || [ ${#sweeps[@]} -eq 0 ]; then
  echo "check_demo: expected frames of both windows, found: $(ls "$out")" >&2
  exit 1
fi
"$check" "${graphs[@]}" "${sweeps[@]}"
echo "check_demo: ${#graphs[@]} + ${#sweeps[@]} frames, none blank"
