# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""How large the page of ten minutes of two performers is, and how soon it plays once it is opened.

usage: page_opening.py TARN_CAPTURE TAKE TAKE NODE_DIR [TIMES]

The performers dance the takes forwards and backwards at 120 frames per second, each time a little differently and with
the noise of a capture, so that no frame is there twice. Fails where the page is larger than 20 MB, or the median of
the openings, each in a browser that has just been started, takes longer than 2 s.
"""

import pathlib
import random
import shutil
import statistics
import subprocess
import sys
import tempfile

FRAMES = 72_000
MOST_BYTES, MOST_SECONDS = 20_000_000, 2.0

program, takes, node_dir = sys.argv[1], sys.argv[2:4], pathlib.Path(sys.argv[4]).resolve()
times = int(sys.argv[5]) if len(sys.argv) > 5 else 5


def long_take(source, seed, path):
    """Angles wander by some degrees besides."""
    chance = random.Random(seed)
    head, motion = pathlib.Path(source).read_text(encoding="utf-8").split("MOTION")
    rows = [[float(word) for word in line.split()] for line in motion.strip().splitlines()[2:]]
    turn = 2 * len(rows) - 2
    drift, goal = [0.0] * len(rows[0]), [0.0] * len(rows[0])
    with path.open("w", encoding="utf-8") as file:
        file.write(f"{head}MOTION\nFrames: {FRAMES}\nFrame Time: 0.0083333\n")
        for frame in range(FRAMES):
            at = frame % turn
            row = rows[min(at, turn - at)]
            if frame % 97 == 0:
                goal = [chance.gauss(0, 0.9) for _ in row]
            drift = [was + 0.02 * (to - was) for was, to in zip(drift, goal)]
            file.write(" ".join(f"{value + off + chance.gauss(0, 0.004):.4f}" for value, off in zip(row, drift)) + "\n")


with tempfile.TemporaryDirectory() as temporary:
    directory = pathlib.Path(temporary)
    long_takes = [directory / f"{number}.bvh" for number, _ in enumerate(takes)]
    for number, take in enumerate(takes):
        long_take(take, number, long_takes[number])
    page = directory / "page.html"
    subprocess.run([program, "view", *long_takes, "--out", page], check=True)
    script = pathlib.Path(__file__).with_suffix(".cjs")
    opened = subprocess.run([shutil.which("node"), script, node_dir, shutil.which("chromium"), page, str(times)],
                            check=True, stdout=subprocess.PIPE, text=True).stdout
    seconds = [float(line) / 1000 for line in opened.split()]
    size, median = page.stat().st_size, statistics.median(seconds)

print(f"ten minutes of two performers: {size / 1e6:.1f} MB (at most {MOST_BYTES / 1e6:.0f})")
print(f"playing after {median:.2f} s, from {min(seconds):.2f} to {max(seconds):.2f} in {len(seconds)} browsers "
      f"(at most {MOST_SECONDS:.0f})")
if size > MOST_BYTES or median > MOST_SECONDS:
    sys.exit(1)
