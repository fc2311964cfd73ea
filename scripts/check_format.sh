#!/usr/bin/env bash
# Fails when a C++ file under src/, tests/ or bench/ differs from what clang-format makes of it.
# Usage: check_format.sh [CLANG_FORMAT]; run from anywhere inside the repository.
set -euo pipefail
clang_format=${1:-clang-format}
cd "$(dirname "$0")/.."

# The tracked files are what a clean clone builds; git is not needed when the tree is a plain copy.
if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
    mapfile -t files < <(git ls-files -- 'src/*.h' 'src/*.cpp' 'tests/*.h' 'tests/*.cpp' 'bench/*.h' 'bench/*.cpp')
else
    mapfile -t files < <(find src tests bench -name '*.h' -o -name '*.cpp' | sort)
fi
existing=()
for file in "${files[@]}"; do
    [ -f "$file" ] && existing+=("$file")  # a tracked file deleted in the working tree is not checked
done
files=("${existing[@]}")
[ ${#files[@]} -gt 0 ] || exit 0
"$clang_format" --dry-run --Werror "${files[@]}"
echo "clang-format: ${#files[@]} files are clean"
