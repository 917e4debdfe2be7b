# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Machines for tests of links: network namespaces of this machine, joined by pairs of virtual network devices.

    with Machines({"stage": 0, "control": 1000}) as machines:
        process = machines.start("stage", ["tarn-capture", ...])

Each machine has a clock of its own, which is ahead of this one's by a known number of seconds (a time namespace;
only whole machines are set, so that the truth about their offset is exact, and their drift is nothing). What they send
each other goes through `relay.py`, if rules for it are given.

Where namespaces are not allowed, the machines are this one, on its loopback: `isolated` is False, their clocks are one,
and there is no relay. Tests say so.
"""

import argparse
import ctypes
import fcntl
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
MARK = "TARN_TEST_NAMESPACES"


def _allowed():
    probe = ["unshare", "-rnT", "--monotonic", "1", "sh", "-c",
             "ip link set lo up && ip link add name tarn0 type veth peer name tarn1 && exec true"]
    try:
        return subprocess.run(probe, capture_output=True, timeout=120).returncode == 0
    except (OSError, subprocess.TimeoutExpired):
        return False


def enter():
    """Goes on in a network namespace of its own, if that is allowed: to be called first, as it starts the program anew."""
    if MARK not in os.environ:
        os.environ[MARK] = "1" if _allowed() else "0"
        if os.environ[MARK] == "1":
            os.execvp("unshare", ["unshare", "-rn", sys.executable, *sys.argv])
    if os.environ[MARK] != "1":
        print("namespaces are not allowed here: everything runs on the loopback, with one clock and no relay")


def run(parts, seconds=0.0):
    """Runs those of the parts of a test that its command line names after the program to test, or else all of them: functions of
    how long to look at what takes its time. Each has machines of its own, so that parts may run side by side."""
    parser = argparse.ArgumentParser()
    parser.add_argument("peer")
    parser.add_argument("parts", nargs="*", metavar="PART", help=", ".join(parts))
    parser.add_argument("--seconds", type=float, default=seconds)
    options = parser.parse_args()
    unknown = set(options.parts) - set(parts)
    if unknown:
        parser.error(f"there is no part {', '.join(unknown)}, only {', '.join(parts)}")
    enter()
    for name in options.parts or parts:
        parts[name](options.seconds)


def own_domain():
    """The number of a domain of links that no other test has while this program runs: OwnDomain.h does the same."""
    first = os.getpid()
    for i in range(199):
        number = 1 + (first + i) % 199
        try:
            held = open(pathlib.Path(tempfile.gettempdir()) / f"tarn-test-domain-{number}", "a", encoding="utf-8")
            fcntl.flock(held, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except OSError:
            continue
        _held.append(held)
        return number
    sys.exit("no domain is free")


_held = []


def _die_with_parent():
    ctypes.CDLL(None).prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG


def _run(*command):
    subprocess.run(command, check=True)


class Machines:
    """`clocks` has a machine's name and by how many seconds its clock is ahead. `rules` are options of relay.py."""

    def __init__(self, clocks, rules=None):
        self.isolated = os.environ.get(MARK) == "1"
        self.clocks = dict(clocks) if self.isolated else {name: 0 for name in clocks}
        self.addresses = {name: f"10.77.0.{number}" if self.isolated else "127.0.0.1"
                          for number, name in enumerate(clocks, 1)}
        self._rules = rules
        self._holders = {}
        self._processes = []
        self._relay = None

    def __enter__(self):
        if self.isolated:
            try:
                self._build()
            except BaseException:
                self.__exit__()
                raise
        return self

    def _build(self):
        for number, (name, ahead) in enumerate(self.clocks.items(), 1):
            holder = subprocess.Popen(["unshare", "-nT", "--monotonic", str(ahead), "--boottime", str(ahead),
                                       "--fork", "--kill-child", "sh", "-c", "echo $$; exec sleep infinity"],
                                      stdout=subprocess.PIPE, text=True, preexec_fn=_die_with_parent)
            self._holders[name] = (holder, int(holder.stdout.readline()))
            near, far = f"near{number}", f"far{number}"
            _run("ip", "link", "add", "name", near, "type", "veth", "peer", "name", far)
            _run("ip", "link", "set", far, "netns", str(self._holders[name][1]))
            self._inside(name, "ip", "link", "set", "lo", "up")
            self._inside(name, "ip", "address", "add", f"{self.addresses[name]}/24", "dev", far)
            # What is forwarded by hand needs checksums, which devices leave to hardware otherwise.
            self._inside(name, sys.executable, str(HERE / "relay.py"), "--plain", far)
            self._inside(name, "ip", "link", "set", far, "up")
            _run("ip", "link", "set", near, "up")
        devices = [f"near{number}" for number in range(1, len(self.clocks) + 1)]
        if self._rules is None:
            _run("ip", "link", "add", "name", "hub", "type", "bridge")
            for device in devices:
                _run("ip", "link", "set", device, "master", "hub")
            _run("ip", "link", "set", "hub", "up")
        else:
            self._relay = subprocess.Popen(
                [sys.executable, str(HERE / "relay.py"), *map(str, self._rules), *devices],
                stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, preexec_fn=_die_with_parent)
            if self._relay.stdout.readline() != "ready\n":
                raise RuntimeError("the relay did not start")

    def _entered(self, name, command):
        if not self.isolated:
            return list(command)
        # Its clock is that of the children of who made the time namespace: enter by the child.
        return ["nsenter", "-t", str(self._holders[name][1]), "-n", "-T", *command]

    def _inside(self, name, *command):
        _run(*self._entered(name, command))

    def narrow(self, name, mtu):
        """Lets no packet of more bytes than `mtu` out of a machine."""
        if self.isolated:
            number = list(self.clocks).index(name) + 1
            self._inside(name, "ip", "link", "set", f"far{number}", "mtu", str(mtu))

    def packets_split(self, name):
        """Into how many pieces a machine has split packets that were too large."""
        said = subprocess.run(self._entered(name, ["cat", "/proc/net/snmp"]), capture_output=True, text=True, check=True)
        names, values = (line.split() for line in said.stdout.splitlines() if line.startswith("Ip:"))
        return int(dict(zip(names, values))["FragCreates"])

    def start(self, name, command, **options):
        """Starts a program on a machine; it ends with this test."""
        options.setdefault("preexec_fn", _die_with_parent)
        process = subprocess.Popen(self._entered(name, [str(part) for part in command]), **options)
        self._processes.append(process)
        return process

    def rules(self, *options):
        """Changes what the relay does from now on, until it has said so."""
        if self._relay is not None:
            print(*options, file=self._relay.stdin, flush=True)
            if self._relay.stdout.readline() != "changed\n":
                raise RuntimeError("the relay refuses " + " ".join(map(str, options)))

    def ahead(self, name, of):
        """By how many seconds the clock of a machine is ahead of that of another: the truth."""
        return self.clocks[name] - self.clocks[of]

    def __exit__(self, *_):
        holders = [process for process, _ in self._holders.values()]
        for process in [*self._processes, *([self._relay] if self._relay else []), *holders]:
            process.kill()
            process.wait()
            for stream in (process.stdin, process.stdout, process.stderr):
                if stream is not None:
                    stream.close()
        for number in range(1, len(self._holders) + 1):
            subprocess.run(["ip", "link", "delete", f"near{number}"], stderr=subprocess.DEVNULL)
        if self.isolated and self._rules is None:
            subprocess.run(["ip", "link", "delete", "hub"], stderr=subprocess.DEVNULL)


def wait_for(condition, what, seconds=300):
    """Asks until something is so: for what other processes do."""
    end = time.monotonic() + seconds
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() > end:
            sys.exit(f"waited in vain for {what}")
        time.sleep(0.01)
