#!/bin/bash
# Renders a shot on a Slurm cluster: one array job, one task per chunk of frames. Every task runs
# `sparkhost render --frames A-B --shot-start FIRST`, so each chunk is byte-identical to the same
# frames of one long render. Everything about a shot lives in its shot folder: the chunk table,
# the render arguments, one log and one status file per chunk, and the ids of the jobs submitted.
#
#   farm-slurm.sh submit SHOT --frames 1-100 --chunk 25 [--cpus N] [--partition P] [--wait] -- RENDER ARGS
#   farm-slurm.sh wait SHOT          # until no task of the shot is queued or running
#   farm-slurm.sh summary SHOT       # chunk by chunk; exit 1 while any chunk has not succeeded
#   farm-slurm.sh rerun SHOT [--wait]  # resubmits only the chunks that failed or never finished
#
# RENDER ARGS are those of `sparkhost render` without --frames: the plug-in, clips, setup, -o ...
# Relative paths are taken from the folder submit ran in; the shot folder, the plug-in, sparkhost
# and every input and output must be on storage that all nodes see under the same paths.
set -u

usage() {
    sed -n '2,14p' "$0" | sed 's/^# \{0,1\}//' >&2
    exit 2
}
fail() {
    echo "farm-slurm: $*" >&2
    exit 2
}
absolute() { case "$1" in /*) echo "$1" ;; *) echo "$PWD/$1" ;; esac; }

load_shot() {
    SHOT=$(absolute "$1")
    [ -f "$SHOT/shot.env" ] || fail "'$1' is not a shot folder (no shot.env): submit it first"
    # shellcheck disable=SC1091
    . "$SHOT/shot.env"
}

# Chunk indices of the shot that are queued or running now.
active_chunks() {
    [ -s "$SHOT/jobs" ] || return 0
    squeue -h -r -o '%K' -j "$(paste -sd, "$SHOT/jobs")" 2>/dev/null | grep -E '^[0-9]+$' || true
}

submit_chunks() {  # array list, e.g. 0-3 or 1,3
    local array=$1 index id
    for index in $(echo "$array" | tr ',' ' '); do
        case "$index" in
            *-*) for i in $(seq "${index%-*}" "${index#*-}"); do rm -f "$SHOT/status/chunk-$i"; done ;;
            *) rm -f "$SHOT/status/chunk-$index" ;;
        esac
    done
    local options=(--parsable --job-name "vesk-$(basename "$SHOT")" --array "$array"
                   --output "$SHOT/logs/chunk-%a.log" --cpus-per-task "$CPUS")
    [ -n "$PARTITION" ] && options+=(--partition "$PARTITION")
    id=$(sbatch "${options[@]}" "$SHOT/task.sh" "$SHOT") || fail "sbatch refused the job"
    id=${id%%;*}
    echo "$id" >>"$SHOT/jobs"
    echo "farm-slurm: submitted job $id, chunks $array of $(basename "$SHOT") (logs in $SHOT/logs)"
}

wait_shot() {
    while [ -n "$(active_chunks)" ]; do sleep 2; done
}

summary() {
    local index first last state failed=0 active
    active=" $(active_chunks | tr '\n' ' ') "
    printf '%-6s %-13s %s\n' chunk frames state
    while read -r index first last; do
        if [ -f "$SHOT/status/chunk-$index" ]; then
            state=$(cat "$SHOT/status/chunk-$index")
        elif [ "${active#* $index }" != "$active" ]; then
            state="queued or running"
        else
            state="never finished"
        fi
        printf '%-6s %-13s %s\n' "$index" "$first-$last" "$state"
        case "$state" in ok*|queued*) ;; *) failed=$((failed + 1)) ;; esac
    done <"$SHOT/chunks"
    if [ "$failed" -gt 0 ]; then
        echo
        echo "$failed chunk(s) failed or never finished; the end of their logs:"
        while read -r index first last; do
            [ "$(head -c2 "$SHOT/status/chunk-$index" 2>/dev/null)" = ok ] && continue
            [ "${active#* $index }" != "$active" ] && continue
            echo "--- chunk $index (frames $first-$last): $SHOT/logs/chunk-$index.log"
            tail -n 5 "$SHOT/logs/chunk-$index.log" 2>/dev/null || echo "(no log: the task never started)"
        done <"$SHOT/chunks"
        echo
        echo "re-run them with: $0 rerun $SHOT"
        return 1
    fi
    [ "$active" = "  " ] || return 1
    echo "every chunk rendered"
}

command=${1:-}
[ $# -ge 2 ] || usage
shift
case "$command" in
submit)
    SHOT=$(absolute "$1")
    shift
    FRAMES="" CHUNK="" CPUS=1 PARTITION="" WAIT=0
    SPARKHOST=${SPARKHOST:-$(dirname "$(absolute "$0")")/../build/sparkhost}
    while [ $# -gt 0 ]; do
        case "$1" in
            --frames) FRAMES=$2; shift 2 ;;
            --chunk) CHUNK=$2; shift 2 ;;
            --cpus) CPUS=$2; shift 2 ;;
            --partition) PARTITION=$2; shift 2 ;;
            --sparkhost) SPARKHOST=$2; shift 2 ;;
            --wait) WAIT=1; shift ;;
            --) shift; break ;;
            *) fail "unknown option '$1' (render arguments go after --)" ;;
        esac
    done
    [ $# -gt 0 ] || fail "no render arguments: give them after --, starting with the plug-in"
    echo "$FRAMES" | grep -Eq '^[0-9]+-[0-9]+$' || fail "--frames must be FIRST-LAST, for example 1-100"
    FIRST=${FRAMES%-*} LAST=${FRAMES#*-}
    [ "$FIRST" -le "$LAST" ] || fail "--frames $FRAMES: the first frame is after the last"
    echo "$CHUNK" | grep -Eq '^[1-9][0-9]*$' || fail "--chunk must be a number of frames of at least 1"
    echo "$CPUS" | grep -Eq '^[1-9][0-9]*$' || fail "--cpus must be a number of at least 1"
    SPARKHOST=$(absolute "$SPARKHOST")
    [ -x "$SPARKHOST" ] || fail "sparkhost '$SPARKHOST' is not an executable (give --sparkhost PATH)"
    command -v sbatch >/dev/null || fail "sbatch not found: is this a Slurm submit host?"
    for arg in "$@"; do
        case "$arg" in --frames|--frames=*|--shot-start|--shot-start=*)
            fail "'$arg' is the farm's to set: give the shot's range with --frames before --" ;;
        esac
    done
    [ -e "$SHOT/shot.env" ] && fail "'$SHOT' already holds a shot: use rerun, or choose another folder"
    # Everything a chunk would refuse is refused here, before anything is queued.
    "$SPARKHOST" render --quiet "$@" --frames "$FRAMES" --check ||
        fail "sparkhost refuses these render arguments (above); nothing was submitted"
    mkdir -p "$SHOT/logs" "$SHOT/status" || fail "cannot make the shot folder '$SHOT'"
    {
        printf 'FIRST=%q LAST=%q CHUNK=%q CPUS=%q PARTITION=%q\n' "$FIRST" "$LAST" "$CHUNK" "$CPUS" "$PARTITION"
        printf 'SPARKHOST=%q WORKDIR=%q\n' "$SPARKHOST" "$PWD"
    } >"$SHOT/shot.env"
    printf '%q ' "$@" >"$SHOT/render.args"
    index=0
    for ((first = FIRST; first <= LAST; first += CHUNK)); do
        last=$((first + CHUNK - 1))
        [ "$last" -gt "$LAST" ] && last=$LAST
        echo "$index $first $last"
        index=$((index + 1))
    done >"$SHOT/chunks"
    cat >"$SHOT/task.sh" <<'TASK'
#!/bin/bash
# One chunk of a shot: renders its frames after stepping the swarm from the shot's first frame.
shot=$1
index=$SLURM_ARRAY_TASK_ID
. "$shot/shot.env"
read -r _ first last < <(awk -v i="$index" '$1 == i' "$shot/chunks")
eval "args=($(cat "$shot/render.args"))"
cd "$WORKDIR" || exit 2
echo "chunk $index: frames $first-$last of $FIRST-$LAST on $(hostname) (job ${SLURM_ARRAY_JOB_ID:-?})"
start=$(date +%s)
"$SPARKHOST" render "${args[@]}" --frames "$first-$last" --shot-start "$FIRST"
code=$?
if [ "$code" -eq 0 ]; then state="ok"; else state="failed (exit $code)"; fi
echo "$state on $(hostname) in $(($(date +%s) - start)) s" >"$shot/status/chunk-$index.tmp"
mv "$shot/status/chunk-$index.tmp" "$shot/status/chunk-$index"
exit "$code"
TASK
    chmod +x "$SHOT/task.sh"
    load_shot "$SHOT"
    submit_chunks "0-$((index - 1))"
    if [ "$WAIT" = 1 ]; then
        wait_shot
        summary
    fi
    ;;
wait)
    load_shot "$1"
    wait_shot
    summary
    ;;
summary)
    load_shot "$1"
    summary
    ;;
rerun)
    load_shot "$1"
    active=" $(active_chunks | tr '\n' ' ') "
    redo=""
    while read -r index _; do
        [ "$(head -c2 "$SHOT/status/chunk-$index" 2>/dev/null)" = ok ] && continue
        [ "${active#* $index }" != "$active" ] && continue
        redo="$redo${redo:+,}$index"
    done <"$SHOT/chunks"
    if [ -z "$redo" ]; then
        echo "farm-slurm: nothing to re-run: every chunk rendered or is still queued"
        exit 0
    fi
    submit_chunks "$redo"
    if [ "${2:-}" = --wait ]; then
        wait_shot
        summary
    fi
    ;;
*) usage ;;
esac
