# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Carries what comes in at one network device to the others, as badly as it is told.

usage: relay.py [--delay S] [--jitter S] [--loss P] [--burst N] [--seed N] DEVICE...
       relay.py --plain DEVICE

Each packet waits `--delay` seconds and on average `--jitter` more, each on its own, so that they overtake one
another; a part `--loss` of them is dropped, `--burst` in a row on average. Says "ready" when it carries. Lines that
come in on standard input have options in the same form, and are answered with "changed".

With --plain, has a device's packets carry checksums of their own, which a relay needs.
"""

import argparse
import fcntl
import heapq
import random
import select
import socket
import struct
import sys
import time

ETH_P_ALL = 0x0003
ETH_P_IP = 0x0800
PACKET_OUTGOING = 4
SIOCETHTOOL = 0x8946
SET_TX_CHECKSUM = 0x17
SET_SEGMENTATION = (0x1F, 0x24)  # of TCP, and in general


def make_plain(device):
    control = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    import ctypes
    for command in (SET_TX_CHECKSUM, *SET_SEGMENTATION):
        value = ctypes.create_string_buffer(struct.pack("II", command, 0))
        request = struct.pack("16sP8x", device.encode(), ctypes.addressof(value))
        try:
            fcntl.ioctl(control, SIOCETHTOOL, request)
        except OSError:
            if command == SET_TX_CHECKSUM:
                raise


def parser():
    options = argparse.ArgumentParser()
    for name, default in (("--delay", 0.0), ("--jitter", 0.0), ("--loss", 0.0), ("--burst", 1.0)):
        options.add_argument(name, type=float, default=default)
    options.add_argument("--seed", type=int, default=1)
    options.add_argument("--plain", action="store_true")
    options.add_argument("devices", nargs="*")
    return options


class Loss:
    """Drops in bursts: a chain of two states, of which one drops."""

    def __init__(self, part, burst, chance):
        self._leave = 1 / max(burst, 1)
        self._enter = self._leave * part / (1 - part) if part < 1 else 1
        self._always = part >= 1
        self._dropping = False
        self._chance = chance

    def drops(self):
        if self._dropping:
            self._dropping = self._always or self._chance.random() >= self._leave
        else:
            self._dropping = self._chance.random() < self._enter
        return self._dropping


class Relay:
    def __init__(self, options):
        self._chance = random.Random(options.seed)
        self._ports = []
        for device in options.devices:
            port = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ETH_P_ALL))
            port.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 8 << 20)
            port.bind((device, ETH_P_ALL))
            port.setblocking(False)
            self._ports.append(port)
        self._waiting = []  # of (when, number, port, packet)
        self._number = 0
        self.obey(options)

    def obey(self, options):
        self._delay = options.delay
        self._jitter = options.jitter
        self._loss = Loss(options.loss, options.burst, self._chance)

    def take(self, port):
        while True:
            try:
                packet, address = port.recvfrom(65536)
            except BlockingIOError:
                return
            if address[2] == PACKET_OUTGOING:
                continue
            wait = 0.0
            # Only what the programs send suffers, not how the machines find each other.
            if address[1] == ETH_P_IP:
                if self._loss.drops():
                    continue
                wait = self._delay + (self._chance.expovariate(1 / self._jitter) if self._jitter > 0 else 0)
            for other in self._ports:
                if other is not port:
                    self._number += 1
                    heapq.heappush(self._waiting, (time.monotonic() + wait, self._number, other, packet))

    def send_due(self):
        """Sends what has waited; returns how long the next has to."""
        while self._waiting:
            left = self._waiting[0][0] - time.monotonic()
            if left > 0:
                return left
            _, _, port, packet = heapq.heappop(self._waiting)
            try:
                port.send(packet)
            except OSError:
                pass  # as networks do
        return None

    def run(self):
        print("ready", flush=True)
        while True:
            wait = self.send_due()
            readable, _, _ = select.select([*self._ports, sys.stdin], [], [], wait)
            for source in readable:
                if source is not sys.stdin:
                    self.take(source)
                    continue
                line = sys.stdin.readline()
                if not line:
                    return
                self.obey(parser().parse_args(line.split()))
                print("changed", flush=True)


def main():
    options = parser().parse_args()
    if options.plain:
        make_plain(options.devices[0])
    else:
        Relay(options).run()


if __name__ == "__main__":
    main()
