#!/bin/bash
# `make farm-test`: brings up a one-node Slurm cluster on this machine (its own munged, slurmctld
# and slurmd, configured in a temporary folder, on ports of their own), renders the demo scene as
# a four-chunk array job with scripts/farm-slurm.sh, and checks every frame against one local
# render of the whole shot. Then it throws one chunk away and checks that a re-run renders only
# that chunk, again identical. Needs root (the daemons run as root) and the `farm` packages.
set -eu
BUILD=$(cd "${1:-build}" && pwd)
FRAMES=${FARM_FRAMES:-24}
CHUNK=$(((FRAMES + 3) / 4))
[ "$(id -u)" -eq 0 ] || { echo "farm-test: the Slurm daemons need root" >&2; exit 2; }

TMP=$(mktemp -d /tmp/vesk-farm.XXXXXX)
stop() {
    for daemon in slurmd slurmctld munged; do
        [ -s "$TMP/$daemon.pid" ] && kill "$(cat "$TMP/$daemon.pid")" 2>/dev/null || true
    done
    sleep 1
    if [ "${KEEP:-0}" = 1 ]; then echo "farm-test: kept $TMP"; else rm -rf "$TMP"; fi
}
trap stop EXIT

# munge: a key of our own and a private socket, so nothing of the system's is touched.
dd if=/dev/urandom of="$TMP/munge.key" bs=1024 count=1 status=none
chmod 700 "$TMP"
chmod 400 "$TMP/munge.key"
munged --force --key-file="$TMP/munge.key" --socket="$TMP/munge.socket" --pid-file="$TMP/munged.pid" \
    --log-file="$TMP/munged.log" --seed-file="$TMP/munged.seed"

NODE=$(hostname -s)
mkdir -p "$TMP/state" "$TMP/spool"
cat >"$TMP/slurm.conf" <<EOF
ClusterName=veskfarm
SlurmctldHost=$NODE
SlurmUser=root
SlurmdUser=root
SlurmctldPort=${FARM_PORT:-6917}
SlurmdPort=$((${FARM_PORT:-6917} + 1))
AuthType=auth/munge
CredType=cred/munge
AuthInfo=socket=$TMP/munge.socket
StateSaveLocation=$TMP/state
SlurmdSpoolDir=$TMP/spool
SlurmctldPidFile=$TMP/slurmctld.pid
SlurmdPidFile=$TMP/slurmd.pid
SlurmctldLogFile=$TMP/slurmctld.log
SlurmdLogFile=$TMP/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerType=sched/builtin
ReturnToService=2
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
NodeName=$NODE CPUs=$(nproc) State=UNKNOWN
PartitionName=farm Nodes=$NODE Default=YES MaxTime=INFINITE State=UP
EOF
export SLURM_CONF=$TMP/slurm.conf
slurmctld -f "$SLURM_CONF"
slurmd -f "$SLURM_CONF"
for _ in $(seq 60); do
    sinfo -h -o '%T' 2>/dev/null | grep -Eq '^(idle|mixed|allocated)' && break
    sleep 1
done
sinfo -h -o '%T' | grep -Eq '^(idle|mixed|allocated)' || {
    echo "farm-test: the Slurm node did not come up; its logs:" >&2
    tail -n 20 "$TMP/slurmctld.log" "$TMP/slurmd.log" >&2
    exit 1
}
echo "farm-test: Slurm is up: $(sinfo -h -o '%P %D node(s) %T %c cpus')"

# The demo scene (scripts/demo.sh) at 320x180 and $FRAMES frames.
SCENE=("$BUILD/vesk.spark" --size 320x180 --press "Simple Food Hunt" --set "Vesk Size=120"
       --set "Add Living Rotate=on" --keys examples/food-path.keys)
mkdir -p "$TMP/whole" "$TMP/farm"
"$BUILD/sparkhost" render "${SCENE[@]}" --frames "1-$FRAMES" -o "$TMP/whole/vesk.####.png" 2>"$TMP/whole.log" ||
    { cat "$TMP/whole.log" >&2; exit 1; }

compare() {
    local f differ=0
    for f in $(seq "$FRAMES"); do
        name=$(printf 'vesk.%04d.png' "$f")
        cmp -s "$TMP/whole/$name" "$TMP/farm/$name" || { echo "farm-test: frame $f differs or is missing" >&2; differ=1; }
    done
    return $differ
}

SCRIPT=$(pwd)/scripts/farm-slurm.sh
SPARKHOST=$BUILD/sparkhost "$SCRIPT" submit "$TMP/shot" --frames "1-$FRAMES" --chunk "$CHUNK" --wait -- \
    "${SCENE[@]}" -o "$TMP/farm/vesk.####.png"
compare
echo "farm-test: all $FRAMES frames of the 4 chunks are byte-identical to the whole render"

# A lost chunk: its status and frames gone, as after a node failure. Only it is rendered again.
rm -f "$TMP/shot/status/chunk-2"
read -r _ first last < <(awk '$1 == 2' "$TMP/shot/chunks")
for f in $(seq "$first" "$last"); do rm "$TMP/farm/$(printf 'vesk.%04d.png' "$f")"; done
if "$SCRIPT" summary "$TMP/shot"; then echo "farm-test: the summary missed the lost chunk" >&2; exit 1; fi
"$SCRIPT" rerun "$TMP/shot" --wait
[ "$(wc -l <"$TMP/shot/jobs")" -eq 2 ] || { echo "farm-test: expected exactly one re-run job" >&2; exit 1; }
compare
echo "farm-test: the re-run rendered only chunk 2 (frames $first-$last), identical again"
echo "farm-test: passed"
