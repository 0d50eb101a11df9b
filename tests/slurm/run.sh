#!/usr/bin/env bash
# amisim's job arrays on a real Slurm: a cluster of this one machine, started on the loopback
# address with all its state in a temporary folder, and stopped again whatever happens.
#
#   tests/slurm/run.sh [BUILD FOLDER]      default: build/release
set -euo pipefail

build=$(realpath "${1:-$(dirname "$0")/../../build/release}")
amisim=$build/host/amisim
model=$build/tests/host/TestModel.so
for program in munged mungekey slurmctld slurmd sbatch; do
    if ! PATH=$PATH:/usr/sbin command -v $program >/dev/null; then
        echo "skipped: no $program; the Debian packages slurm-wlm and munge have what it takes"
        exit 0
    fi
done
PATH=$PATH:/usr/sbin

state=$(mktemp -d "${TMPDIR:-/tmp}/slurm-XXXXXX")
export SLURM_CONF=$state/slurm.conf
pids=()
finish() {
    status=$?
    trap - EXIT
    [ ${#pids[@]} -lt 3 ] || scancel --quiet --user="$(id -un)" || true
    # The node last of those that talk, so that it still hears that its jobs are cancelled.
    for pid in "${pids[@]}"; do
        kill "$pid" 2>/dev/null && wait "$pid" || true
    done
    [ $status -eq 0 ] || tail -n 15 "$state"/*.log >&2
    rm -rf "$state"
    exit $status
}
trap finish EXIT
trap 'exit 130' INT TERM

expect() {  # expect TEXT FILE
    grep -qF -- "$1" "$2" || { echo "expected '$1' in $2:" >&2; cat "$2" >&2; exit 1; }
}
until_true() {  # until_true SECONDS COMMAND...
    local end=$((SECONDS + $1))
    shift
    until "$@"; do
        [ $SECONDS -lt $end ] || { echo "waited in vain for: $*" >&2; exit 1; }
        sleep 0.3
    done
}
free_port() {
    local port
    while port=$((20000 + RANDOM % 12000)); (: <"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do :; done
    echo $port
}

user=$(id -un)
node=$(hostname -s)
chmod 755 "$state"
mkdir -m 755 "$state"/{munge,controller,node,work}
mungekey --create --keyfile="$state/munge/key"
munged --foreground --force --key-file="$state/munge/key" --socket="$state/munge/socket" \
    --pid-file="$state/munge/pid" --seed-file="$state/munge/seed" >"$state/munged.log" 2>&1 &
munge=$!
cat >"$SLURM_CONF" <<EOF
ClusterName=loopback
SlurmctldHost=$node(127.0.0.1)
SlurmctldPort=$(free_port)
SlurmdPort=$(free_port)
CommunicationParameters=NoInAddrAny,NoCtldInAddrAny
SlurmUser=$user
SlurmdUser=$user
AuthType=auth/munge
AuthInfo=socket=$state/munge/socket
CredType=cred/munge
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
MpiDefault=none
ReturnToService=2
SchedulerParameters=sched_interval=1,batch_sched_delay=0
MailProg=/bin/true
StateSaveLocation=$state/controller
SlurmdSpoolDir=$state/node
SlurmctldPidFile=$state/controller/pid
SlurmdPidFile=$state/node/pid
NodeName=$node NodeAddr=127.0.0.1 CPUs=$(nproc) State=UNKNOWN
PartitionName=all Nodes=$node Default=YES State=UP
EOF
pids=("$munge")
until_true 20 test -S "$state/munge/socket"
slurmctld -D >"$state/slurmctld.log" 2>&1 &
pids=($! "$munge")
slurmd -D >"$state/slurmd.log" 2>&1 &
pids=($! "${pids[@]}")
idle() { [ "$(sinfo --noheader --format=%T 2>/dev/null)" = idle ]; }
until_true 60 idle

no_jobs() { [ -z "$(squeue --noheader)" ]; }
sweep() {  # sweep LOSSES: 4 modes of the model, the last of which fails
    "$amisim" sweep "$model" --grid "param.Mode=pass,invert,drop,wave 0" --grid "loss=$1" \
        --out sweep --slurm --chunk 3 --partition all --sbatch-option=--time=10 -- \
        --bits 3000 --ppm 0
}
cd "$state/work"
mkdir sweep

echo "submit, collect while it runs, collect at the end"
sweep 0,6 >submitted.txt
expect "8 cases submitted as job" submitted.txt
expect "--array=1-3" sweep/slurm/job.sh
"$amisim" sweep --collect sweep >early.txt || [ $? -eq 9 ]
expect "8 cases:" early.txt
until_true 120 no_jobs
"$amisim" sweep --collect sweep >collected.txt && exit 1 || [ $? -eq 9 ]
expect "8 cases: 6 ok, 2 failed, 0 missing" collected.txt
expect "7 Mode=wave 0, loss=0: exit code 6: the model returned 0 in AMI_GetWave 3" collected.txt

echo "a longer axis: only what is new is submitted and run"
touch sweep/before
sweep 0,6,10 >submitted.txt
expect "4 cases submitted as job" submitted.txt
until_true 120 no_jobs
"$amisim" sweep --collect sweep >collected.txt || [ $? -eq 9 ]
expect "12 cases: 9 ok, 3 failed, 0 missing" collected.txt
[ "$(find sweep/cases -name case.json -newer sweep/before | wc -l)" -eq 4 ]

echo "a task that is cancelled: its case is missing, not failed"
"$amisim" sweep "$model" --grid param.Mode=hang --out hanging --slurm -- --bits 3000 >submitted.txt
started() { [ -e hanging/cases/0001-Mode=hang/run.log ]; }
until_true 60 started
scancel --user="$user"
until_true 60 no_jobs
"$amisim" sweep --collect hanging >collected.txt || [ $? -eq 9 ]
expect "1 cases: 0 ok, 0 failed, 1 missing" collected.txt
echo "Slurm: all as expected"
