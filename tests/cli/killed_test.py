"""A run that is killed at any moment leaves the old database or the new one, whole.

killed_test.py KVNSIM EXAMPLES
"""

import os
import random
import signal
import subprocess
import sys
import tempfile
import time

KILLS = 200
KVNSIM, EXAMPLES = map(os.path.abspath, sys.argv[1:])
OLD, NEW = (os.path.join(EXAMPLES, name)
            for name in ("small_change_before.json", "small_change_after.json"))


def kvnsim(*arguments):
    return subprocess.run([KVNSIM, *arguments], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          check=False)


def bring_up(configuration, database):
    done = kvnsim("run", configuration, "--quiet", "--db", database)
    assert done.returncode == 0, done.stdout


def content(database):
    with open(database, "rb") as file:
        return file.read()


def main():
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        bring_up(OLD, "old.db")
        bring_up(NEW, "new.db")
        old, new = content("old.db"), content("new.db")
        assert old != new
        bring_up(OLD, "x.db")
        started = time.monotonic()
        bring_up(NEW, "x.db")
        whole = time.monotonic() - started

        chance = random.Random(1)
        killed = {"old": 0, "new": 0}
        for number in range(KILLS):
            bring_up(OLD, "x.db")
            process = subprocess.Popen([KVNSIM, "run", NEW, "--quiet", "--db", "x.db"])
            time.sleep(chance.random() * 1.2 * whole)
            process.send_signal(signal.SIGKILL)
            ended = process.wait()
            now = content("x.db")
            assert now in (old, new), f"kill {number}: neither the old database nor the new one"
            if ended == -signal.SIGKILL:
                killed["old" if now == old else "new"] += 1
            else:
                assert now == new
        assert killed["old"] > 0, killed
        bring_up(NEW, "x.db")
        left = sorted(os.listdir("."))
        assert left == ["new.db", "old.db", "x.db"], left
        print(f"{KILLS} runs, {sum(killed.values())} of them killed before their end: "
              f"{killed['old']} left the old database, {killed['new']} the new one")


if __name__ == "__main__":
    main()
