#!/usr/bin/env bash
# Measures full headless runs on generated Tessel schemas of N layers, in a throwaway PostgreSQL cluster: against
# the bare-driver floor, and over a link with a set round-trip time with one connection (--jobs 1) and with the
# default. Prints one table (Markdown) per part plus the verdict on each target.
#
# Usage: scripts/benchmark.sh [--parts "floor latency"] [--sizes "100 1000 10000"] [--repeat R]
#                               [--startup-samples S] [--latency-sizes "1000 10000"] [--latencies "0 1 10"]
#                               [--latency-repeat R] [--priority realtime|nice|none] [--keep]
#   --repeat           timed runs of tabvet and of the floor per size, taken alternately; the best of each counts.
#                      Sizes below 10,000 get three times as many: their runs last seconds, so one disturbance
#                      weighs more
#   --startup-samples  start-ups measured per size (tabvet and floor); the median counts
#   --parts            floor: run time against the floor, memory, start-up; latency: --jobs 1 against the
#                      default over each round-trip time
#   --latency-sizes    the sizes of the latency part
#   --latencies        round-trip times in milliseconds; 0 is the loopback interface itself, any other goes
#                      through bench's latency proxy, which delays each direction by half of it
#   --latency-repeat   timed runs per size, time and jobs (best counts); a run that took over five minutes is
#                      not repeated
#   --priority         how the server and the measured programs are scheduled while they are timed (needs root;
#                      falls back to none): on a machine shared with builds, wall times at normal priority vary
#                      by a factor of two, and even at niceness -10 by half. realtime (the default) is
#                      SCHED_FIFO 10: a run and the server mostly wait for each other, so they take less than
#                      a core, and the kernel keeps 5 % of every core for everything else anyway.
#   --keep             keep the work folder (statement traces, reports, JSON, raw measurements)
# Exit status: 0 every target met, 1 a target missed, 2 the benchmark itself failed.
# Not part of the test suite: the floor part takes about half an hour at the default sizes, the latency part
# about an hour (--jobs 1 over 10 ms at 10,000 layers alone takes 26 minutes).
set -euo pipefail
cd "$(dirname "$0")/.."

parts="floor latency"
sizes="100 1000 10000"
repeat=5
startup_samples=10
latency_sizes="1000 10000"
latencies="0 1 10"
latency_repeat=3
priority=realtime
keep=no
while [ $# -gt 0 ]; do
    case "$1" in
        --parts) parts=$2; shift 2 ;;
        --latency-sizes) latency_sizes=$2; shift 2 ;;
        --latencies) latencies=$2; shift 2 ;;
        --latency-repeat) latency_repeat=$2; shift 2 ;;
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
proxy=$PWD/build/bench/tabvet_latency_proxy
for program in "$tabvet" "$floor" "$measure" "$proxy"; do
    [ -x "$program" ] || { echo "benchmark: $program was not built" >&2; exit 2; }
done

work=$(mktemp -d /tmp/tabvet-bench.XXXXXX)
state=$work/cluster.state
proxy_pid=""
cleanup() {
    [ -z "$proxy_pid" ] || kill "$proxy_pid" 2>/dev/null || true
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

# Generates the schema of n layers once, as database bench_n.
generated_sizes=" "
generate() {
    local n=$1 db=bench_$1 started generated snapshot objects
    case "$generated_sizes" in *" $n "*) return 0 ;; esac
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
    generated_sizes="$generated_sizes$n "
}

rows=()
all_startup=() all_floor_startup=()
targets_met=yes
previous_size=""
previous_rss=""
part() { case " $parts " in *" $1 "*) return 0 ;; *) return 1 ;; esac; }
part floor || sizes=""
for n in $sizes; do
    db=bench_$n
    generate "$n"

    conn="Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=$port;Database=$db;UID=tabvet;PWD=;"
    trace=$work/statements_$n.txt
    # One connection, as the floor has: this part measures what tabvet adds to the statements it sends.
    run=("$tabvet" --connect "$conn" --jobs 1 --report "$work/report_$n.txt" --json "$work/results_$n.json")

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
if part floor; then
    startup_all=$(printf '%s\n' "${all_startup[@]}" | median)
    floor_startup_all=$(printf '%s\n' "${all_floor_startup[@]}" | median)
    awk -v s="$startup_all" 'BEGIN { exit !(s < 50) }' || { targets_met=no; log "MISSED: start-up $startup_all ms"; }
    if [ -n "$previous_rss" ] && ! awk -v r="$previous_rss" 'BEGIN { exit !(r < 64 * 1024) }'; then
        targets_met=no
        log "MISSED: peak RSS $previous_rss kB at N = $previous_size"
    fi
fi

# The latency part: each size over each round-trip time, with one connection and with the default. Both must
# leave the same report and JSON (times masked); the default must take at most a sixth of --jobs 1 at the
# largest size and time, be no slower at 0 ms, and stay below 64 MB.
masked() { sed -E 's/(started at |finished at |Generated: |"started": |"finished": )[^,[:cntrl:]]*/\1<time>/; s/("durationMs": )[0-9.]+/\1<time>/' "$1"; }
latency_rows=()
part latency || latency_sizes=""
largest_size=$(printf '%s\n' $latency_sizes | sort -g | tail -n 1)
largest_rtt=$(printf '%s\n' $latencies | sort -g | tail -n 1)
for n in $latency_sizes; do
    generate "$n"
    for rtt in $latencies; do
        target_port=$port
        if [ "$rtt" != 0 ]; then
            # Its first line, "port=N", read from a pipe: waiting for it cannot race with its writing.
            rm -f "$work/proxy.fifo"
            mkfifo "$work/proxy.fifo"
            "${prioritised[@]}" "$proxy" --to "$port" --delay-us "$(awk -v r="$rtt" 'BEGIN { print int(r * 500) }')" \
                >"$work/proxy.fifo" 2>"$work/proxy_errors.txt" &
            proxy_pid=$!
            exec {proxy_out}<"$work/proxy.fifo"
            IFS= read -r -t 30 -u "$proxy_out" line || line=""
            exec {proxy_out}<&-
            target_port=${line#port=}
            [ -n "$target_port" ] && [ "$line" != "$target_port" ] ||
                { log "the latency proxy did not start"; cat "$work/proxy_errors.txt" >&2; exit 2; }
        fi
        conn="Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=$target_port;Database=bench_$n;UID=tabvet;PWD=;"
        declare -A best=() peak=() statuses=()
        for jobs in 1 default; do
            jobs_args=()
            [ "$jobs" = default ] || jobs_args=(--jobs "$jobs")
            times=() rss=()
            for r in $(seq 1 "$latency_repeat"); do
                rm -f "$work/report_$jobs.txt" "$work/results_$jobs.json"
                m=$("${prioritised[@]}" "$measure" --stdout "$work/log_$jobs.txt" --stderr "$work/progress_$jobs.txt" -- \
                    "$tabvet" --connect "$conn" "${jobs_args[@]}" --report "$work/report_$jobs.txt" \
                    --json "$work/results_$jobs.json")
                status=$(field status "$m")
                [ "$status" -le 1 ] || { log "the run over $n layers at $rtt ms ended with status $status"; exit 2; }
                times+=("$(field wall_ms "$m")")
                rss+=("$(field peak_rss_kb "$m")")
                log "$n layers, $rtt ms, jobs $jobs, round $r: $m"
                awk -v t="$(field wall_ms "$m")" 'BEGIN { exit !(t > 300000) }' && break
            done
            statuses[$jobs]=$status
            best[$jobs]=$(printf '%s\n' "${times[@]}" | smallest)
            peak[$jobs]=$(printf '%s\n' "${rss[@]}" | sort -g | tail -n 1)
        done
        [ "${statuses[1]}" = "${statuses[default]}" ] ||
            { log "--jobs 1 and the default ended differently at $n layers, $rtt ms"; exit 2; }
        for file in report_%s.txt results_%s.json; do
            # shellcheck disable=SC2059
            cmp -s <(masked "$work/$(printf "$file" 1)") <(masked "$work/$(printf "$file" default)") ||
                { log "--jobs 1 and the default wrote different files ($file) at $n layers, $rtt ms"; exit 2; }
        done
        if [ -n "$proxy_pid" ]; then
            kill "$proxy_pid"
            wait "$proxy_pid" 2>/dev/null || true
            proxy_pid=""
        fi
        speedup=$(awk -v a="${best[1]}" -v b="${best[default]}" 'BEGIN { printf "%.2f", a / b }')
        if [ "$rtt" = 0 ]; then
            awk -v s="$speedup" 'BEGIN { exit !(s >= 1) }' ||
                { targets_met=no; log "MISSED: the default is slower than --jobs 1 at 0 ms and $n layers"; }
        fi
        if [ "$n" = "$largest_size" ] && [ "$rtt" = "$largest_rtt" ] && [ "$rtt" != 0 ]; then
            awk -v s="$speedup" 'BEGIN { exit !(s >= 6) }' ||
                { targets_met=no; log "MISSED: the default takes more than a sixth of --jobs 1 at $rtt ms"; }
        fi
        awk -v r="${peak[default]}" 'BEGIN { exit !(r < 64 * 1024) }' ||
            { targets_met=no; log "MISSED: peak RSS ${peak[default]} kB with the default at $n layers"; }
        latency_rows+=("$(awk -v n="$n" -v rtt="$rtt" -v one="${best[1]}" -v def="${best[default]}" -v s="$speedup" \
            -v r1="${peak[1]}" -v rd="${peak[default]}" 'BEGIN {
                printf "| %d | %s ms | %.1f s | %.1f s | %.2f | %.1f MB | %.1f MB |", n, rtt, one / 1000, def / 1000, s,
                    r1 / 1024, rd / 1024 }')")
    done
done

echo
echo "Machine: $(nproc) cores, $(awk '/MemTotal/ { printf "%.1f GB", $2 / 1048576 }' /proc/meminfo) memory," \
    "$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1), Debian $(cat /etc/debian_version)," \
    "load average $load_before before and $(cut -d' ' -f1-3 /proc/loadavg) after"
if part floor; then
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
fi
if part latency; then
    echo
    echo "tabvet $(git rev-parse --short HEAD 2>/dev/null || echo unknown), over a round-trip time, best of" \
        "$latency_repeat timed runs (one for a run over five minutes), priority $priority"
    echo
    echo "| N | round trip | --jobs 1 | default | speed-up | peak RSS, --jobs 1 | peak RSS, default |"
    echo "|---:|---:|---:|---:|---:|---:|---:|"
    printf '%s\n' "${latency_rows[@]}"
fi
echo
if [ "$targets_met" = yes ]; then
    echo "All targets met."
    exit 0
fi
echo "Some targets were missed (see above)."
exit 1
