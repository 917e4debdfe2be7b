# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Streams between machines, frame by frame: whole over a network that loses, delays and reorders; without harm when
either side is killed, at whatever moment, or slow; and in memory that does not grow.

usage: stream_test.py STREAM_PEER [SECONDS]

Memory is watched for 10 seconds, or SECONDS. What is resident says nothing of it: up to 2,048 samples are kept for who
is behind, more or fewer of them with how busy the machine is, and the allocator gives nothing back. So what counts is
what is allocated while nothing is on its way.
"""

import collections
import os
import pathlib
import random
import signal
import sys
import time

import machines

DOMAIN = 1 + os.getpid() % 199
PERFORMERS = 8
STEP = 1_000  # samples
STEPS_PER_SECOND = 2
ALLOWANCE = 1 << 20  # bytes, for tables that grow to what is on its way at once: 52 for each sample of 10 seconds
End = collections.namedtuple("End", "received lost late disordered skipped refused before reconnects wrong")


def check(condition, what):
    if not condition:
        sys.exit(what)


def publish(group, frames, rate=240, performers=PERFORMERS):
    return group.start("stage", [PEER, "publish", DOMAIN, group.addresses["hall"], performers, rate, frames],
                       stdout=-1, text=True)


def receive(group, wanted="every", pause=0):
    return group.start("hall", [PEER, "receive", DOMAIN, group.addresses["stage"], wanted, pause],
                       stdout=-1, text=True)


def end_of(receiver):
    for line in receiver.stdout:
        if line.startswith("end "):
            return End(*map(int, line.split()[1:]))
    sys.exit("a receiver did not come to its end")


def await_frames(receiver, count):
    """Waits until a receiver has taken so many frames; none of them may be wrong."""
    for line in receiver.stdout:
        _, took, wrong, _ = line.split()
        check(wrong == "0", f"{wrong} frames are not those that were sent")
        if int(took) >= count:
            return int(took)
    sys.exit("a receiver has ended")


def whole_over_a_bad_network(group):
    frames = 480
    publisher, receiver = publish(group, frames), receive(group)
    await_frames(receiver, 100)
    group.rules("--loss", 0.05, "--burst", 3, "--delay", 0.001, "--jitter", 0.002)
    end = end_of(receiver)
    group.rules()
    sent = publisher.stdout.read().split()
    check(sent == [str(frames * PERFORMERS), "0", "1"], f"the publisher says {sent}")
    check(end.before == 0 and end.received == frames * PERFORMERS and end.lost == 0, f"not everything came: {end}")
    check(end.wrong == 0 and end.refused == 0, f"what came is not what was sent: {end}")
    network = "5 % lost in bursts, reordered" if group.isolated else "on the loopback"
    print(f"  {network}: {end.received} of {frames * PERFORMERS} frames came, all right")


def newest_over_a_bad_network(group):
    frames = 480
    recorder, viewer = receive(group), receive(group, "newest")
    publisher = publish(group, frames)
    await_frames(viewer, 100)
    group.rules("--loss", 0.05, "--burst", 3)
    end, shown = end_of(recorder), end_of(viewer)
    group.rules()
    publisher.wait()
    check(end.lost == 0 and end.before == 0 and end.received == frames * PERFORMERS, f"the recorder lost something: {end}")
    check(shown.wrong == 0 and shown.refused == 0, f"what was shown is not what was sent: {shown}")
    if group.isolated:
        check(shown.lost > 0, "nothing was lost: this shows nothing")
    print(f"  beside a viewer, who lost {shown.lost}")


def either_side_is_killed(group, seeds):
    for seed in range(seeds):
        chance = random.Random(seed)
        receiver = receive(group)
        publisher = publish(group, 100_000)
        before = await_frames(receiver, chance.randrange(8, 2_000))
        publisher.kill()
        publisher.wait()
        publisher = publish(group, 100_000)
        killed = time.monotonic()
        await_frames(receiver, before + 2_100)
        print(f"  seed {seed}: killed after {before} frames; 2,100 more, 1.09 s of them, came in "
              f"{time.monotonic() - killed:.2f} s")
        receiver.kill()
        receiver.wait()
        again = receive(group)
        await_frames(again, chance.randrange(8, 2_000))
        check(publisher.poll() is None, "a receiver that is killed ends its publisher")
        for process in (publisher, again):
            process.kill()
            process.wait()


def slow_and_stopped(group):
    frames = 2_400
    slow, stopped, quick = receive(group, pause=2_000), receive(group), receive(group)
    publisher = publish(group, frames)
    await_frames(stopped, 100)
    stopped.send_signal(signal.SIGSTOP)
    end = end_of(quick)
    check(end.before + end.received == frames * PERFORMERS and end.lost == 0, f"others suffer from a slow one: {end}")
    stopped.send_signal(signal.SIGCONT)
    for name, receiver in (("slow", slow), ("stopped", stopped)):
        receiver.kill()
        receiver.wait()
    publisher.kill()
    publisher.wait()
    print(f"  beside a slow receiver and a stopped one: {end.received} of {frames * PERFORMERS} frames")


class Steps:
    """A publisher that sends when it is told to, and a receiver; and how many bytes each has allocated."""

    def __init__(self, group):
        self.publisher = group.start("stage", [PEER, "steps", DOMAIN, group.addresses["hall"], PERFORMERS,
                                               STEP * STEPS_PER_SECOND],
                                     stdin=-1, stdout=-1, text=True)
        self.receiver = receive(group)
        self.sent = 0

    def send(self, samples):
        """Returns what each has allocated when all has come. As many samples as are kept for who is behind are too
        many: then a machine that stands still for long loses some."""
        self.sent += samples
        print(samples, file=self.publisher.stdin, flush=True)
        publisher = int(self.publisher.stdout.readline())
        for line in self.receiver.stdout:
            _, took, wrong, receiver = line.split()
            check(wrong == "0", f"{wrong} frames are not those that were sent")
            if int(took) == self.sent * PERFORMERS:
                return publisher, int(receiver)
        sys.exit("a receiver has ended")

    def kill(self):
        for process in (self.publisher, self.receiver):
            process.kill()
            process.wait()


def memory_is_flat(group, seconds):
    # A sanitizer has an allocator of its own.
    if any(name in pathlib.Path(PEER).read_bytes() for name in (b"__asan_init", b"__tsan_init")):
        print("  memory is not looked at: a sanitizer is built in")
        return
    steps = Steps(group)
    first = steps.send(1)
    for _ in range(int(seconds * STEPS_PER_SECOND)):
        steps.send(STEP)
    # What was sent is kept until the receiver has said that it is there, which is soon, but not at once.
    latest = time.monotonic() + 60
    last = steps.send(0)
    while any(now > was + ALLOWANCE for was, now in zip(first, last)):
        check(time.monotonic() < latest, f"memory grows, of the publisher and the receiver, from {first} to {last} bytes")
        last = steps.send(0)
    steps.kill()
    print(f"  {steps.sent} samples of {PERFORMERS} performers: the publisher had {first[0]} bytes and has {last[0]}, "
          f"the receiver {first[1]} and {last[1]}")


def main():
    machines.enter()
    seconds = float(sys.argv[2]) if len(sys.argv) > 2 else 10
    with machines.Machines({"stage": 100, "hall": 0}, rules=[]) as group:
        whole_over_a_bad_network(group)
        newest_over_a_bad_network(group)
    with machines.Machines({"stage": 100, "hall": 0}) as group:
        either_side_is_killed(group, 3)
        slow_and_stopped(group)
        memory_is_flat(group, seconds)


PEER = sys.argv[1]
if __name__ == "__main__":
    main()
