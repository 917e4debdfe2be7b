# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""What tarn-capture writes as glTF has no fault that the format's own validator finds.

usage: GltfValidator_test.py TARN_CAPTURE DATA_DIR NODE_DIR

Ends with 77, for a test that was skipped, where Node or the validator is missing.
"""

import json
import math
import pathlib
import shutil
import subprocess
import sys
import tempfile

program, data, node_dir = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3]).resolve()
node = shutil.which("node")
if node is None or not (node_dir / "node_modules/gltf-validator").is_dir():
    print("skipped: no node, or no gltf-validator (scripts/bootstrap installs both)")
    sys.exit(77)

VALIDATE = """
const validator = require(process.argv[1] + '/node_modules/gltf-validator');
const fs = require('fs');
validator.validateBytes(new Uint8Array(fs.readFileSync(process.argv[2])))
    .then(report => console.log(JSON.stringify(report)));
"""


def judge(takes, name, *flags):
    """Converts takes; the validator's report on what came out."""
    out = directory / name
    subprocess.run([program, "convert", *map(str, takes), str(out), *flags], check=True, stderr=subprocess.DEVNULL)
    run = subprocess.run([node, "-e", VALIDATE, str(node_dir), str(out)], check=True, capture_output=True, text=True)
    report = json.loads(run.stdout)
    issues = report["issues"]
    if issues["numErrors"] or issues["numWarnings"]:
        sys.exit(f"{name}: " + json.dumps(issues["messages"][:5], indent=1))
    return report


def rig_with_awkward_names(frames):
    """A chain of joints whose names are what the reader lets through, with a body per frame."""
    names = ["Hips", "Hips", "Hips_2", "</script>", 'a"quote\\', "\U0001F483 dancer", "x" * 1000, "été", "Mixamo:Hips"]
    lines = ["HIERARCHY"]
    for depth, name in enumerate(names):
        lines += [f"{'JOINT' if depth else 'ROOT'} {name}", "{", f"OFFSET 0 {20 if depth else 0} 0"]
        lines.append("CHANNELS 3 Zrotation Xrotation Yrotation" if depth else
                     "CHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation Yrotation")
    lines += ["End Site", "{", "OFFSET 0 10 0", "}"] + ["}"] * len(names)
    lines += ["MOTION", f"Frames: {frames}", "Frame Time: 0.00833333"]
    for frame in range(frames):
        turns = [f"{170 * math.sin(frame / 50 + joint):.3f}" for joint in range(3 * len(names))]
        lines.append(" ".join([f"{frame / 10:.2f}", "90", "0", *turns]))
    return "\n".join(lines) + "\n"


with tempfile.TemporaryDirectory() as temporary:
    directory = pathlib.Path(temporary)
    takes = sorted(data.glob("*.bvh"))
    if len(takes) < 3:
        sys.exit(f"no takes in {data}: this check would pass on anything")
    for take in takes:
        for ending in ("glb", "gltf"):
            report = judge([take], f"{take.stem}.{ending}")
            assert report["info"]["hasSkins"] and report["info"]["animationCount"] == 1, report["info"]
        judge([take], f"{take.stem}-bare.glb", "--no-mesh")
        judge([take], f"{take.stem}-short.glb", "--tolerance", "2")
    judge(takes, "all.glb")
    for frames in (0, 1, 20_000):
        awkward = directory / f"awkward-{frames}.bvh"
        awkward.write_text(rig_with_awkward_names(frames), encoding="utf-8")
        judge([awkward], f"awkward-{frames}.glb")
    # A validator that finds no fault in a broken file would be no judge.
    broken = directory / "broken.gltf"
    broken.write_text('{"asset": {"version": "2.0"}, "nodes": [{"mesh": 7}]}', encoding="utf-8")
    run = subprocess.run([node, "-e", VALIDATE, str(node_dir), str(broken)], check=True, capture_output=True, text=True)
    assert json.loads(run.stdout)["issues"]["numErrors"] > 0
print("no errors and no warnings")
