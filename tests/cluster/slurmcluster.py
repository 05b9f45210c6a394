"""A Slurm cluster on this machine, for tests: own daemons, own folder, loopback only, no privileges needed."""

import ctypes
import getpass
import os
import pathlib
import secrets
import shutil
import signal
import socket
import subprocess
import sys
import time

DAEMONS = ("slurmctld", "slurmd", "munged")
CONFIGURATION = """\
ClusterName=tov
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={port}
SlurmUser={user}
SlurmdUser={user}
AuthType=auth/munge
AuthInfo=socket={folder}/munge/socket,cred_expire=5
CommunicationParameters=NoCtldInAddrAny,NoInAddrAny
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool-%n
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd-%n.pid
SlurmctldLogFile={folder}/slurmctld.log
SlurmdLogFile={folder}/slurmd-%n.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
SwitchType=switch/none
MpiDefault=none
SelectType=select/linear
SlurmdParameters=config_overrides
SlurmdTimeout=6
KillWait=2
ReturnToService=2
JobRequeue=1
SchedulerType=sched/builtin
SchedulerParameters=sched_interval=2,batch_sched_delay=0
{nodes}
PartitionName=main Nodes=n[1-{count}] Default=YES MaxTime=10 State=UP
"""


def program(name):
    """The path of a daemon; Debian keeps daemons out of the users' search path."""
    return shutil.which(name, path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin")


def missing():
    """The first program that is not installed; None when all are."""
    return next((name for name in (*DAEMONS, "sbatch", "scontrol", "squeue", "scancel") if not program(name)), None)


def die_with_parent():
    """Makes the system end the calling process when the test ends for any reason."""
    PR_SET_PDEATHSIG = 1
    ctypes.CDLL(None).prctl(PR_SET_PDEATHSIG, signal.SIGKILL)


def enter_namespace():
    """Starts the script again where nothing that it starts can outlive it. Where that is not allowed, the daemons still end
    with the script, and their jobs by themselves."""
    if os.environ.get("TOV_CLUSTER_INSIDE"):
        return
    command = ["unshare", "--pid", "--fork", "--kill-child", "--mount-proc", "--net", "--uts"]
    if subprocess.run([*command, "true"], capture_output=True, check=False).returncode == 0:
        os.environ["TOV_CLUSTER_INSIDE"] = "1"
        # A loopback device, a host name for its address, and a second address: names are not resolved without one.
        prepare = 'ip link set lo up && ip address add 192.0.2.1/32 dev lo && hostname localhost && exec "$@"'
        os.execvp(command[0], [*command, "sh", "-c", prepare, "sh", sys.executable, *sys.argv])


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Cluster:
    """Nodes n1, n2, ... of one processor each."""

    def __init__(self, folder, count):
        self.folder = pathlib.Path(folder)
        self.processes = {}
        host = socket.gethostname().split(".")[0]
        nodes = "\n".join(f"NodeName=n{i} NodeHostname={host} NodeAddr=127.0.0.1 Port={free_port()} CPUs=1 State=UNKNOWN"
                          for i in range(1, count + 1))
        for name in ("munge", "state", *(f"spool-n{i}" for i in range(1, count + 1))):
            (self.folder / name).mkdir(mode=0o700, parents=True)
        (self.folder / "slurm.conf").write_text(CONFIGURATION.format(
            host=host, port=free_port(), user=getpass.getuser(), folder=self.folder, nodes=nodes, count=count))
        self.environment = dict(os.environ, SLURM_CONF=str(self.folder / "slurm.conf"))
        self.start_munge()
        self.start("slurmctld", "-D")
        for i in range(1, count + 1):
            self.start("slurmd", "-D", "-N", f"n{i}", name=f"n{i}")
        self.wait(lambda: len(self.idle_nodes()) == count, "the nodes do not start")

    def start(self, daemon, *arguments, name=None):
        with open(self.folder / f"{name or daemon}.out", "ab") as output:
            self.processes[name or daemon] = subprocess.Popen(
                [program(daemon), *arguments], env=self.environment, stdout=output, stderr=output,
                stdin=subprocess.DEVNULL, preexec_fn=die_with_parent)

    def start_munge(self):
        munge = self.folder / "munge"
        key = munge / "key"
        key.write_bytes(secrets.token_bytes(128))
        key.chmod(0o600)
        self.start("munged", "--foreground", "--force", f"--key-file={key}", f"--socket={munge}/socket",
                   f"--pid-file={munge}/pid", f"--log-file={munge}/log", f"--seed-file={munge}/seed")
        self.wait((munge / "socket").exists, "munged does not start")

    def wait(self, condition, problem, seconds=40):
        """Waits until a condition holds; ends the test when it does not in time."""
        end = time.monotonic() + seconds
        while not condition():
            if time.monotonic() > end:
                raise RuntimeError(f"{problem}\n{self.logs()}")
            time.sleep(0.1)

    def logs(self):
        texts = [f"--- {log.name}\n" + "\n".join(log.read_text(errors="replace").splitlines()[-15:])
                 for log in [*sorted(self.folder.glob("*.log")), *sorted(self.folder.glob("*.out"))]]
        return "\n".join(texts)

    def call(self, *command, check=True, **options):
        return subprocess.run(command, env=self.environment, check=check, text=True, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, timeout=30, **options).stdout.strip()

    def idle_nodes(self):
        return self.call("sinfo", "-h", "-N", "-t", "idle", "-o", "%N", check=False).split()

    def jobs(self, state=None):
        """Identifiers of jobs and array tasks that have not ended, with their nodes."""
        lines = self.call("squeue", "-h", "-r", "-o", "%i %N", *(("-t", state) if state else ())).splitlines()
        return {line.split()[0]: line.split()[1:] for line in lines}

    def processes_of(self, node):
        """The processes of a node: its daemon, and everything that runs for its jobs."""
        found = [self.processes[node].pid]
        mark = f"SLURMD_NODENAME={node}".encode()
        for entry in pathlib.Path("/proc").iterdir():
            if not entry.name.isdigit():
                continue
            try:
                environment = (entry / "environ").read_bytes().split(b"\0")
                command = (entry / "cmdline").read_bytes().split(b"\0")
            except OSError:
                continue
            ours = f"SLURM_CONF={self.environment['SLURM_CONF']}".encode() in environment
            if ours and (mark in environment or b"slurmstepd" in command[0] and f"n{node}".encode() in command):
                found.append(int(entry.name))
        return found

    def kill_node(self, node):
        for process in self.processes_of(node):
            try:
                os.kill(process, signal.SIGKILL)
            except ProcessLookupError:
                pass
        self.processes[node].wait()

    def stop(self):
        """Ends the jobs and the daemons that were started here."""
        subprocess.run(["scancel", "--user", getpass.getuser()], env=self.environment, check=False, capture_output=True,
                       timeout=10)
        end = time.monotonic() + 8
        while time.monotonic() < end and self.call("squeue", "-h", check=False):
            time.sleep(0.2)
        for process in reversed(list(self.processes.values())):
            process.terminate()
        for process in self.processes.values():
            try:
                process.wait(5)
            except subprocess.TimeoutExpired:
                process.kill()
