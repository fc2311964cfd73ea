#!/usr/bin/env bash
# Fails when a name in src/, tests/ or bench/ breaks the naming convention in .clang-tidy.
# Usage: check_naming.sh [BUILD_DIR]; needs the build's compile_commands.json (scripts/setup.sh writes it).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
[ -f "$build/compile_commands.json" ] || { echo "check_naming: no $build/compile_commands.json; build first" >&2; exit 2; }

mapfile -t files < <(python3 - "$build/compile_commands.json" "$PWD" <<'PY'
import json, sys
root = sys.argv[2] + "/"
for entry in json.load(open(sys.argv[1])):
    path = entry["file"]
    if path.startswith(root) and path[len(root):].split("/")[0] in ("src", "tests", "bench"):
        print(path)
PY
)
[ ${#files[@]} -gt 0 ] || { echo "check_naming: no sources in $build/compile_commands.json" >&2; exit 2; }
printf '%s\0' "${files[@]}" | xargs -0 -P"$(nproc)" -n8 clang-tidy -p "$build" --quiet 2>/dev/null
echo "clang-tidy naming: ${#files[@]} files are clean"
