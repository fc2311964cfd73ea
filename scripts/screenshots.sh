#!/usr/bin/env bash
# Starts the main window under a virtual X server against the demo database, walks the four steps and saves a
# PNG of each tab into docs/screenshots (or the folder given as the first argument).
set -euo pipefail
cd "$(dirname "$0")/.."

out=${1:-docs/screenshots}
bash scripts/setup.sh

source scripts/demo_database.sh
mkdir -p "$out"
xvfb-run --auto-servernum --server-args="-screen 0 1024x768x24" \
    build/tests/gui/window_tour "$connection" "$out"
echo "screenshots written to $out"
