#!/usr/bin/env python3
"""Prints many small pictures with qva batch and qva watch, broken ones among them, while prints and
the programs that start them are killed: nothing is lost, nothing printed twice, memory stays flat.

    [QVA_LOAD=PICTURES] load_test.py QVA MAKE_SAMPLES      40 pictures
"""

import collections
import itertools
import json
import os
import pathlib
import random
import signal
import subprocess
import sys
import tempfile
import time

KINDS = ["photo.exr", "photo.hdr", "photo16.tif", "photo32.tif"]
OPTIONS = ["--profile", "device.icc", "--compression", "none", "--quiet", "--jobs", "2"]
KILLED = (-signal.SIGKILL, -signal.SIGTERM)


def broken(i):
    return i % 20 == 7


def check(fact, message):
    if not fact:
        sys.exit("FAILED: " + message)


class Load:
    def __init__(self, qva, count):
        self.qva = qva
        self.count = count
        self.chance = random.Random(18)
        self.killed = collections.Counter()
        self.memory = collections.defaultdict(list)
        self.start = time.monotonic()

    def make_pictures(self):
        """Pictures that differ behind their ends only, so that there are four prints in all."""
        os.mkdir("pictures")
        for i in range(self.count):
            data = pathlib.Path(KINDS[i % 4]).read_bytes()
            data = data[:len(data) // 2] if broken(i) else data
            self.picture(i).write_bytes(data + b"%08d" % i)
        for kind in KINDS:
            subprocess.run([self.qva, "print", kind, "-o", kind + ".print.tif", *OPTIONS[:-2]],
                           check=True)

    def picture(self, i, folder="pictures"):
        return pathlib.Path(folder, "%d.%s" % (i, KINDS[i % 4].split(".")[1]))

    def begin(self, *words):
        return subprocess.Popen([self.qva, *words, *OPTIONS], stdout=subprocess.DEVNULL,
                                stderr=open("messages.txt", "ab"))

    @staticmethod
    def prints_of(process):
        try:
            with open(f"/proc/{process.pid}/task/{process.pid}/children", encoding="ascii") as ids:
                return [int(number) for number in ids.read().split()]
        except OSError:
            return []

    def note_memory(self, process):
        """Once it prints: before, it tries the profile."""
        if not self.prints_of(process):
            return
        try:
            for line in open(f"/proc/{process.pid}/status", encoding="ascii"):
                if line.startswith("VmRSS:"):
                    self.memory[process.pid].append(int(line.split()[1]))
        except OSError:
            pass

    def kill_a_print(self, process):
        try:
            os.kill(self.chance.choice(self.prints_of(process)), signal.SIGKILL)
            self.killed["prints"] += 1
        except (OSError, IndexError):
            pass

    def end(self, process, number):
        process.send_signal(number)
        self.killed["programs"] += process.wait() in KILLED

    def work(self, process, folder, look):
        """Until it ends, or has made so many prints that it is time to kill it."""
        until = self.made(folder) + self.chance.randint(1, max(2, self.count // 5))
        while process.poll() is None and self.made(folder) < until:
            time.sleep(self.chance.uniform(0.02, 0.2))
            self.note_memory(process)
            if look():
                return

    def batch(self):
        words = ["batch", "pictures", "-o", "prints", "--keep-going"]

        def kill_some():
            if self.chance.random() < 0.2:
                self.kill_a_print(process)

        process = self.begin(*words)
        self.work(process, "prints", kill_some)
        while process.poll() is None:
            self.end(process, self.chance.choice([signal.SIGKILL, signal.SIGTERM]))
            process = self.begin(*words)
            self.work(process, "prints", kill_some)
        # Nothing is left but what was killed as a print, and the broken ones.
        check(process.returncode == 1, f"a batch ends with {process.returncode}")
        check(self.begin(*words).wait() == 1, "broken pictures pass")
        self.verify("prints", "qva-batch.jsonl")
        plan = json.loads(subprocess.run([self.qva, *words, *OPTIONS, "--dry-run", "--json"],
                                         stdout=subprocess.PIPE, check=True).stdout)
        missing = [entry["file"] for entry in plan["pictures"] if not entry["upToDate"]]
        check(len(missing) == self.broken(), f"not up to date: {missing[:40]}")

    def watch(self):
        os.mkdir("hot")
        given = iter(range(self.count))

        def give():
            for i in itertools.islice(given, 20):
                os.link(self.picture(i), self.picture(i, "hot"))
            return self.all_done()

        while not self.all_done():
            process = self.begin("watch", "hot", "-o", "hot_prints", "--settle", "0.1")
            self.work(process, "hot_prints", give)
            check(process.poll() is None, f"watch ends with {process.returncode}")
            self.end(process, signal.SIGTERM if self.all_done() else signal.SIGKILL)
        self.verify("hot_prints", "qva-watch.jsonl")
        check(len(list(pathlib.Path("hot").glob("*.*"))) == self.count - self.broken(),
              "pictures are lost")

    @staticmethod
    def made(folder):
        return len(list(pathlib.Path(folder).glob("[0-9]*.tif")))

    def all_done(self):
        return (self.made("hot_prints") == self.count - self.broken() and
                len(list(pathlib.Path("hot/failed").glob("*.txt"))) == self.broken())

    def broken(self):
        return sum(broken(i) for i in range(self.count))

    def verify(self, folder, journal):
        prints = {kind: pathlib.Path(kind + ".print.tif").read_bytes() for kind in KINDS}
        for i in range(self.count):
            path = pathlib.Path(folder, f"{i}.tif")
            if broken(i):
                check(not path.exists(), f"{path} is of a broken picture")
            else:
                check(path.exists() and path.read_bytes() == prints[KINDS[i % 4]],
                      f"{path} is lost, or another print")
        done = collections.Counter()
        for line in open(pathlib.Path(folder, journal), encoding="utf-8"):
            try:
                record = json.loads(line)
            except ValueError:
                continue  # of a program that was killed
            done[record["output"]] += record["status"] == "done"
        twice = [output for output, times in done.items() if times > 1]
        check(not twice, f"printed twice: {twice}")

    def tell(self, what):
        growth = max(max(sizes) - sizes[0] for sizes in self.memory.values())
        check(growth < 4096, f"{what}: memory grows: {list(self.memory.values())} kB")
        most = max(map(max, self.memory.values())) / 1024
        print(f"{what}: {self.count} pictures, {self.broken()} broken; killed "
              f"{self.killed['programs']} times, and {self.killed['prints']} prints; "
              f"{time.monotonic() - self.start:.0f} s; "
              f"{most:.1f} MiB at most, grown by {growth} KiB")
        self.killed.clear()
        self.memory.clear()
        self.start = time.monotonic()


def main():
    qva, samples = (os.path.abspath(path) for path in sys.argv[1:3])
    load = Load(qva, int(os.environ.get("QVA_LOAD", "40")))
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        subprocess.run([samples, folder], check=True)
        load.make_pictures()
        load.batch()
        load.tell("batch")
        load.watch()
        load.tell("watch")
        os.chdir("/")


main()
