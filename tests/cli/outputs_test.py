"""What becomes of the files that kvnsim writes when it cannot go on: a database, a page and the
shell's history are the old one or the new one, whole; what is written as work goes on is the old
one when nothing was done, else as much of the new one as could be written.

outputs_test.py KVNSIM EXAMPLES killed|limited|permissions|disks
"""

import contextlib
import errno
import os
import pty
import random
import re
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

KVNSIM, EXAMPLES, CHECK = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2]), sys.argv[3]
WELL, FOUND, BAD_INPUT, SKIPPED = 0, 1, 3, 77
NOT_LOADED = 127  # of the loader, which names what it could not open
NO_PROCESS = "no process can be started"
NOBODY = 65534
PAGE = 4096


# ---- Contents that can be compared: without times ----

def debug_file(data):
    whole = re.sub(rb"\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6}\]", b"[]", data)
    return re.sub(rb"\[\d[\d :.-]*\Z", b"[", whole)


def event_history(data):
    header, head = 16, 16
    events, at = [data[:header]], header
    while at + head <= len(data):
        length = struct.unpack_from("<I", data, at + 12)[0]
        events.append(data[at + 8:at + head + length])
        at += head + length
    return b"".join(events)


# ---- Outputs ----

class Output:
    """A file that a command writes; CONFIG stands for old or new. Whole: it appears whole or not at
    all. Typed: at a terminal, where losing the file is no error."""

    def __init__(self, name, command, script="", file="x", whole=False, well=WELL,
                 content=lambda data: data, typed=False):
        self.name, self.command, self.script, self.file = name, command, script, file
        self.whole, self.well, self.content, self.typed = whole, well, content, typed
        self.old = self.new = None

    def start(self, configuration, **how):
        """Starts the command: the process, and what waits for its status and messages."""
        command = [KVNSIM] + [word.replace("CONFIG", configuration) for word in self.command]
        script = self.script.replace("CONFIG", configuration).encode()
        if self.typed:
            our_end, stdin = pty.openpty()
            how = {**how, "stdout": stdin, "start_new_session": True,
                   "env": {**os.environ, "XDG_STATE_HOME": os.getcwd(), "TERM": "vt100"}}
        else:
            stdin, our_end = os.pipe()
            how = {**how, "stdout": subprocess.DEVNULL}
        process = subprocess.Popen(command, stdin=stdin, stderr=subprocess.PIPE, **how)
        with contextlib.suppress(BrokenPipeError):
            os.write(our_end, script)
        os.close(stdin)
        if not self.typed:
            os.close(our_end)

        def wait():
            if self.typed:
                with contextlib.suppress(OSError):  # once the other end is closed
                    while os.read(our_end, 4096):
                        pass
                os.close(our_end)
            messages = process.communicate()[1]
            return process.returncode, messages.decode()
        return process, wait

    def run(self, configuration, **how):
        return self.start(configuration, **how)[1]()

    def put(self, data):
        """Makes it the old file, or none."""
        with contextlib.suppress(FileNotFoundError):
            os.unlink(self.file)
        if data is not None:
            os.makedirs(os.path.dirname(self.file) or ".", exist_ok=True)
            write(self.file, data)

    def now(self):
        try:
            with open(self.file, "rb") as file:
                return file.read()
        except FileNotFoundError:
            return None

    def learn(self):
        """What either configuration makes of it."""
        self.put(None)
        for configuration in ("old", "new"):
            status, messages = self.run(configuration)
            assert status == self.well, f"{self.name}: status {status}, {messages}"
            self.old, self.new = self.new, self.now()
        assert self.content(self.old) != self.content(self.new), self.name

    def seen(self):
        """What changes when anything is written."""
        status = os.stat(self.file)
        return (os.listdir(os.path.dirname(self.file) or "."), status.st_size, status.st_mtime_ns)

    def is_new(self):
        now = self.now()
        return now is not None and self.content(now) == self.content(self.new)

    def is_kept(self, before, untouched):
        """What must hold when it is not new."""
        now = self.now()
        if self.whole or untouched or now is None:
            return now == before
        return self.content(self.new).startswith(self.content(now))

    def attempt(self, where, reason, before, untouched=False, must_fail=False, **how):
        """Runs the command: the file is new, or the reason is told and the file kept. Whether it is
        new. Untouched: it is refused before anything is written."""
        there = files()
        status, messages = self.run("new", **how)
        where = f"{self.name}, {where}: status {status}, {messages}"
        made = {self.file} if before is None and not self.whole else set()
        assert files() - made == there - made or self.is_new(), f"{where}: left {files() - there}"
        if status == self.well and self.is_new():
            assert not must_fail, where
            return True
        if status == NOT_LOADED and "error while loading shared libraries" in messages:
            untouched = True
        elif self.typed:
            assert status == WELL, where
        else:
            reasons = [os.strerror(reason)]
            if reason == errno.ENOSPC:
                reasons.append("database or disk is full")  # in SQLite's words
            assert status == BAD_INPUT and any(one in messages for one in reasons), where
            untouched &= NO_PROCESS not in messages  # it had begun
            assert any(name in messages for name in (self.file, "new.json", NO_PROCESS)), where
        assert self.is_kept(before, untouched), where
        return False


OUTPUTS = [
    Output("a database", ["run", "CONFIG.json", "--quiet", "--db", "x"], whole=True),
    Output("a database of the shell", ["shell"], "apply CONFIG.json\nsave x\n", whole=True),
    Output("a page", ["report", "CONFIG.db", "-o", "x"], whole=True),
    Output("a page of failures", ["faults", "CONFIG.json", "--calls", "malloc", "--jobs", "1",
                                  "--report", "x"], whole=True, well=FOUND),
    Output("a history", ["shell"], "show summary\nplan CONFIG.json\nquit\n",
           file="kvnsim/history", whole=True, typed=True),
    Output("a recording", ["run", "CONFIG.json", "--quiet", "--record", "x"]),
    Output("a debug file", ["run", "CONFIG.json", "--quiet", "--debug-file", "x"],
           content=debug_file),
    Output("an event history", ["run", "CONFIG.json", "--quiet", "--events", "x"],
           content=event_history),
    Output("results of failures", ["faults", "CONFIG.json", "--calls", "malloc", "--jobs", "1",
                                   "--shard", "1/2", "-o", "x"], well=FOUND),
    Output("results of a fleet", ["fleet", "CONFIG.json", "--jobs", "1", "--shard", "1/1",
                                  "-o", "x"]),
]


def write(path, data):
    with open(path, "wb") as file:
        file.write(data)


def files():
    return {os.path.relpath(os.path.join(folder, name))
            for folder, _, names in os.walk(".") for name in names}


def prepare():
    """In the current folder: the configurations, a database of each, and what outputs are."""
    for configuration, example in (("old", "small_change_before"), ("new", "small_change_after")):
        shutil.copyfile(f"{EXAMPLES}/{example}.json", f"{configuration}.json")
        subprocess.run([KVNSIM, "run", f"{configuration}.json", "--quiet", "--db",
                        f"{configuration}.db"], check=True)
    for output in OUTPUTS:
        output.learn()
        output.put(None)


def limit(what, most):
    return {"preexec_fn": lambda: resource.setrlimit(what, (most, most))}


# ---- Killed at any moment ----

def check_killed():
    chance = random.Random(1)
    for output in OUTPUTS:
        output.put(output.old)
        started = time.monotonic()
        output.run("new")
        whole = time.monotonic() - started
        killed = {"old": 0, "new": 0, "begun": 0}
        there = files()
        least = 120 if output is OUTPUTS[0] else 20
        for number in range(10 * least):
            if number >= least and killed["old"] > 0:
                break  # on a busy machine more of them come too late
            output.put(output.old)
            before = output.seen()
            process, wait = output.start("new")
            if number % 2 == 0:
                time.sleep(chance.random() * 1.2 * whole)
            else:  # while it writes
                while process.poll() is None and output.seen() == before:
                    pass
                time.sleep(chance.random() * 0.004)
            process.send_signal(signal.SIGKILL)
            status = wait()[0]
            where = f"{output.name}, kill {number}: status {status}"
            if status == -signal.SIGKILL:
                left = ("new" if output.is_new() else
                        "old" if output.now() == output.old else "begun")
                assert left != "begun" or output.is_kept(output.old, False), where
                killed[left] += 1
            else:
                assert output.is_new(), where
        print(f"{output.name}: {killed}")
        assert killed["old"] > 0, output.name
        output.put(output.old)
        output.run("new")
        assert output.is_new(), output.name
        assert files() == there, f"{output.name}: left {files() - there}"
        output.put(None)


# ---- Limits of the process ----

def check_limited():
    for output in OUTPUTS:
        for before in (output.old, None):
            if before is None and output.typed:
                continue  # what was typed before belongs to the new one
            size = len(output.new)
            for most in (0, 1, size // 2, size - 1, size):
                output.put(before)
                output.attempt(f"files of {most} of {size} bytes", errno.EFBIG, before,
                               must_fail=most < size, **limit(resource.RLIMIT_FSIZE, most))
            for most in range(4, 64):
                output.put(before)
                if output.attempt(f"{most} descriptors", errno.EMFILE, before, untouched=True,
                                  **limit(resource.RLIMIT_NOFILE, most)):
                    break
            else:
                raise AssertionError(f"{output.name}: 63 descriptors are not enough")
            output.put(None)
    check_together()


def check_together():
    """Every output of one run: when it is refused, none is touched."""
    outputs = {option: next(one for one in OUTPUTS if option in one.command and
                            one.command[0] == "run")
               for option in ("--db", "--record", "--debug-file", "--events")}
    command = [KVNSIM, "run", "new.json", "--quiet"]
    for option in outputs:
        command += [option, "x" + option]
    subprocess.run(command, check=True)
    new = {}
    for option in outputs:
        with open("x" + option, "rb") as file:
            new[option] = file.read()
    seen = set()
    for most in range(4, 64):
        for option, output in outputs.items():
            write("x" + option, output.old)
        done = subprocess.run(command, stderr=subprocess.PIPE, check=False,
                              **limit(resource.RLIMIT_NOFILE, most))
        where = f"a run, {most} descriptors: status {done.returncode}, {done.stderr}"
        if done.returncode == NOT_LOADED:
            continue
        left = []
        for option, output in outputs.items():
            with open("x" + option, "rb") as file:
                now = file.read()
            assert now == output.old or output.content(now) == output.content(new[option]), where
            left.append("old" if now == output.old else "new")
        if done.returncode == WELL:
            assert left == ["new"] * 4, where
            break
        assert done.returncode == BAD_INPUT and os.strerror(errno.EMFILE).encode() in done.stderr, where
        # What cannot be opened is known before work begins; the database is written at its end.
        assert left in (["old"] * 4, ["old"] + ["new"] * 3), f"{where} {left}"
        seen.add(tuple(left))
    else:
        raise AssertionError("a run: 63 descriptors are not enough")
    assert ("old",) * 4 in seen, seen
    for option in outputs:
        os.unlink("x" + option)


# ---- Permissions ----

def check_permissions():
    """Root may write everywhere, so nobody tries."""
    how = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}
    os.chmod(".", 0o755)
    try:
        subprocess.run([KVNSIM, "version"], check=True, stdout=subprocess.DEVNULL, **how)
    except (OSError, subprocess.CalledProcessError):
        print("skipped: nobody may not run this kvnsim")
        sys.exit(SKIPPED)
    for output in OUTPUTS:
        folder = os.path.dirname(output.file) or "."
        for before in (output.old, None):
            output.put(before)
            os.chmod(folder, 0o555)
            if before is not None:
                os.chmod(output.file, 0o444)
            output.attempt("a folder that may not be written", errno.EACCES, before,
                           untouched=True, must_fail=True, **how)
            os.chmod(folder, 0o777)
            if before is not None:
                output.attempt("a file that may not be written", errno.EACCES, before,
                               untouched=True, must_fail=True, **how)
        os.chmod(folder, 0o755)
        output.put(None)
    check_refused_before_work(how)


def check_refused_before_work(how):
    """A database that cannot be replaced is known before another output is begun."""
    database = next(output for output in OUTPUTS if "--db" in output.command)
    os.mkdir("locked")
    for name, folder_mode, mode in (("folder", 0o555, 0o666), ("file", 0o777, 0o444)):
        write("locked/x", database.old)
        write("recording", b"")
        for path, allowed in (("recording", 0o666), ("locked/x", mode), ("locked", folder_mode)):
            os.chmod(path, allowed)
        done = subprocess.run([KVNSIM, "run", "new.json", "--quiet", "--db", "locked/x",
                               "--record", "recording"], stderr=subprocess.PIPE, check=False, **how)
        where = f"a database in a locked {name}: status {done.returncode}, {done.stderr}"
        assert done.returncode == BAD_INPUT, where
        assert os.strerror(errno.EACCES).encode() in done.stderr, where
        assert os.path.getsize("recording") == 0, where
        os.chmod("locked", 0o755)
        os.unlink("locked/x")


# ---- File systems ----

def mount(*options):
    subprocess.run(["mount", *options], check=True)


def fill(leaving):
    """Leaves room for so many pages."""
    with open("filler", "wb", buffering=0) as file, contextlib.suppress(OSError):
        while True:
            file.write(bytes(PAGE))
    os.truncate("filler", os.path.getsize("filler") - leaving * PAGE)


def check_disks():
    mount("-t", "tmpfs", "-o", "size=2m,nr_inodes=40", "none", ".")
    os.chdir(os.getcwd())
    prepare()
    for output in OUTPUTS:
        pages = -(-len(output.new) // PAGE)
        for before in (output.old, None):
            if before is None and output.typed:
                continue
            for free in {0, 1, pages // 2, pages - 1, pages}:
                output.put(before)
                fill(free)
                reused = 0 if output.whole or before is None else -(-len(before) // PAGE)
                output.attempt(f"{free} of {pages} pages free", errno.ENOSPC, before,
                               must_fail=free + reused < pages)
                os.unlink("filler")
            output.put(before)
            full = []
            with contextlib.suppress(OSError):
                while True:
                    write(f"filler{len(full)}", b"")
                    full.append(f"filler{len(full)}")
            output.attempt("no file can be made", errno.ENOSPC, before, untouched=True,
                           must_fail=output.whole or before is None)
            for name in full:
                os.unlink(name)
            output.put(before)
            mount("-o", "remount,ro", ".")
            output.attempt("a file system that is only read", errno.EROFS, before,
                           untouched=True, must_fail=True)
            mount("-o", "remount,rw", ".")
            output.put(None)


def in_namespace():
    """Again as root of a namespace, where file systems can be mounted."""
    namespace = ["unshare", "--mount", *([] if os.geteuid() == 0 else ["--user", "--map-root-user"])]
    if subprocess.run([*namespace, "true"], check=False).returncode != 0:
        print("skipped: no namespace can be made to mount file systems in")
        sys.exit(SKIPPED)
    os.execvp(namespace[0], [*namespace, sys.executable, "-B", *sys.argv, "mounted"])


def main():
    if CHECK == "disks" and len(sys.argv) == 4:
        in_namespace()
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        if CHECK == "disks":
            try:
                check_disks()
            finally:
                os.chdir("/")
                subprocess.run(["umount", folder], check=True)
            return
        prepare()
        {"killed": check_killed, "limited": check_limited,
         "permissions": check_permissions}[CHECK]()


if __name__ == "__main__":
    main()
