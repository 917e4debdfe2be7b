# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Streams between machines, frame by frame: whole over a network that loses, delays and reorders, and beside somebody who
sends garbage; without harm when either side is killed, at whatever moment, or slow; and in memory that does not grow.

usage: stream_test.py STREAM_PEER [PART...] [--seconds SECONDS]

Memory is watched for 10 seconds, or SECONDS. What is resident says nothing of it: up to 2,048 samples are kept for who
is behind, more or fewer of them with how busy the machine is, and the allocator gives nothing back. So what counts is
what is allocated while nothing is on its way.
"""

import collections
import pathlib
import random
import signal
import sys
import time

import machines

DOMAIN = machines.own_domain()
PERFORMERS = 8
STEP = 1_000  # samples
STEPS_PER_SECOND = 2
ALLOWANCE = 1 << 20  # bytes, for tables that grow to what is on its way at once: 52 for each sample of 10 seconds
# To the ports of the first programs of a machine: bytes, and messages of the transport that go wrong inside.
GARBAGE = """
import random, socket, struct, sys, time
address, domain, chance = sys.argv[1], int(sys.argv[2]), random.Random(int(sys.argv[3]))
sender = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
for number in range(4000):
    packet = chance.randbytes(chance.randrange(1400))
    if number % 4 > 0:
        packet = b"RTPS" + bytes([2, chance.randrange(4), 1, chance.randrange(32)]) + chance.randbytes(12)
        for _ in range(chance.randrange(1, 6)):
            body = chance.randbytes(chance.choice((0, 4, 8, 20, 24, 28, 32, 200)))
            length = chance.choice((len(body), 0, 4, 24, 65535))
            packet += struct.pack("<BBH", chance.randrange(1, 0x17), chance.randrange(8), length) + body
    port = 7400 + 250 * domain + 10 + chance.randrange(8)
    try:
        sender.sendto(packet, (address, port))
    except ConnectionRefusedError:
        pass  # by a port that nobody has
    time.sleep(0.0005)
"""
End = collections.namedtuple("End", "received lost late disordered skipped refused before reconnects wrong ended")


def check(condition, what):
    if not condition:
        sys.exit(what)


def publish(group, frames):
    return group.start("stage", [PEER, "publish", DOMAIN, group.addresses["hall"], PERFORMERS, 240, 1, frames],
                       stdout=-1, text=True)


def receive(group, wanted="every", pause=0):
    return group.start("hall", [PEER, "receive", DOMAIN, group.addresses["stage"], wanted, pause],
                       stdout=-1, text=True)


class Steps:
    """A publisher that sends when it is told to, once so many take every frame, and ends when it is told to.

    As many samples as are kept for who is behind, 2,048, are too many for a step: a machine that stands still for as
    long as they take loses some.
    """

    def __init__(self, group, receivers=1, rate=240):
        self.process = group.start("stage", [PEER, "steps", DOMAIN, group.addresses["hall"], PERFORMERS, rate, receivers],
                                   stdin=-1, stdout=-1, text=True)
        self.sent = 0

    def send(self, samples):
        """Returns how many bytes the publisher has allocated when all have been sent."""
        self.sent += samples
        print(samples, file=self.process.stdin, flush=True)
        return int(self.process.stdout.readline())

    def end(self):
        self.process.stdin.close()
        said = self.process.stdout.read().split()
        check(said[:2] == [str(self.sent * PERFORMERS), "0"], f"the publisher says {said}")
        return said[2] == "1"


def end_of(receiver):
    for line in receiver.stdout:
        if line.startswith("end "):
            return End(*map(int, line.split()[1:]))
    sys.exit("a receiver did not come to its end")


def await_frames(receiver, count):
    """Waits until a receiver has taken so many frames, none of which may be wrong; returns how many it has taken then,
    and how many bytes it has allocated."""
    for line in receiver.stdout:
        if line.startswith("end "):
            break
        _, took, wrong, allocated = line.split()
        check(wrong == "0", f"{wrong} frames are not those that were sent")
        if int(took) >= count:
            return int(took), int(allocated)
    sys.exit("a receiver has ended")


def whole_over_a_bad_network(group):
    receiver, publisher = receive(group), Steps(group)
    publisher.send(100)
    group.rules("--loss", 0.05, "--burst", 3, "--delay", 0.001, "--jitter", 0.002)
    publisher.send(380)
    check(publisher.end(), "not everything was taken")
    end = end_of(receiver)
    group.rules()
    frames = publisher.sent * PERFORMERS
    check(end.before == 0 and end.received == frames and end.lost == 0, f"not everything came: {end}")
    check(end.wrong == 0 and end.refused == 0, f"what came is not what was sent: {end}")
    network = "5 % lost in bursts, reordered" if group.isolated else "on the loopback"
    print(f"  {network}: {end.received} of {frames} frames came, all right")


def newest_over_a_bad_network(group):
    recorder, viewer, publisher = receive(group), receive(group, "newest"), Steps(group)
    publisher.send(1)
    while not has_begun(viewer):
        publisher.send(1)
    group.rules("--loss", 0.05, "--burst", 3)
    publisher.send(480)
    group.rules("--loss", 1)
    publisher.send(1)
    group.rules("--loss", 0.05, "--burst", 3)
    publisher.end()
    end, shown = end_of(recorder), end_of(viewer)
    group.rules()
    frames = publisher.sent * PERFORMERS
    check(end.lost == 0 and end.before == 0 and end.received == frames, f"the recorder lost something: {end}")
    check(shown.wrong == 0 and shown.refused == 0, f"what was shown is not what was sent: {shown}")
    check(shown.ended == 1, f"a viewer did not hear of the end: {shown}")
    counted = shown.received + shown.lost + shown.skipped + shown.late + shown.before
    check(counted == frames, f"a viewer cannot say what became of {frames - counted} frames: {shown}")
    if group.isolated:
        check(shown.lost > 0, "nothing was lost: this shows nothing")
        # What is lost is what packets that are lost had in them, and not their neighbours.
        check(shown.lost < frames / 5, f"one packet in 20 was lost, and so were {shown.lost} of {frames} frames")
    print(f"  beside a viewer, who lost {shown.lost} and heard of the end")


def has_begun(receiver):
    """Whether it has taken anything when it says how much the next time."""
    return int(receiver.stdout.readline().split()[1]) > 0


def nothing_is_split(group):
    """Not even where packets are as small as in a tunnel."""
    if not group.isolated:
        return
    for name in ("stage", "hall"):
        group.narrow(name, 1_420)
    receiver, viewer, publisher = receive(group), receive(group, "newest"), Steps(group)
    publisher.send(1)
    while not has_begun(viewer):
        publisher.send(1)
    publisher.send(100)
    publisher.end()
    end, shown = end_of(receiver), end_of(viewer)
    check(end.lost == 0 and shown.wrong == 0 and end.wrong == 0, f"not everything came: {end}, {shown}")
    for name in ("stage", "hall"):
        split = group.packets_split(name)
        check(split == 0, f"{split} packets were split on {name}")
    print("  no packet was split")


def either_side_is_killed(group, seeds):
    for seed in range(seeds):
        chance = random.Random(seed)
        receiver = receive(group)
        publisher = publish(group, 100_000)
        before, _ = await_frames(receiver, chance.randrange(8, 2_000))
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


def whole_beside_garbage(group):
    receiver, publisher = receive(group), Steps(group)
    publisher.send(20)
    senders = [group.start("yard", [sys.executable, "-c", GARBAGE, group.addresses[name], DOMAIN, seed])
               for seed, name in enumerate(("hall", "stage"))]
    while any(sender.poll() is None for sender in senders):
        publisher.send(100)
        await_frames(receiver, publisher.sent * PERFORMERS)
    check(all(sender.returncode == 0 for sender in senders), "garbage was not sent")
    check(publisher.end(), "not everything was taken")
    end = end_of(receiver)
    frames = publisher.sent * PERFORMERS
    check(end.before == 0 and end.received == frames and end.lost == 0, f"not everything came: {end}")
    check(end.wrong == 0 and end.refused == 0, f"garbage was taken for frames: {end}")
    print(f"  beside 4,000 packets of garbage to either side: {end.received} of {frames} frames came, all right")


def slow_and_stopped(group):
    slow, stopped, quick = receive(group, pause=2_000), receive(group), receive(group)
    publisher = Steps(group, receivers=3)
    publisher.send(20)
    while not has_begun(stopped):
        publisher.send(1)
    stopped.send_signal(signal.SIGSTOP)
    for _ in range(3):  # more than is kept for who is behind
        publisher.send(800)
        await_frames(quick, publisher.sent * PERFORMERS)
    stopped.send_signal(signal.SIGCONT)
    for receiver in (slow, stopped):
        receiver.kill()
        receiver.wait()
    publisher.end()
    end = end_of(quick)
    frames = publisher.sent * PERFORMERS
    check(end.received == frames and end.lost == 0 and end.wrong == 0, f"others suffer from a slow one: {end}")
    print(f"  beside a slow receiver and a stopped one: {end.received} of {frames} frames")


def memory_is_flat(group, seconds):
    # A sanitizer has an allocator of its own.
    if any(name in pathlib.Path(PEER).read_bytes() for name in (b"__asan_init", b"__tsan_init")):
        print("  memory is not looked at: a sanitizer is built in")
        return
    receiver, publisher = receive(group), Steps(group, rate=STEP * STEPS_PER_SECOND)

    def send(samples):
        at_publisher = publisher.send(samples)
        return at_publisher, await_frames(receiver, publisher.sent * PERFORMERS)[1]

    first = send(1)
    for _ in range(int(seconds * STEPS_PER_SECOND)):
        send(STEP)
    # What was sent is kept until the receiver has said that it is there, which is soon, but not at once.
    latest = time.monotonic() + 300
    last = send(0)
    while any(now > was + ALLOWANCE for was, now in zip(first, last)):
        check(time.monotonic() < latest, f"memory grows, of the publisher and the receiver, from {first} to {last} bytes")
        last = send(0)
    for process in (publisher.process, receiver):
        process.kill()
        process.wait()
    print(f"  {publisher.sent} samples of {PERFORMERS} performers: the publisher had {first[0]} bytes and has {last[0]}, "
          f"the receiver {first[1]} and {last[1]}")


def bad_network(_):
    with machines.Machines({"stage": 100, "hall": 0}, rules=[]) as group:
        whole_over_a_bad_network(group)
        newest_over_a_bad_network(group)


def killed(_):
    with machines.Machines({"stage": 100, "hall": 0}) as group:
        either_side_is_killed(group, 3)


def slow(_):
    with machines.Machines({"stage": 100, "hall": 0}) as group:
        nothing_is_split(group)
        slow_and_stopped(group)


def memory(seconds):
    with machines.Machines({"stage": 100, "hall": 0}) as group:
        memory_is_flat(group, seconds)


def garbage(_):
    with machines.Machines({"stage": 100, "hall": 0, "yard": 7}) as group:
        whole_beside_garbage(group)


PEER = sys.argv[1]
if __name__ == "__main__":
    machines.run({"bad_network": bad_network, "killed": killed, "slow": slow, "memory": memory, "garbage": garbage},
                 seconds=10)
