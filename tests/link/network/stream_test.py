# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Streams between machines, frame by frame: whole over a network that loses, delays and reorders; without harm when
either side is killed, at whatever moment, or slow; and in memory that does not grow.

usage: stream_test.py STREAM_PEER [SECONDS]

Memory is watched for 10 seconds, or SECONDS.
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
        _, took, wrong = line.split()
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


def resident(process):
    """Of a machine's program, in KiB: nsenter becomes it."""
    status = pathlib.Path(f"/proc/{process.pid}/status").read_text(encoding="utf-8")
    return int(status.split("VmRSS:")[1].split()[0])


def memory_is_flat(group, seconds):
    # A sanitizer keeps what is freed for a while.
    if any(name in pathlib.Path(PEER).read_bytes() for name in (b"__asan_init", b"__tsan_init")):
        print("  memory is not looked at: a sanitizer is built in")
        return
    publisher, receiver = publish(group, int(240 * (seconds + 60))), receive(group)
    # What is kept for who is behind fills up first: 2,048 samples.
    await_frames(receiver, 4_096 * PERFORMERS)
    before = [resident(process) for process in (publisher, receiver)]
    await_frames(receiver, int((4_096 + 240 * seconds)) * PERFORMERS)
    after = [resident(process) for process in (publisher, receiver)]
    for process in (publisher, receiver):
        process.kill()
        process.wait()
    print(f"  {seconds} s of {PERFORMERS} performers at 240 Hz: publisher {before[0]} to {after[0]} KiB, "
          f"receiver {before[1]} to {after[1]} KiB")
    for was, now in zip(before, after):
        check(now <= was * 1.05 + 1_024, f"memory grows from {was} to {now} KiB")


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
