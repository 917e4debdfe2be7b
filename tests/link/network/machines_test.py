# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""That the machines of the other tests are what these take them for: they reach each other, their clocks differ by what
they were told, and their relay delays, reorders and drops what it was told to.

usage: machines_test.py
"""

import sys

import machines

RECEIVE = """
import socket, sys
receiver = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
receiver.bind(("", 7000))
print("ready", flush=True)
receiver.settimeout(200)
got = []
while True:
    packet, sender = receiver.recvfrom(2000)
    if packet[:3] == b"end":
        break
    if packet[:3] == b"ask":
        receiver.sendto(packet, sender)
    else:
        got.append(int(packet[:8]))
print(*got, flush=True)
"""
# Asks now and then until it is answered: what a receiver has no room for is not what a network loses.
SEND = """
import socket, sys, time
sender = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
sender.settimeout(0.02)
def isAnswered(question):
    sender.sendto(question, (sys.argv[1], 7000))
    try:
        while sender.recv(2000) != question:
            pass
        return True
    except TimeoutError:
        return False
for number in range(int(sys.argv[2])):
    sender.sendto(b"%08d" % number + b"." * 1000, (sys.argv[1], 7000))
    time.sleep(0.0002)
    if number % 32 == 0 and len(sys.argv) < 4:
        while not isAnswered(b"ask%d" % number):
            pass
"""
END = """
import socket, sys, time
sender = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
for number in range(int(sys.argv[2])):
    sender.sendto(b"%08d" % number + b"." * 1000, (sys.argv[1], 7000))
    time.sleep(0.0002)
"""
END = """
import socket, sys
socket.socket(socket.AF_INET, socket.SOCK_DGRAM).sendto(b"end", (sys.argv[1], 7000))
"""
NOW = "import time; print(time.clock_gettime(time.CLOCK_MONOTONIC), time.clock_gettime(time.CLOCK_BOOTTIME))"


def send_through(group, count, before_end=()):
    receiver = group.start("there", [sys.executable, "-c", RECEIVE], stdout=-1, text=True)
    assert receiver.stdout.readline() == "ready\n"
    address = group.addresses["there"]
    assert group.start("here", [sys.executable, "-c", SEND, address, count]).wait() == 0
    group.rules(*before_end)
    while receiver.poll() is None:  # its end may come before what is delayed
        machines.time.sleep(0.3)
        group.start("here", [sys.executable, "-c", END, address]).wait()
    return [int(number) for number in receiver.stdout.read().split()]


def clock(group, name):
    return float(group.start(name, [sys.executable, "-c", NOW], stdout=-1, text=True).stdout.read().split()[0])


def check(condition, what):
    if not condition:
        sys.exit(what)


def main():
    machines.enter()
    with machines.Machines({"here": 0, "there": 1000}) as group:
        before, other, after = clock(group, "here"), clock(group, "there"), clock(group, "here")
        ahead = group.ahead("there", of="here")
        check(before + ahead <= other <= after + ahead, f"there is no clock that is {ahead} s ahead")
        check(send_through(group, 500) == list(range(500)), "a plain network loses or reorders packets")
        if not group.isolated:
            return
    with machines.Machines({"here": 0, "there": 0}, rules=["--loss", 0.2, "--burst", 5]) as group:
        got = send_through(group, 4000, before_end=["--loss", 0])
        lost = 4000 - len(got)
        bursts = sum(1 for left, right in zip(got, got[1:]) if right - left > 1)
        check(got == sorted(got), "a relay that only drops reorders packets")
        check(400 < lost < 1200, f"a relay that should drop 800 packets dropped {lost}")
        check(2.5 < lost / bursts < 10, f"a relay that should drop 5 in a row dropped {lost} in {bursts} bursts")
    with machines.Machines({"here": 0, "there": 0}, rules=["--delay", 0.005, "--jitter", 0.005]) as group:
        got = send_through(group, 500)
        check(sorted(got) == list(range(500)), "a relay that only delays loses packets")
        check(got != sorted(got), "packets that wait each on their own did not overtake each other")
        group.rules("--loss", 1)
        receiver = group.start("there", [sys.executable, "-c", RECEIVE], stdout=-1, text=True)
        receiver.stdout.readline()
        group.start("here", [sys.executable, "-c", SEND, group.addresses["there"], 100, "all"]).wait()
        group.rules("--loss", 0)
        while receiver.poll() is None:
            group.start("here", [sys.executable, "-c", END, group.addresses["there"]]).wait()
            machines.time.sleep(0.05)
        check(receiver.stdout.read().split() == [], "packets came through a network that was cut")


if __name__ == "__main__":
    main()
