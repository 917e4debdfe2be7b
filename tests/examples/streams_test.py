# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""The two example programs of streams, run at once, print exactly what stands beside them.

usage: streams_test.py PUBLISHER RECEIVER TAKE EXPECTED_DIR
"""

import pathlib
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "link" / "network"))

import machines

publisher, receiver, take, expected = sys.argv[1:]
domain = str(machines.own_domain())
receiving = subprocess.Popen([receiver, domain], stdout=subprocess.PIPE, text=True)
sent = subprocess.run([publisher, take, domain], stdout=subprocess.PIPE, text=True, check=False)
received, _ = receiving.communicate()
if (sent.returncode, receiving.returncode) != (0, 0):
    sys.exit(f"ended with {sent.returncode} and {receiving.returncode}:\n{sent.stdout}{received}")
for name, output in (("publish_a_stream", sent.stdout), ("receive_a_stream", received)):
    wanted = (pathlib.Path(expected) / f"{name}.txt").read_text(encoding="utf-8")
    if output != wanted:
        sys.exit(f"{name} printed:\n{output}instead of:\n{wanted}")
