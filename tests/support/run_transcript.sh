# Sourced by the shell tests that compare headless runs of two tabvet programs: databases on the run's
# cluster (TABVET_PG_STATE, which ctest sets) and a run's transcript, with what differs between two runs
# masked.
fixtures=$(cd "$(dirname "${BASH_SOURCE[0]}")/../fixtures" && pwd)
cluster="bash $fixtures/../../scripts/pg_cluster.sh"
state=${TABVET_PG_STATE:?the run\'s cluster state file (ctest sets it)}
port=$(sed -n 's/^PGPORT=//p' "$state")

connect() { echo "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=$port;Database=$1;UID=tabvet;PWD=;"; }
# createdb NAME FILE...: a database built from files under tests/fixtures.
createdb() {
    local name=$1
    shift
    $cluster createdb "$state" "$name" "${@/#/$fixtures/}" >/dev/null
}
psql() { $cluster psql "$state" "$1" -v ON_ERROR_STOP=1 -q -c "$2" >/dev/null; }

# transcript FOLDER STATUS [DECODE]: the exit status and every file of FOLDER (the run's standard output and
# error as out and err), with times, durations and FOLDER masked (also as Wine's drive Z: shows it). DECODE,
# a command, reads the report files first.
transcript() {
    local folder=$1 decode=${3:-cat} file text
    echo "exit $2"
    for file in "$folder"/*; do
        echo "--- ${file##*/}"
        case $file in
            */out | */err | *.json) text=$(cat "$file") ;;
            *) text=$($decode <"$file") ;;
        esac
        text=${text//"$folder"/<folder>}
        printf '%s\n' "${text//"Z:${folder//\//\\}"/<folder>}" | sed -E \
            -e 's#(started|finished|stopped) at [0-9./-]+ [0-9]{1,2}(:[0-9]{2})+( [AP]M)?#\1 at <time>#' \
            -e 's#^Generated: .*#Generated: <time>#' \
            -e 's#"(started|finished)": "[^"]*"#"\1": "<time>"#' \
            -e 's#"durationMs": [0-9.]+#"durationMs": <ms>#'
    done
}
