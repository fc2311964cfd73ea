#!/usr/bin/env bash
# The packaged manual page and bash completion against the packaged program: each lists exactly the options
# of "tabvet --help" (a new option fails here until both have it), and the completion offers what a user
# expects at each point of a command line.
# Usage: completion_test.sh DEB
set -euo pipefail
[ $# -eq 1 ] || { echo "usage: completion_test.sh DEB" >&2; exit 2; }
deb=$1
# shellcheck source=package_common.sh
. "$(dirname "$0")/package_common.sh"
needs "$deb" scripts/package.sh
unpack "$deb"

help_options=$("$tabvet" --help | grep -o -- '--[a-z][a-z-]*' | LC_ALL=C sort -u)
[ -n "$help_options" ] || fail "tabvet --help names no option"

# The manual's OPTIONS section: the option of each item (the line after .TP), escapes undone.
manual_options=$(zcat "$root/usr/share/man/man1/tabvet.1.gz" | sed 's/\\-/-/g' |
    sed -n '/^\.SH OPTIONS/,/^\.SH /{/^\.TP/{n;p}}' | grep -o -- '--[a-z][a-z-]*' | LC_ALL=C sort -u)
[ "$manual_options" = "$help_options" ] || fail "manual page options differ from --help:
$(diff <(echo "$help_options") <(echo "$manual_options"))"

# shellcheck disable=SC1091
source "$root/usr/share/bash-completion/completions/tabvet"
[ "$(complete -p tabvet)" = "complete -F _tabvet tabvet" ] || fail "tabvet is not completed by _tabvet"

# complete WORD...: the completions _tabvet offers with the last word being typed, one a line, sorted.
complete_line() {
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    COMPREPLY=()
    _tabvet
    [ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort -u
}
# expect "COMPLETIONS" WORD...: COMPLETIONS separated by "|".
expect() {
    local wanted=$1
    shift
    local got
    got=$(complete_line "$@" | paste -sd '|')
    [ "$got" = "$wanted" ] || fail "$* <TAB>: got '$got', expected '$wanted'"
}

completion_options=$(complete_line "$tabvet" "")
[ "$completion_options" = "$help_options" ] || fail "completion options differ from --help:
$(diff <(echo "$help_options") <(echo "$completion_options"))"

files=$work/files
mkdir -p "$files/reports"
touch "$files/gis.conn" "$files/report.txt"
checks_of_layers="1,LAYERS entries exist as tables or views|1,LAYERS in GEOMETRY_COLUMNS|1,LAYERS in TABLE_REGISTRY"
checks_of_layers+="|1,LAYERS table existence|1,LAYERS.LAYER_CONFIG in DBTUNE|1,LAYERS.SRID in SPATIAL_REFERENCES"
expect "--connect|--connect-file" "$tabvet" --co
expect "--connect" "$tabvet" --connect-file x --co  # an option is given once
expect "--database" "$tabvet" --dbms oracle --d
expect "db2|informix|oracle|sqlserver" "$tabvet" --dbms ""
expect "sqlserver" "$tabvet" --dbms s
expect "db2|informix|oracle|sqlserver" "$tabvet" --dbms =  # --dbms=
expect "oracle" "$tabvet" --dbms = o  # --dbms=o
expect "$files/gis.conn" "$tabvet" --connect-file "$files/g"
expect "$files/report.txt|$files/reports" "$tabvet" --dbms oracle --report "$files/rep"
expect "$files/report.txt|$files/reports" "$tabvet" --json "$files/rep"
expect "$files/report.txt|$files/reports" "$tabvet" --baseline = "$files/rep"
expect "" "$tabvet" --connect ""
expect "" "$tabvet" --time-limit ""
expect "1|10|11|12|13|14|15|16" "$tabvet" --check 1
expect "Index Analysis" "$tabvet" --skip index
expect "$checks_of_layers" "$tabvet" --check 1,layers
expect "2,Missing system tables" "$tabvet" --skip 2,MISSING

finish "manual page and completion agree with --help; completions as expected"
