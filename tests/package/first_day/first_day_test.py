# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Somebody's first day with an installed copy: a host of their own is built and run, and what it wrote is
described, exported, played and run by the program. All that is said of one take at 29.97 frames per second
agrees, to the microsecond, on when its frames are.

usage: first_day_test.py COMPILER PREFIX WORK_DIR
"""

import csv
import json
import pathlib
import shutil
import subprocess
import sys
import xml.etree.ElementTree

here = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(here.parent))
import installed  # noqa: E402

compiler, prefix, work = sys.argv[1:]
work = pathlib.Path(work)
shutil.rmtree(work, ignore_errors=True)
work.mkdir(parents=True)

FRAMES = 150
HOST_PRINTS = """150 of 150 frames at 30000/1001, cm, Y up
frame 120 is at 4004000 us: 1100.4 N
Ada is 170 cm high
"""


def check(is_right, words):
    if not is_right:
        sys.exit(words)


def capture(*arguments):
    result = subprocess.run(
        [str(pathlib.Path(prefix) / "bin" / "tarn-capture"), *map(str, arguments)],
        env=installed.environment(prefix), capture_output=True, text=True, check=False)
    check(result.returncode == 0, f"tarn-capture {arguments}: {result.stderr}")
    return result.stdout


def check_times(times, where):
    """Seconds, of frame 0 on."""
    check(len(times) == FRAMES, f"{where} has {len(times)} frames, not {FRAMES}")
    for frame, seconds in enumerate(times):
        exact = frame * 1001 / 30000
        check(abs(seconds - exact) < 1e-6, f"{where}: frame {frame} is at {seconds} s, not {exact} s")


def times_in_table(file):
    with open(file, newline="", encoding="utf-8") as table:
        return [float(row["time [s]"]) for row in csv.DictReader(table)]


def times_in_motion(file):
    words = pathlib.Path(file).read_text(encoding="utf-8").split()
    count = int(words[words.index("Frames:") + 1])
    frame_time = float(words[words.index("Time:") + 1])
    return [frame * frame_time for frame in range(count)]


# A host of one's own: two devices on threads of their own, a payload and a solver of one's own.
printed = installed.build_and_run(
    compiler, prefix, here / "host.cpp", work / "host", ["tarn_draw", "tarn_kit", "tarn_sdk"],
    arguments=[work])
check(printed == HOST_PRINTS, f"the host prints\n{printed}")
check_times(times_in_motion(work / "ada.bvh"), "the host's motion file")
check("150 frames at 29.97 per second, 5.005 s" in (work / "ada.svg").read_text(encoding="utf-8"),
      "the host's drawing tells another length")
check("unit        cm" in capture("actor", work / "ada.xml", "--check"), "the actor tells no unit")

# What the host wrote, with the program.
take = work / "ada.bvh"
described = capture("info", take)
check("29.97 (30000/1001) frames per second" in described, f"described as\n{described}")
check("9 of 9 joints are segments of the body" in described, f"described as\n{described}")
capture("export", take, "--format", "csv", "--out", work / "take.csv")
check_times(times_in_table(work / "take.csv"), "the exported table")
capture("export", take, "--format", "json", "--out", work / "take.json")
document = json.loads((work / "take.json").read_text(encoding="utf-8"))
check(document["exact_rate"] == [30000, 1001], f"exported at {document['exact_rate']}")
check((document["unit"], document["up"]) == ("cm", "Y"), "exported in another space")
check_times([pose["time"] for pose in document["poses"]], "the exported document")
check("5.005 s at 29.97 per second" in capture("play", take, "--out", work / "played"), "played otherwise")

session = work / "session"
capture("run", take, "--out", session)
check_times(times_in_table(session / "ada.csv"), "the session's table")
check_times(times_in_motion(session / "ada.bvh"), "the session's motion file")
for picture in ("poses.svg", "motion.svg"):
    check("29.97 per second, 5.005 s" in (session / picture).read_text(encoding="utf-8"),
          f"{picture} tells another length")
root = xml.etree.ElementTree.parse(session / "session.xml").getroot()
check(root.findtext("Rate") == "30000/1001", f"the session's rate is {root.findtext('Rate')}")
check((root.findtext("Unit"), root.findtext("Up")) == ("cm", "Y"), "the session is in another space")
