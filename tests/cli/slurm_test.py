#!/usr/bin/env python3
"""The campaign page's Slurm job, on a cluster of one machine that lives as long as this test.
slurm_test.py KVNSIM BROKEN_LIBRARY SOURCE

The cluster has its own configuration, key, sockets and ports, and runs in a PID namespace of its own:
when the test ends, however it does, the kernel ends every process in it."""
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

KVNSIM, BROKEN_LIBRARY, SOURCE = sys.argv[1:4]
INSIDE = "--inside"
NAMESPACE = ["unshare", "--pid", "--fork", "--kill-child", "--mount-proc"]
PROGRAMS = ["munged", "slurmctld", "slurmd", "sbatch", "scancel", "sinfo", "squeue"]
SECONDS = 120
FORMATS = ["text", "json", "sarif", "junit", "github"]

WRAPPER = """#!/bin/sh
# While the file hang is there, SVIs cannot be created.
if [ -e '{folder}/hang' ]; then
    export LD_PRELOAD='{broken}' BROKEN=hang ASAN_OPTIONS=verify_asan_link_order=0
fi
exec '{kvnsim}' "$@"
"""

SLURM_CONF = """
ClusterName=bench
SlurmctldHost={host}(127.0.0.1)
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
CredType=cred/munge
AuthInfo=socket={folder}/munge.socket
SlurmctldPort={ports[0]}
SlurmdPort={ports[1]}
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
SlurmctldLogFile={folder}/slurmctld.log
SlurmdLogFile={folder}/slurmd.log
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
ReturnToService=2
KillWait=1
AccountingStorageType=accounting_storage/none
JobAcctGatherType=jobacct_gather/none
NodeName={host} NodeAddr=127.0.0.1 CPUs={cpus} State=UNKNOWN
PartitionName=bench Nodes={host} Default=YES MaxTime=INFINITE State=UP
"""


def skip(reason):
    print("skipped:", reason)
    sys.exit(77)


def find_programs():
    os.environ["PATH"] += os.pathsep + "/usr/sbin"
    missing = [program for program in PROGRAMS if shutil.which(program) is None]
    if missing:
        skip(f"not installed: {', '.join(missing)}")
    if os.geteuid() != 0:
        skip("the daemons of a cluster need root")
    if subprocess.run([*NAMESPACE, "true"], check=False, capture_output=True).returncode != 0:
        skip("no PID namespace can be made here")


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    for one in sockets:
        one.bind(("127.0.0.1", 0))
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


def job_script():
    with open(os.path.join(SOURCE, "docs/campaigns.md"), encoding="utf-8") as file:
        scripts = re.findall(r"^```bash\n(.*?)^```$", file.read(), re.MULTILINE | re.DOTALL)
    assert len(scripts) == 1, "campaigns.md has one job script"
    return scripts[0]


def until(condition, what):
    end = time.monotonic() + SECONDS
    while not condition():
        assert time.monotonic() < end, f"after {SECONDS} seconds still not: {what}"
        time.sleep(0.05)


class Cluster:
    def __init__(self, folder):
        self.folder = folder
        self.environment = {**os.environ, "SLURM_CONF": self.path("slurm.conf"),
                            "PATH": folder + os.pathsep + os.environ["PATH"]}
        for name in ("state", "spool", "work"):
            os.mkdir(self.path(name))
        self.write("munge.key", os.urandom(1024))
        os.chmod(self.path("munge.key"), 0o400)
        host = socket.gethostname().split(".")[0]
        cpus = len(os.sched_getaffinity(0))
        self.write("slurm.conf", SLURM_CONF.format(folder=folder, host=host, cpus=cpus,
                                                   ports=free_ports(2)).encode())
        self.daemon("munged", "--foreground", "--force", "--key-file", self.path("munge.key"),
                    "--socket", self.path("munge.socket"), "--pid-file", self.path("munge.pid"),
                    "--log-file", self.path("munge.log"), "--seed-file", self.path("munge.seed"))
        until(lambda: os.path.exists(self.path("munge.socket")), "munged listens")
        self.daemon("slurmctld", "-D")
        self.daemon("slurmd", "-D")
        until(lambda: "idle" in self.run("sinfo", "-h", "-o", "%T").stdout, "the node is idle")

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content)

    def read(self, name):
        try:
            with open(self.path(name), "r", encoding="utf-8", errors="replace") as file:
                return file.read()
        except FileNotFoundError:
            return ""

    def daemon(self, *words):
        with open(self.path(words[0] + ".out"), "wb") as out:
            subprocess.Popen(words, env=self.environment, stdin=subprocess.DEVNULL, stdout=out,
                             stderr=out)

    def run(self, *words):
        return subprocess.run(words, cwd=self.path("work"), env=self.environment, text=True,
                              check=False, stdin=subprocess.DEVNULL, capture_output=True)

    def submit(self, *options):
        done = self.run("sbatch", "--parsable", *options, "fleet.sbatch")
        assert done.returncode == 0, done.stderr
        return done.stdout.strip()

    def wait_for_jobs(self):
        def none_left():
            queue = self.run("squeue", "-h")
            return queue.returncode == 0 and queue.stdout == ""
        until(none_left, "the queue is empty")

    def logs(self):
        names = [name for name in os.listdir(self.folder) if name.endswith((".log", ".out"))]
        names += ["work/" + name for name in os.listdir(self.path("work")) if name.endswith(".log")]
        return "\n".join(f"== {name}\n{self.read(name)[-3000:]}" for name in sorted(names))


def processes_of(program):
    found = []
    for process in filter(str.isdigit, os.listdir("/proc")):
        try:
            if os.path.samefile(f"/proc/{process}/exe", program):
                found.append(process)
        except OSError:
            pass
    return found


def same(actual, expected):
    assert actual == expected, f"{actual!r}\nis not\n{expected!r}"


def campaign(cluster):
    cluster.write("kvnsim", WRAPPER.format(folder=cluster.folder, kvnsim=KVNSIM,
                                           broken=BROKEN_LIBRARY).encode())
    os.chmod(cluster.path("kvnsim"), 0o755)
    os.mkdir(cluster.path("work/configs"))
    for i in range(1, 9):
        # The third of four shares has items 3 and 7.
        example = "svi_gateway.json" if i == 7 else "routed_ports.json"
        shutil.copy(os.path.join(SOURCE, "examples", example),
                    cluster.path(f"work/configs/switch-{i}.json"))
    cluster.write("work/fleet.sbatch", job_script().encode())

    def whole(output_format):
        return cluster.run("kvnsim", "fleet", "configs", "--format", output_format)

    def merged(output_format="text"):
        files = sorted(name for name in os.listdir(cluster.path("work")) if name.endswith(".jsonl"))
        return cluster.run("kvnsim", "fleet", "--merge", *files, "--format", output_format)

    def third_share_hangs():
        until(lambda: cluster.read("work/results-3.jsonl").count("\n") == 2, "item 3 is done")

    def seventh_item_is_missing():
        cluster.wait_for_jobs()
        until(lambda: not processes_of(KVNSIM), "no process of kvnsim is left")
        result = merged()
        same(result.stdout, "")
        same(result.stderr, "kvnsim: item 7 is missing: run --shard 3/4 again\n")
        same(result.returncode, 3)

    expected = {name: whole(name) for name in FORMATS}
    cluster.write("hang", b"")
    job = cluster.submit()
    third_share_hangs()
    same(cluster.run("scancel", "--signal=KILL", job + "_3").returncode, 0)
    seventh_item_is_missing()

    job = cluster.submit("--array=3")
    third_share_hangs()
    same(cluster.run("scancel", job + "_3").returncode, 0)
    seventh_item_is_missing()

    os.remove(cluster.path("hang"))
    cluster.submit("--array=3")
    cluster.wait_for_jobs()
    for output_format in FORMATS:
        result = merged(output_format)
        same(result.stderr, "")
        same(result.stdout, expected[output_format].stdout)
        same(result.returncode, expected[output_format].returncode)
    assert "8 switches: 8 well" in expected["text"].stdout, expected["text"].stdout


def main():
    if INSIDE not in sys.argv:
        find_programs()
        os.execvp("unshare", [*NAMESPACE, sys.executable, "-B", *sys.argv, INSIDE])
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    with tempfile.TemporaryDirectory() as folder:
        os.chmod(folder, 0o755)
        cluster = Cluster(folder)
        try:
            campaign(cluster)
        except AssertionError as error:
            print(f"{error}\n{cluster.logs()}", file=sys.stderr)
            sys.exit(1)


main()
