# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""The page of a session that runs does in a real browser what it is for, and survives the session.

usage: ViewLive_test.py TARN_CAPTURE DATA_DIR NODE_DIR

Ends with 77, for a test that was skipped, where Node, its packages or Chromium are missing.
"""

import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

program, data, node_dir = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3]).resolve()
node, chromium = shutil.which("node"), shutil.which("chromium")
if node is None or chromium is None or not (node_dir / "node_modules/puppeteer-core").is_dir():
    print("skipped: no node, chromium or puppeteer-core (scripts/bootstrap installs them)")
    sys.exit(77)

METRES = {"cm": 0.01, "m": 1, "mm": 0.001}
takes = sorted(data.glob("*salsa*.bvh"))
if len(takes) != 2:
    sys.exit(f"no two dancers in {data}")


def line_with(stream, start):
    """The rest of the first line that begins so."""
    for line in stream:
        print(line, end="", flush=True)
        if line.startswith(start):
            return line[len(start):].strip()
    sys.exit(f"ended without '{start}'")


with tempfile.TemporaryDirectory() as temporary:
    directory = pathlib.Path(temporary)
    witnesses = []
    for take in takes:
        file = directory / f"{take.stem}.json"
        subprocess.run([program, "export", str(take), "--format", "json", "--out", str(file)], check=True)
        witness = json.loads(file.read_text(encoding="utf-8"))
        witness["scale"] = METRES[witness["unit"]]
        file.write_text(json.dumps(witness), encoding="utf-8")
        witnesses.append(str(file))
    # So slow that the session lasts until it is stopped.
    session = subprocess.Popen([program, "run", *map(str, takes), "--out", str(directory / "session"), "--calibrate", "0",
                                "--speed", "0.1", "--view"], stdout=subprocess.PIPE, text=True)
    try:
        job = directory / "job.json"
        job.write_text(json.dumps({"address": line_with(session.stdout, "watch at "), "witnesses": witnesses}),
                       encoding="utf-8")
        script = pathlib.Path(__file__).parent / "view_live.cjs"
        environment = {**os.environ, "HOME": str(directory)}  # so that the browser finds nobody's settings
        browser = subprocess.Popen([node, str(script), str(node_dir), chromium, str(job)], env=environment,
                                   stdout=subprocess.PIPE, text=True)
        line_with(browser.stdout, "stop")
        session.send_signal(signal.SIGINT)
        session.communicate(timeout=300)
        browser.communicate(timeout=300)
    finally:
        session.kill()
    if session.returncode != 128 + signal.SIGINT:
        sys.exit(f"the session ended with {session.returncode}")
    sys.exit(browser.returncode)
