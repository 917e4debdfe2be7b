# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""A take that machines of different clocks record together: each has every tick of its device from the one instant to
the other; who comes late says from when; and it survives that its leader, or a recorder, is killed, and that the network
loses packets.

usage: together_test.py TOGETHER_PEER [PART...]
"""

import collections
import pathlib
import sys
import tempfile

import machines

DOMAIN = machines.own_domain()
SECOND = 1_000_000_000
Tick = collections.namedtuple("Tick", "instant bound")
ARMED, RECORDING, ENDED = "0", "1", "2"


def check(condition, what):
    if not condition:
        sys.exit(what)


def ask(leader, command):
    print(command, file=leader.stdin, flush=True)
    return leader.stdout.readline().strip()


def reports(leader):
    """Of each recorder, by its file: phase, whether it is there, frames, from when it has data, and its bound."""
    found = {}
    line = ask(leader, "report")
    while line != ".":
        file, *values = line.split()
        found[pathlib.Path(file).name] = values
        line = leader.stdout.readline().strip()
    return found


class Stage:
    """One machine leads, two record: `rate` ticks in a second, no two alike."""

    RATES = {"left": 240, "right": 100}

    def __init__(self, group, folder):
        self.group = group
        self.folder = pathlib.Path(folder)

    def peer(self, machine, other, *arguments):
        return self.group.start(machine, [PEER, arguments[0], DOMAIN, self.group.addresses[other], *arguments[1:]],
                                stdin=-1, stdout=-1, text=True)

    def lead(self, recorders, name="walk"):
        leader = self.peer("stage", "left", "lead", name, recorders)
        return leader

    def record(self, machine, name=None):
        return self.peer(machine, "stage", "record", self.folder / (name or machine), self.RATES[machine])

    def ticks(self, machine, name=None):
        """The instants that were recorded, by the leader's clock as it truly is, and how far off the recorder may have
        taken that to be; but for the last line, which it may be writing."""
        ahead = self.group.ahead(machine, of="stage") * SECOND
        lines = (self.folder / (name or machine)).read_text().split("\n")[:-1]
        return [Tick(int(instant) - ahead, int(bound)) for instant, bound in map(str.split, lines)]

    def check_whole(self, machine, starts, ends, name=None):
        ticks = self.ticks(machine, name)
        period = SECOND / self.RATES[machine]
        check(ticks, f"{machine} has recorded nothing")
        (first, at_first), (last, at_last) = ticks[0], ticks[-1]
        check(starts - at_first <= first < starts + period + at_first,
              f"{machine} begins {first - starts} ns after the start, where {at_first} ns are unknown")
        check(ends - period - at_last <= last < ends + at_last,
              f"{machine} ends {last - ends} ns after the end, where {at_last} ns are unknown")
        check(all(abs(after.instant - before.instant - period) < 10 for before, after in zip(ticks, ticks[1:])),
              f"{machine} has a gap")
        print(f"  {machine}: {len(ticks)} ticks, from {(first - starts) / 1e6:+.3f} ms after the start to "
              f"{(last - ends) / 1e6:+.3f} ms after the end; {max(at_first, at_last) / 1e6:.3f} ms are unknown")


def everybody_in_time(stage):
    print("two recorders, and one that comes late")
    recorders = [stage.record("left"), stage.record("right")]
    leader = stage.lead(2)
    check(leader.stdout.readline() == "armed\n", "nobody is armed")
    starts = int(ask(leader, "start"))
    machines.wait_for(lambda: all(report[0] == RECORDING for report in reports(leader).values()), "recording")
    recorders.append(stage.record("left", "late"))
    machines.wait_for(lambda: reports(leader).get("late", [None])[0] == RECORDING, "the late one")
    ends = int(ask(leader, "end"))
    for recorder in recorders:
        check(recorder.stdout.readline() == "ended\n", "a recorder does not end")
    machines.wait_for(lambda: all(report[0] == ENDED for report in reports(leader).values()), "the end")
    for machine in ("left", "right"):
        stage.check_whole(machine, starts, ends)
    said = reports(leader)
    late = stage.ticks("left", "late")
    check(late[0].instant > starts + 2 * SECOND / 240, "the late one was not late")
    check(all(tick.instant < ends + tick.bound for tick in late), "the late one goes on")
    check(abs(int(said["late"][3]) - late[0].instant) <= late[0].bound + int(said["late"][4]),
          "the late one does not say from when it has data")
    for name, report in said.items():
        check(int(report[2]) == len((stage.folder / name).read_text().splitlines()), f"{name} miscounts")
        check(0 < int(report[4]) < SECOND, f"{name} does not know the clock: {report[4]} ns")
    for process in [leader, *recorders]:
        process.kill()
        process.wait()


def a_leader_is_killed(stage):
    print("a leader that is killed, and another one")
    recorder = stage.record("right", "orphan")
    leader = stage.lead(1)
    check(leader.stdout.readline() == "armed\n", "nobody is armed")
    starts = int(ask(leader, "start"))
    machines.wait_for(lambda: reports(leader)["orphan"][0] == RECORDING, "recording")
    leader.kill()
    leader.wait()
    before = len(stage.ticks("right", "orphan"))
    machines.wait_for(lambda: len(stage.ticks("right", "orphan")) > before + 100, "a second more")
    ticks = stage.ticks("right", "orphan")
    first, bound = ticks[0]
    check(starts - bound <= first < starts + SECOND / 100 + bound, "it did not begin with the take")
    recorder.kill()
    recorder.wait()
    again = stage.record("right", "next")
    leader = stage.lead(1, "run")
    check(leader.stdout.readline() == "armed\n", "nobody follows the next leader")
    for process in (leader, again):
        process.kill()
        process.wait()


def a_recorder_is_killed(stage):
    print("a recorder that is killed")
    recorders = [stage.record("left", "stays"), stage.record("right", "dies")]
    leader = stage.lead(2)
    check(leader.stdout.readline() == "armed\n", "nobody is armed")
    ask(leader, "start")
    machines.wait_for(lambda: all(report[0] == RECORDING for report in reports(leader).values()), "recording")
    recorders[1].kill()
    machines.wait_for(lambda: reports(leader)["dies"][1] == "0", "the leader to see that a recorder is gone")
    machines.wait_for(lambda: reports(leader)["stays"][1] == "1", "the one that is there")
    said = reports(leader)
    check(said["dies"][0] == RECORDING, "what it said last is forgotten")
    for process in [leader, *recorders]:
        process.kill()
        process.wait()


def good_network(_):
    with tempfile.TemporaryDirectory() as folder, \
            machines.Machines({"stage": 50, "left": 86_400, "right": 3}) as group:
        stage = Stage(group, folder)
        everybody_in_time(stage)
        a_leader_is_killed(stage)
        a_recorder_is_killed(stage)


def bad_network(_):
    with tempfile.TemporaryDirectory() as folder, \
            machines.Machines({"stage": 50, "left": 86_400, "right": 3},
                              rules=["--loss", 0.1, "--burst", 2, "--delay", 0.001, "--jitter", 0.001]) as group:
        if group.isolated:
            print("over a network that loses a tenth of all packets")
            everybody_in_time(Stage(group, folder))


PEER = sys.argv[1]
if __name__ == "__main__":
    machines.run({"good_network": good_network, "bad_network": bad_network})
