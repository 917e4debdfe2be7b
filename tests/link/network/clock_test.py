# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Clocks measured over a link between machines whose clocks are known: the offset is within its bound, whatever the
network does, and within 0.2 ms over a plain network; the drift, which is none, too.

usage: clock_test.py CLOCK_PEER [SECONDS]

With 60 SECONDS or more, the drift has to be within 1 ppm, too.
"""

import collections
import os
import sys

import machines

DOMAIN = 1 + os.getpid() % 199
Line = collections.namedtuple("Line", "offset bound round_trip drift drift_bound exchanges steps")


def check(condition, what):
    if not condition:
        sys.exit(what)


def peer(group, name, other, command, *arguments):
    return group.start(name, [PEER, command, DOMAIN, group.addresses[other], *arguments],
                       stdin=-1, stdout=-1, text=True)


def measured(group, seconds, meanwhile=lambda: None):
    """What `here` learns of the clock of `there`, every half second."""
    there = peer(group, "there", "here", "answer")
    here = peer(group, "here", "there", "ask", there.stdout.readline().strip(), seconds)
    lines = []
    truth = group.ahead("there", of="here") * 1_000_000_000
    for text in here.stdout:
        values = text.split()
        lines.append(Line(*map(int, values[:3]), *map(float, values[3:5]), *map(int, values[5:])))
        line = lines[-1]
        check(abs(line.offset - truth) <= line.bound,
              f"off by {line.offset - truth} ns, which is more than its bound of {line.bound} ns")
        check(abs(line.drift) <= line.drift_bound,
              f"drifts by {line.drift}, which is more than its bound of {line.drift_bound}")
        if len(lines) == 2:
            meanwhile()
    check(lines, "nothing was learnt of the clock")
    check(here.wait() == 0, "who asks failed")
    worst = max(abs(line.offset - truth) for line in lines)
    last = lines[-1]
    print(f"  {last.exchanges} exchanges, round trip {last.round_trip / 1000:.0f} us; off by at most "
          f"{worst / 1000:.1f} us, at last by {(last.offset - truth) / 1000:+.1f} us of {last.bound / 1000:.1f} us; "
          f"drift {last.drift * 1e6:.3f} ppm of {last.drift_bound * 1e6:.3f} ppm")
    return lines, worst


def main():
    machines.enter()
    seconds = float(sys.argv[2]) if len(sys.argv) > 2 else 6
    print("a plain network")
    with machines.Machines({"here": 0, "there": 86_400}) as group:
        lines, worst = measured(group, seconds)
        check(worst <= 200_000, f"off by {worst} ns")
        check(lines[-1].steps == 0, "a clock that was not set was taken for one that was")
        check(seconds < 60 or abs(lines[-1].drift) <= 1e-6, f"drifts by {lines[-1].drift}")
        if not group.isolated:
            return
    print("a network that delays, reorders and drops in bursts")
    bad = ["--delay", 0.002, "--jitter", 0.003, "--loss", 0.3, "--burst", 10]
    with machines.Machines({"here": 5_000, "there": 0}, rules=[]) as group:
        lines, _ = measured(group, seconds, meanwhile=lambda: group.rules(*bad))
        check(lines[-1].exchanges < 2 * seconds * 10, "nothing was lost")
    print("a network that is cut")
    with machines.Machines({"here": 0, "there": 1}, rules=[]) as group:
        lines, _ = measured(group, seconds, meanwhile=lambda: group.rules("--loss", 1))
        check(lines[-1].exchanges <= lines[1].exchanges + 10, "exchanges went through a network that was cut")
        check(lines[-1].bound > lines[2].bound, "a clock that is not heard of gets no less certain")


PEER = sys.argv[1]
if __name__ == "__main__":
    main()
