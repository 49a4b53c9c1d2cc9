# Slurm's daemons on the loopback, as root. To be sourced; $slurm names the folder of their state.

start_slurm() {
    install -d -m 755 -o munge -g munge /run/munge
    [[ -f /etc/munge/munge.key ]] || mungekey
    if ! pgrep -x munged >/dev/null; then
        runuser -u munge -- munged
        pgrep -nx munged >"$slurm/munged.pid"
    fi
    cat >"$slurm/slurm.conf" <<CONF
ClusterName=pages
SlurmctldHost=localhost
SlurmUser=root
AuthType=auth/munge
StateSaveLocation=$slurm/state
SlurmdSpoolDir=$slurm/spool
SlurmctldPidFile=$slurm/slurmctld.pid
SlurmdPidFile=$slurm/slurmd.pid
SlurmctldPort=26817
SlurmdPort=26818
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerParameters=sched_interval=1,batch_sched_delay=0,bf_interval=1
ReturnToService=2
NodeName=localhost CPUs=$(nproc) State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES MaxTime=INFINITE State=UP
CONF
    export SLURM_CONF=$slurm/slurm.conf
    mkdir -p "$slurm/state" "$slurm/spool"
    slurmctld -L "$slurm/slurmctld.log"
    slurmd -N localhost -L "$slurm/slurmd.log"
    for _ in $(seq 60); do
        [[ $(sinfo -h -o %t) == idle ]] && return
        sleep 1
    done
    echo "Slurm does not become ready; see $slurm" >&2
    return 1
}

stop_slurm() {
    local daemon id
    for daemon in slurmd slurmctld munged; do
        [[ -f $slurm/$daemon.pid ]] || continue
        id=$(cat "$slurm/$daemon.pid")
        kill "$id" 2>/dev/null || true
        # It still writes what it knows.
        timeout 20 tail --pid="$id" -f /dev/null || true
    done
}
