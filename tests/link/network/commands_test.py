# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""A stream of one machine is recorded whole on another, where each names the other; and where the other's program is
of another version, both versions are said.

usage: commands_test.py TARN_CAPTURE VERSION_PEER TAKE WORK_DIR
"""

import pathlib
import subprocess
import sys

import machines

capture, version_peer, take, work = sys.argv[1:]
machines.enter()
pathlib.Path(work).mkdir(parents=True, exist_ok=True)
domain = str(machines.own_domain())


def fresh(name):
    """A file of that name that is not there yet."""
    for left in pathlib.Path(work).glob(f"{name}*"):
        left.unlink()
    return pathlib.Path(work) / name


def recording(network, out, wait):
    return network.start("hall", [capture, "record", "--from", "stage", "--out", str(out), "--wait", str(wait), "--peer",
                                  network.addresses["floor"], "--domain", domain],
                         stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def records_all(network):
    publisher = network.start("floor", [capture, "publish", take, "--as", "stage", "--await", "1", "--speed", "0",
                                        "--peer", network.addresses["hall"], "--domain", domain])
    recorder = recording(network, fresh("recorded.tarn"), 60)
    output, errors = recorder.communicate(timeout=600)
    codes = (publisher.wait(timeout=600), recorder.returncode)
    if codes != (0, 0) or "  received  994 frames\n  lost      0\n" not in output:
        sys.exit(f"ended with {codes}:\n{output}{errors}")


def says_both_versions(network):
    other = network.start("floor", [version_peer, domain, network.addresses["hall"], "3"], stdin=subprocess.PIPE,
                          stdout=subprocess.PIPE, text=True)
    if other.stdout.readline() != "ready\n":
        sys.exit("the program of another version did not start")
    watch = network.start("hall", [capture, "watch", "--once", "--wait", "60", "--peer", network.addresses["floor"],
                                   "--domain", domain], stdout=subprocess.PIPE, text=True)
    table, _ = watch.communicate(timeout=600)
    if watch.returncode != 0 or "version 3" not in table:
        sys.exit(f"watch ended with {watch.returncode}:\n{table}")
    out = fresh("other.tarn")
    recorder = recording(network, out, 5)
    _, errors = recorder.communicate(timeout=600)
    if recorder.returncode != 1 or "'stage' is offered in version 3, here are read 1" not in errors or out.exists():
        sys.exit(f"record ended with {recorder.returncode}:\n{errors}")
    other.communicate(timeout=600)


with machines.Machines({"floor": 0, "hall": 1000}) as network:
    records_all(network)
    says_both_versions(network)
