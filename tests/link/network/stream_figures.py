# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""How long frames are on their way between two machines of their own network on this one, what that costs, and how soon
who comes late or again has them. Prints the rows of the tables in docs/link.md.

usage: stream_figures.py STREAM_PEER [SECONDS [RUNS]]

Each row is of SECONDS (20) of frames; of RUNS (3) the one whose 99th percentile is in the middle.
"""

import os
import pathlib
import subprocess
import sys
import time

import machines

DOMAIN = machines.own_domain()


class Ended:
    """What a process has said, and how much of a core it took."""

    def __init__(self, process):
        self.said = process.stdout.read().split()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            sys.exit(f"a program failed with {process.returncode}")
        self.seconds = usage.ru_utime + usage.ru_stime


def publish(group, performers, rate, frames, receivers=1):
    return group.start("stage", [PEER, "publish", DOMAIN, group.addresses["hall"], performers, rate, receivers, frames],
                       stdout=subprocess.PIPE, text=True)


def measure(group, performers, wanted="every"):
    return group.start("hall", [PEER, "measure", DOMAIN, group.addresses["stage"], wanted, performers],
                       stdout=subprocess.PIPE, text=True)


def row(name, performers, rate, came, sent_seconds, received_seconds, seconds):
    samples, lost, median, percentile, longest, *_ = came
    return (percentile, f"| {name} | {performers} × {rate} Hz | {median} µs | {percentile / 1000:.2f} ms | "
            f"{longest / 1000:.1f} ms | {lost} of {samples * performers + lost} | "
            f"{100 * sent_seconds / seconds:.1f} % | {100 * received_seconds / seconds:.1f} % |")


def run(name, performers, rate, seconds, rules=None, wanted="every"):
    with machines.Machines({"stage": 0, "hall": 0}, rules=rules) as group:
        recorder = measure(group, performers) if wanted != "every" else None
        receiver = measure(group, performers, wanted)
        publisher = publish(group, performers, rate, int(seconds * rate))
        sent, received = Ended(publisher), Ended(receiver)
        if recorder is not None:
            Ended(recorder)
        return row(name, performers, rate, list(map(int, received.said)), sent.seconds, received.seconds, seconds)


def middle(runs, *arguments, **options):
    print(sorted(run(*arguments, **options) for _ in range(runs))[runs // 2][1], flush=True)


def joins(group):
    publisher = publish(group, 8, 240, 240 * 6, receivers=1)
    first = measure(group, 8)
    time.sleep(2)
    late = measure(group, 8)
    joined = int(Ended(late).said[5])
    Ended(first)
    Ended(publisher)
    return joined


def comes_back(group):
    receiver = measure(group, 8)
    publisher = publish(group, 8, 240, 240 * 60)
    time.sleep(3)
    publisher.kill()
    publisher.wait()
    publisher = publish(group, 8, 240, 240 * 3)
    away = int(Ended(receiver).said[6])
    Ended(publisher)
    return away


def main():
    machines.enter()
    seconds = float(sys.argv[2]) if len(sys.argv) > 2 else 20
    runs = int(sys.argv[3]) if len(sys.argv) > 3 else 3
    print(f"load {pathlib.Path('/proc/loadavg').read_text(encoding='utf-8').split()[0]}, {os.cpu_count()} cores")
    bad = ["--loss", 0.05]
    middle(runs, "plain", 8, 240, seconds)
    middle(runs, "through a relay", 8, 240, seconds, rules=[])
    middle(runs, "5 % lost, recorder", 8, 240, seconds, rules=bad)
    middle(runs, "5 % lost, viewer", 8, 240, seconds, rules=bad, wanted="newest")
    for performers in (16, 32, 64, 128):
        middle(runs, "plain", performers, 120, seconds)
    with machines.Machines({"stage": 0, "hall": 0}) as group:
        times = sorted(joins(group) for _ in range(runs))
        print(f"who comes late has the first frame after {times[runs // 2]} ms, {times[-1]} ms at worst")
        times = sorted(comes_back(group) for _ in range(runs))
        print(f"without frames for {times[runs // 2]} ms, {times[-1]} ms at worst, when a publisher is killed and started "
              "again")


PEER = sys.argv[1]
if __name__ == "__main__":
    main()
