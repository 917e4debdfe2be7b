# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Clocks measured over a link between machines whose clocks are known: the offset is within its bound, whatever the
network does, and the drift, which is none, too.

usage: clock_test.py CLOCK_PEER [PART...] [--seconds SECONDS]

With 60 SECONDS or more, on a machine that does little else, the offset has to be within 0.2 ms over a plain network, and
the drift within 1 ppm, too.
"""

import collections
import sys
import time

import machines

DOMAIN = machines.own_domain()
ASKED_PER_SECOND = 10  # at the most: a pair of questions every 0.2 s
Line = collections.namedtuple("Line", "offset bound round_trip drift drift_bound exchanges steps")


def check(condition, what):
    if not condition:
        sys.exit(what)


def peer(group, name, other, command, *arguments):
    return group.start(name, [PEER, command, DOMAIN, group.addresses[other], *arguments],
                       stdin=-1, stdout=-1, text=True)


class Measurement:
    """What `here` learns of the clock of `there`."""

    def __init__(self, group):
        self._there = peer(group, "there", "here", "answer")
        self._here = peer(group, "here", "there", "ask", self._there.stdout.readline().strip())
        self._truth = group.ahead("there", of="here") * 1_000_000_000
        self._worst = 0

    def line(self):
        """What it knows now, which has to be true."""
        print(file=self._here.stdin, flush=True)
        values = self._here.stdout.readline().split()
        line = Line(*map(int, values[:3]), *map(float, values[3:5]), *map(int, values[5:]))
        off = line.offset - self._truth
        check(abs(off) <= line.bound, f"off by {off} ns, which is more than its bound of {line.bound} ns")
        check(abs(line.drift) <= line.drift_bound,
              f"drifts by {line.drift}, which is more than its bound of {line.drift_bound}")
        self._worst = max(self._worst, abs(off))
        return line

    def lines(self, seconds):
        """A line every half second."""
        lines = []
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            time.sleep(0.5)
            lines.append(self.line())
        last = lines[-1]
        print(f"  {last.exchanges} exchanges, round trip {last.round_trip / 1000:.0f} us; off by at most "
              f"{self._worst / 1000:.1f} us, at last by {(last.offset - self._truth) / 1000:+.1f} us of "
              f"{last.bound / 1000:.1f} us; drift {last.drift * 1e6:.3f} ppm of {last.drift_bound * 1e6:.3f} ppm")
        return lines, self._worst


def plain(seconds):
    print("a plain network")
    with machines.Machines({"here": 0, "there": 86_400}) as group:
        lines, worst = Measurement(group).lines(seconds)
        check(lines[-1].steps == 0, "a clock that was not set was taken for one that was")
        # Half of the round trip is what cannot be known, and grows by the drift that is possible.
        check(all(line.bound <= line.round_trip + 1_000 * 1_000 * seconds for line in lines), "a bound is far too wide")
        if seconds >= 60:
            check(worst <= 200_000, f"off by {worst} ns")
            check(abs(lines[-1].drift) <= 1e-6, f"drifts by {lines[-1].drift}")


def bad(seconds):
    print("a network that delays, reorders and drops in bursts")
    with machines.Machines({"here": 5_000, "there": 0}, rules=[]) as group:
        if not group.isolated:
            return
        measurement = Measurement(group)
        measurement.line()
        group.rules("--delay", 0.002, "--jitter", 0.003, "--loss", 0.3, "--burst", 10)
        before, began = measurement.line(), time.monotonic()
        lines, _ = measurement.lines(seconds)
        asked = ASKED_PER_SECOND * (time.monotonic() - began)
        check(lines[-1].exchanges - before.exchanges < asked, "nothing was lost")


def cut(seconds):
    print("a network that is cut")
    with machines.Machines({"here": 0, "there": 1}, rules=[]) as group:
        if not group.isolated:
            return
        measurement = Measurement(group)
        measurement.line()
        group.rules("--loss", 1)
        before = measurement.line()
        lines, _ = measurement.lines(seconds)
        # Some were on their way through the relay.
        check(lines[-1].exchanges <= before.exchanges + 4, "exchanges went through a network that was cut")
        check(lines[-1].bound > lines[0].bound, "a clock that is not heard of gets no less certain")


PEER = sys.argv[1]
if __name__ == "__main__":
    machines.run({"plain": plain, "bad": bad, "cut": cut}, seconds=6)
