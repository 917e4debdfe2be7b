# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""The two example programs of streams, run at once, print exactly what stands beside them.

usage: streams_test.py PUBLISHER RECEIVER TAKE EXPECTED_DIR
"""

import os
import pathlib
import subprocess
import sys

publisher, receiver, take, expected = sys.argv[1:]
domain = str(1 + os.getpid() % 199)
receiving = subprocess.Popen([receiver, domain], stdout=subprocess.PIPE, text=True)
sent = subprocess.run([publisher, take, domain], stdout=subprocess.PIPE, text=True, check=False)
received, _ = receiving.communicate()
if (sent.returncode, receiving.returncode) != (0, 0):
    sys.exit(f"ended with {sent.returncode} and {receiving.returncode}:\n{sent.stdout}{received}")
for name, output in (("publish_a_stream", sent.stdout), ("receive_a_stream", received)):
    wanted = (pathlib.Path(expected) / f"{name}.txt").read_text(encoding="utf-8")
    if output != wanted:
        sys.exit(f"{name} printed:\n{output}instead of:\n{wanted}")
