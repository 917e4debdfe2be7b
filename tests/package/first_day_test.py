# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Somebody's first day with an installed copy: the commands of docs/first_day.md are run, as they stand there, in
an empty folder that holds the page's CMakeLists.txt and its program. Then the program is run for 29.97 frames per
second, and all that is said of its take agrees, to the microsecond, on when its frames are.

usage: first_day_test.py PREFIX SOURCE_DIR WORK_DIR
"""

import csv
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree

import installed

prefix, source, work = map(pathlib.Path, sys.argv[1:])
shutil.rmtree(work, ignore_errors=True)
work.mkdir(parents=True)

FRAMES = 150


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


# The page, from an empty folder to the last command. "$HOME/tarn" is the installed copy.
page = (source / "docs" / "first_day.md").read_text(encoding="utf-8")
empty = work / "empty"
empty.mkdir()
shutil.copy(source / "examples" / "first_day.cpp", empty / "host.cpp")
(empty / "CMakeLists.txt").write_text(re.search(r"```cmake\n(.*?)```", page, re.DOTALL)[1], encoding="utf-8")
(work / "tarn").symlink_to(prefix)
variables = {**os.environ, "HOME": str(work), "CXXFLAGS": "-Wall -Wextra -Wpedantic -Werror",
             "PATH": f"{prefix / 'bin'}{os.pathsep}{os.environ['PATH']}"}
printed = ""
for commands in re.findall(r"```sh\n(.*?)```", page, re.DOTALL):
    result = subprocess.run(["bash", "-euc", commands], cwd=empty, env=variables, capture_output=True, text=True,
                            check=False)
    check(result.returncode == 0, f"{commands}{result.stdout}{result.stderr}")
    printed += result.stdout
check(re.search(r"```text\n(.*?)```", page, re.DOTALL)[1] in printed, f"the page shows other words than\n{printed}")
for file in ("ada.xml", "ada.bvh", "ada.svg", "motion.svg", "force.svg", "ada.csv", "pictures/poses.png",
             "session/session.xml"):
    check((empty / "out" / file).stat().st_size > 0, f"{file} is empty")

# The same at 29.97 frames per second.
printed = subprocess.run([str(empty / "build" / "host"), str(work), "29.97"], env=variables, check=True,
                         capture_output=True, text=True).stdout
check("150 of 150 frames at 30000/1001" in printed and "frame 130 is at 4337667 us: 1133.77 N" in printed,
      f"the host prints\n{printed}")
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
