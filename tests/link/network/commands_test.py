# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""A stream of one machine is recorded whole on another, where each names the other.

usage: commands_test.py TARN_CAPTURE TAKE WORK_DIR
"""

import pathlib
import subprocess
import sys

import machines

capture, take, work = sys.argv[1:]
machines.enter()
pathlib.Path(work).mkdir(parents=True, exist_ok=True)
out = pathlib.Path(work) / "recorded.tarn"
for left in pathlib.Path(work).glob("recorded.tarn*"):
    left.unlink()
with machines.Machines({"floor": 0, "hall": 1000}) as network:
    common = ["--domain", "57"]
    publisher = network.start("floor", [capture, "publish", take, "--as", "stage", "--await", "1", "--speed", "0",
                                        "--peer", network.addresses["hall"], *common])
    recorder = network.start("hall", [capture, "record", "--from", "stage", "--out", str(out), "--wait", "60",
                                      "--peer", network.addresses["floor"], *common],
                             stdout=subprocess.PIPE, text=True)
    output, _ = recorder.communicate(timeout=120)
    codes = (publisher.wait(timeout=120), recorder.returncode)
if codes != (0, 0) or "  received  994 frames\n  lost      0\n" not in output:
    sys.exit(f"ended with {codes}:\n{output}")
