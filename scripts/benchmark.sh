#!/usr/bin/env bash
# Measures full headless runs against the bare-driver floor on generated Tessel schemas of N layers, in a
# throwaway PostgreSQL cluster, and prints one table (Markdown) plus the verdict on each target.
#
# Usage: scripts/benchmark.sh [--sizes "100 1000 10000"] [--repeat R] [--startup-samples S]
#                               [--priority realtime|nice|none] [--keep]
#   --repeat           timed runs of tabvet and of the floor per size, taken alternately; the best of each counts.
#                      Sizes below 10,000 get three times as many: their runs last seconds, so one disturbance
#                      weighs more
#   --startup-samples  start-ups measured per size (tabvet and floor); the median counts
#   --priority         how the server and the measured programs are scheduled while they are timed (needs root;
#                      falls back to none): on a machine shared with builds, wall times at normal priority vary
#                      by a factor of two, and even at niceness -10 by half. realtime (the default) is
#                      SCHED_FIFO 10: a run and the server mostly wait for each other, so they take less than
#                      a core, and the kernel keeps 5 % of every core for everything else anyway.
#   --keep             keep the work folder (statement traces, reports, JSON, raw measurements)
# Exit status: 0 every target met, 1 a target missed, 2 the benchmark itself failed.
# Not part of the test suite: it takes about a quarter of an hour at the default sizes.
set -euo pipefail
cd "$(dirname "$0")/.."

sizes="100 1000 10000"
repeat=5
startup_samples=10
priority=realtime
keep=no
while [ $# -gt 0 ]; do
    case "$1" in
        --sizes) sizes=$2; shift 2 ;;
        --repeat) repeat=$2; shift 2 ;;
        --startup-samples) startup_samples=$2; shift 2 ;;
        --priority) priority=$2; shift 2 ;;
        --keep) keep=yes; shift ;;
        *) echo "benchmark: unknown argument $1" >&2; exit 2 ;;
    esac
done

bash scripts/setup.sh >/dev/null
tabvet=$PWD/build/src/app/tabvet
floor=$PWD/build/bench/tabvet_floor
measure=$PWD/build/bench/tabvet_measure
for program in "$tabvet" "$floor" "$measure"; do
    [ -x "$program" ] || { echo "benchmark: $program was not built" >&2; exit 2; }
done

work=$(mktemp -d /tmp/tabvet-bench.XXXXXX)
state=$work/cluster.state
cleanup() {
    bash scripts/pg_cluster.sh stop "$state"
    if [ "$keep" = yes ]; then
        echo "Work folder kept: $work" >&2
    else
        rm -rf "$work"
    fi
}
trap cleanup EXIT
trap 'exit 130' INT TERM

log() { echo "benchmark: $*" >&2; }

# The drivers as the system registers them, minus the driver's communication log.
export ODBCSYSINI="$PWD/tests/fixtures/odbc" ODBCINI="$PWD/tests/fixtures/odbc/odbc.ini"
unset TABVET_STATEMENT_TRACE
export PGOPTIONS="-c client_min_messages=warning"

# A field of tabvet_measure's or tabvet_floor's one-line output.
field() { sed -n "s/.*\b$1=\([^ ]*\).*/\1/p" <<<"$2"; }

seconds_since() { awk -v s="$1" -v e="$(date +%s.%N)" 'BEGIN { printf "%.1f", e - s }'; }

# Smallest and median of the numbers on standard input.
smallest() { sort -g | head -n 1; }
median() { sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

bash scripts/pg_cluster.sh start "$state" >&2
port=$(sed -n 's/^PGPORT=//p' "$state")
load_before=$(cut -d' ' -f1-3 /proc/loadavg)
# Background maintenance would land in whichever timed run happens to be going on.
bash scripts/pg_cluster.sh psql "$state" postgres -q -c "ALTER SYSTEM SET autovacuum = off" \
    -c "SELECT pg_reload_conf()" >/dev/null

# While timing, the server's processes and the measured programs run at the chosen priority; backends forked
# meanwhile inherit it. Generating a schema runs at normal priority: it is long and busy.
postmaster=$(head -n 1 "$(sed -n 's/^PGDIR=//p' "$state")/data/postmaster.pid")
prioritised=()
server_priority() {  # raised | normal
    local pids
    pids="$postmaster $(pgrep -P "$postmaster" | tr '\n' ' ')"
    case "$priority/$1" in
        realtime/raised) for pid in $pids; do chrt -f -p 10 "$pid" || return 1; done ;;
        realtime/normal) for pid in $pids; do chrt -o -p 0 "$pid" || return 1; done ;;
        nice/raised) renice -n -10 -p $pids ;;
        nice/normal) renice -n 0 -p $pids ;;
    esac >/dev/null 2>&1
}
case "$priority" in
    realtime) prioritised=(chrt -f 10) ;;
    nice) prioritised=(nice -n -10) ;;
    none) ;;
    *) echo "benchmark: unknown priority $priority" >&2; exit 2 ;;
esac
if [ "$priority" != none ] && ! { server_priority raised && server_priority normal && "${prioritised[@]}" true; }; then
    log "cannot raise priorities (not root?): measuring at normal priority"
    priority=none
    prioritised=()
fi

rows=()
all_startup=() all_floor_startup=()
targets_met=yes
previous_size=""
previous_rss=""
for n in $sizes; do
    db=bench_$n
    server_priority normal
    log "generating $n layers"
    started=$(date +%s.%N)
    bash scripts/pg_cluster.sh createdb "$state" "$db" tests/fixtures/tessel_schema.sql \
        tests/fixtures/oracle_dictionary.sql tests/fixtures/compressed_binary/layer_builder.sql \
        bench/sql/bench_schema.sql
    bash scripts/pg_cluster.sh psql "$state" "$db" -v ON_ERROR_STOP=1 -q -c "CALL bench_build($n)"
    generated=$(seconds_since "$started")
    bash scripts/pg_cluster.sh psql "$state" "$db" -v ON_ERROR_STOP=1 -q -f bench/sql/dictionary_snapshot.sql
    snapshot=$(seconds_since "$started")
    bash scripts/pg_cluster.sh psql "$state" "$db" -q -c "CHECKPOINT"  # no dirty pages left for the runs
    server_priority raised
    objects=$(bash scripts/pg_cluster.sh psql "$state" "$db" -At -c \
        "SELECT count(*) FILTER (WHERE relkind = 'r') || ' tables, ' || count(*) FILTER (WHERE relkind = 'i')
         || ' indexes' FROM pg_class WHERE relnamespace NOT IN ('pg_catalog'::regnamespace,
         'information_schema'::regnamespace, 'pg_toast'::regnamespace)")
    log "$n layers: $objects; generated in ${generated} s, dictionary snapshot ready at ${snapshot} s"

    conn="Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=$port;Database=$db;UID=tabvet;PWD=;"
    trace=$work/statements_$n.txt
    run=("$tabvet" --connect "$conn" --report "$work/report_$n.txt" --json "$work/results_$n.json")

    # The statements, captured from one full run; it also warms the server's caches for the timed runs.
    capture=$(TABVET_STATEMENT_TRACE=$trace "${prioritised[@]}" "$measure" --stdout "$work/log_$n.txt" --stderr "$work/progress_$n.txt" \
        --first-statement "$trace" -- "${run[@]}")
    status=$(field status "$capture")
    if [ "$status" -gt 1 ]; then
        log "the run over $n layers ended with status $status"
        cat "$work/progress_$n.txt" >&2
        exit 2
    fi
    statements=$(wc -l <"$trace")
    log "$n layers: $statements statements, run status $status"

    run_times=() floor_times=() run_cpu=() floor_cpu=() rss=()
    rounds=$repeat
    [ "$n" -ge 10000 ] || rounds=$((repeat * 3))
    for r in $(seq 1 "$rounds"); do
        # Alternate who goes first, so that drift in the machine's load falls on both alike.
        for who in $( [ $((r % 2)) -eq 1 ] && echo "run floor" || echo "floor run"); do
            if [ "$who" = run ]; then
                rm -f "$work/report_$n.txt" "$work/results_$n.json"
                m=$("${prioritised[@]}" "$measure" --stdout "$work/log_$n.txt" --stderr "$work/progress_$n.txt" -- "${run[@]}")
                [ "$(field status "$m")" = "$status" ] || { log "run status changed: $m"; exit 2; }
                [ -s "$work/report_$n.txt" ] && [ -s "$work/results_$n.json" ] ||
                    { log "the run wrote no report or JSON"; exit 2; }
                run_times+=("$(field wall_ms "$m")")
                run_cpu+=("$(awk -v u="$(field user_ms "$m")" -v s="$(field sys_ms "$m")" 'BEGIN { print u + s }')")
                rss+=("$(field peak_rss_kb "$m")")
            else
                m=$("${prioritised[@]}" "$measure" --stdout "$work/floor_$n.txt" --stderr "$work/floor_errors_$n.txt" -- \
                    "$floor" "$conn" "$trace")
                sent=$(field statements "$(cat "$work/floor_$n.txt")")
                [ "$sent" = "$statements" ] || { log "the floor sent $sent of $statements statements"; exit 2; }
                floor_times+=("$(field wall_ms "$m")")
                floor_cpu+=("$(awk -v u="$(field user_ms "$m")" -v s="$(field sys_ms "$m")" 'BEGIN { print u + s }')")
            fi
            log "$n layers, round $r, $who: $m"
        done
    done

    startup=() floor_startup=()
    mark=$work/startup_mark.txt
    for s in $(seq 1 "$startup_samples"); do
        m=$(TABVET_STATEMENT_TRACE=$mark "${prioritised[@]}" "$measure" --first-statement "$mark" --stop -- "${run[@]}")
        startup+=("$(field first_statement_ms "$m")")
        m=$("${prioritised[@]}" "$measure" --first-statement "$mark" --stop -- "$floor" --mark "$mark" "$conn" "$trace")
        floor_startup+=("$(field first_statement_ms "$m")")
    done
    echo "$n layers: tabvet ${startup[*]}; floor ${floor_startup[*]}" >>"$work/startup_ms.txt"
    all_startup+=("${startup[@]}")
    all_floor_startup+=("${floor_startup[@]}")

    best_run=$(printf '%s\n' "${run_times[@]}" | smallest)
    best_floor=$(printf '%s\n' "${floor_times[@]}" | smallest)
    ratio=$(awk -v a="$best_run" -v b="$best_floor" 'BEGIN { printf "%.3f", a / b }')
    # Each round's own ratio: the two runs of a round are close in time, so their spread shows the noise.
    round_ratios=$(paste <(printf '%s\n' "${run_times[@]}") <(printf '%s\n' "${floor_times[@]}") |
        awk '{ printf "%.3f\n", $1 / $2 }')
    round_median=$(median <<<"$round_ratios")
    round_range="$(sort -g <<<"$round_ratios" | head -n 1)-$(sort -g <<<"$round_ratios" | tail -n 1)"
    peak=$(printf '%s\n' "${rss[@]}" | sort -g | tail -n 1)
    cpu=$(printf '%s\n' "${run_cpu[@]}" | smallest)
    cpu_floor=$(printf '%s\n' "${floor_cpu[@]}" | smallest)
    start_ms=$(printf '%s\n' "${startup[@]}" | median)
    floor_start_ms=$(printf '%s\n' "${floor_startup[@]}" | median)

    awk -v r="$ratio" 'BEGIN { exit !(r <= 1.10) }' || { targets_met=no; log "MISSED: ratio $ratio at N = $n"; }
    if [ -n "$previous_size" ]; then
        awk -v r0="$previous_rss" -v r1="$peak" -v n0="$previous_size" -v n1="$n" 'BEGIN { exit !(r1 / r0 < n1 / n0) }' ||
            { targets_met=no; log "MISSED: peak RSS grows linearly or faster from N = $previous_size to $n"; }
    fi
    previous_size=$n
    previous_rss=$peak

    rows+=("$(awk -v n="$n" -v st="$statements" -v run="$best_run" -v fl="$best_floor" -v r="$ratio" -v rss="$peak" \
        -v su="$start_ms" -v fsu="$floor_start_ms" -v c="$cpu" -v cf="$cpu_floor" -v rm="$round_median" \
        -v rr="$round_range" 'BEGIN {
            printf "| %d | %d | %.2f s | %.2f s | %.3f | %.3f (%s) | %.1f MB | %.0f ms | %.0f ms | %.2f s | %.2f s |",
                n, st, run / 1000, fl / 1000, r, rm, rr, rss / 1024, su, fsu, c / 1000, cf / 1000 }')")
done
# Start-up comes before any work on the schema, so every size's samples measure the same thing.
startup_all=$(printf '%s\n' "${all_startup[@]}" | median)
floor_startup_all=$(printf '%s\n' "${all_floor_startup[@]}" | median)
awk -v s="$startup_all" 'BEGIN { exit !(s < 50) }' || { targets_met=no; log "MISSED: start-up $startup_all ms"; }
if [ -n "$previous_rss" ] && ! awk -v r="$previous_rss" 'BEGIN { exit !(r < 64 * 1024) }'; then
    targets_met=no
    log "MISSED: peak RSS $previous_rss kB at N = $previous_size"
fi

echo
echo "Machine: $(nproc) cores, $(awk '/MemTotal/ { printf "%.1f GB", $2 / 1048576 }' /proc/meminfo) memory," \
    "$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1), Debian $(cat /etc/debian_version)," \
    "load average $load_before before and $(cut -d' ' -f1-3 /proc/loadavg) after"
echo "tabvet $(git rev-parse --short HEAD 2>/dev/null || echo unknown), best of $repeat timed runs" \
    "($((repeat * 3)) below 10,000 layers)," \
    "median of $startup_samples start-ups, priority $priority"
echo
echo "| N | statements sent | run time | floor time | ratio | ratio per round: median (range) | peak RSS" \
    "| start-up | floor start-up | run CPU | floor CPU |"
echo "|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|"
printf '%s\n' "${rows[@]}"
echo
echo "Start-up to the first statement, all sizes: median $startup_all ms over ${#all_startup[@]} samples" \
    "(floor: $floor_startup_all ms)."
echo
if [ "$targets_met" = yes ]; then
    echo "All targets met: ratio <= 1.10 at every N, peak RSS below 64 MB and growing less than linearly," \
        "start-up under 50 ms."
    exit 0
fi
echo "Some targets were missed (see above)."
exit 1
