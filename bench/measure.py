"""What bench/compare and bench/scaling share: building, running, the machine's description."""

import datetime
import json
import mmap
import os
import platform
import re
import subprocess
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
LAST_CPU = max(os.sched_getaffinity(0))


def say(text):
    print(time.strftime("%H:%M:%S"), text, file=sys.stderr, flush=True)


def build(directory, targets, options=()):
    """Configures and builds targets of the repository in `directory`."""
    say(f"building in {directory}")
    for command in (["cmake", "--preset", "bench", "-B", directory, *options],
                    ["cmake", "--build", directory, "--target", *targets]):
        done = subprocess.run(command, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True, check=False)
        if done.returncode != 0:
            sys.exit(done.stdout)


def touch_memory(size=3 << 29):
    """Writes to so many bytes and gives them back, before a run that needs as many. A virtual machine
    gets a page from its host when it is first written to, which takes longer than all that is
    measured here, and may lose it again when it does not need it."""
    with mmap.mmap(-1, size, flags=mmap.MAP_PRIVATE | mmap.MAP_ANONYMOUS) as memory:
        memory.madvise(mmap.MADV_HUGEPAGE)
        for start in range(0, size, 1 << 21):
            memory[start] = 1


class Usage:
    """What a process took: seconds by the wall clock and of the processor, peak bytes."""

    def __init__(self, wall, usage):
        self.wall = wall
        self.cpu = usage.ru_utime + usage.ru_stime
        self.peak = usage.ru_maxrss * 1024

    def seconds(self, clock):
        """By the clock "real" or "cpu"."""
        return self.cpu if clock == "cpu" else self.wall


def run(command, threads=1, environment=()):
    """Runs a command with so many threads, on as many processors; its output and Usage."""
    variables = dict(os.environ, OMP_NUM_THREADS=str(threads), QT_QPA_PLATFORM="offscreen",
                     **dict(environment))
    processors = {LAST_CPU} if threads == 1 else os.sched_getaffinity(0)
    with tempfile.TemporaryFile() as errors:
        start = time.monotonic()
        process = subprocess.Popen(command, env=variables, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=errors,
                                   preexec_fn=lambda: os.sched_setaffinity(0, processors))
        output = process.stdout.read()
        _, status, usage = os.wait4(process.pid, 0)
        wall = time.monotonic() - start
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            errors.seek(0)
            text = errors.read().decode(errors="replace")
            raise RuntimeError(f"{' '.join(command)}: {text[-2000:]}")
    return output, Usage(wall, usage)


def run_benchmark(program, name, threads=1, min_time=0.2):
    """One repetition of one benchmark in a new process: its record, and the Usage of all."""
    output, usage = run([program, f"--benchmark_filter=^{re.escape(name)}(/real_time)?$",
                         f"--benchmark_min_time={min_time}", "--benchmark_format=json"], threads)
    found = json.loads(output)["benchmarks"]
    if len(found) != 1 or found[0].get("error_occurred"):
        raise RuntimeError(f"{program}: {len(found)} benchmarks named {name}")
    return found[0], usage


SECONDS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}


def seconds_of(record, clock):
    """Seconds of one iteration by the clock "real" or "cpu"."""
    return record[f"{clock}_time"] * SECONDS[record["time_unit"]]


def first_line(command):
    done = subprocess.run(command, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, check=False)
    return done.stdout.strip().splitlines()[0] if done.stdout.strip() else ""


def machine():
    """The circumstances that belong beside any figure."""
    info = {}
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        for line in file:
            key, _, value = line.partition(":")
            info.setdefault(key.strip(), value.strip())
    flags = info.get("flags", "").split()
    dirty = first_line(["git", "status", "--porcelain", "--untracked-files=no", "src", "rvx"])
    return {
        "processor": f"{info.get('model name', platform.processor())}, family "
                     f"{info.get('cpu family', '?')} model {info.get('model', '?')}",
        "cores": len(os.sched_getaffinity(0)),
        "instruction sets": ", ".join(
            name for name, flag in (("AVX-512", "avx512vl"), ("AVX2", "avx2")) if flag in flags),
        "compiler": first_line(["c++", "--version"]),
        "commit": first_line(["git", "rev-parse", "--short", "HEAD"])
                  + (" and changes" if dirty else ""),
        "date": datetime.date.today().isoformat(),
        "load before": f"{os.getloadavg()[0]:.2f}",
    }


def circumstances(info):
    """What machine() found, as a sentence."""
    return (f"{info['processor']}; {info['cores']} cores, {info['instruction sets']}; "
            f"{info['compiler']}; commit {info['commit']}; {info['date']}; load before the run "
            f"{info['load before']}.")


def write_into_page(writer, text):
    """Puts a text between the writer's marks in docs/performance.md."""
    path = os.path.join(ROOT, "docs", "performance.md")
    first, last = f"<!-- written by {writer} -->", f"<!-- end of what {writer} writes -->"
    with open(path, encoding="utf-8") as file:
        before, rest = file.read().split(first)
    after = rest.split(last)[1]
    with open(path, "w", encoding="utf-8") as file:
        file.write(f"{before}{first}\n{text}\n{last}{after}")
