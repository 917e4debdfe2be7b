# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Pages that tarn-capture writes do in a real browser what they are for.

usage: ViewPage_test.py TARN_CAPTURE DATA_DIR NODE_DIR [BROWSER...]

Looks with the first of the browsers that is installed, "chromium" if none is named. Ends with 77, for a test that was
skipped, where Node, its packages or all of the browsers are missing.
"""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

program, data, node_dir = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3]).resolve()
names = sys.argv[4:] or ["chromium"]
node, browser = shutil.which("node"), next(filter(None, map(shutil.which, names)), None)
if node is None or browser is None or not (node_dir / "node_modules/puppeteer-core").is_dir():
    print(f"skipped: no node, {' or '.join(names)}, or puppeteer-core (scripts/bootstrap installs them, but for Firefox)")
    sys.exit(77)

METRES = {"cm": 0.01, "m": 1, "mm": 0.001}
TITLE = "</title><script>broken = 1</script> \"quoted\" 'single' \U0001F483 " + "x" * 10_000


def run(*arguments):
    subprocess.run([program, *map(str, arguments)], check=True)


def awkward_take(path):
    """A small body whose joints have names that a page must not take for its own."""
    names = ["</script><script>broken = 1</script>", '"><img src=x onerror=broken=1>', "\U0001F483", "x" * 1000]
    lines = ["HIERARCHY"]
    for depth, name in enumerate(names):
        lines += [f"{'JOINT' if depth else 'ROOT'} {name}", "{", f"OFFSET 0 {40 if depth else 0} 0",
                  "CHANNELS 3 Zrotation Xrotation Yrotation"]
    lines += ["End Site", "{", "OFFSET 0 30 0", "}"] + ["}"] * len(names) + ["MOTION", "Frames: 60", "Frame Time: 0.02"]
    lines += [" ".join(str(frame) for _ in range(3 * len(names))) for frame in range(60)]
    path.write_text("\n".join(lines) + "\n", encoding="utf-8")


with tempfile.TemporaryDirectory() as temporary:
    directory = pathlib.Path(temporary)
    job = {"solid": [], "title": TITLE, "dance": str(directory / "dance.html"), "markers": str(directory / "markers.html"),
           "awkward": str(directory / "awkward.html")}
    takes = sorted(data.glob("*.bvh"))
    if len(takes) < 3:
        sys.exit(f"no takes in {data}: this check would pass on anything")
    for take in takes:
        page, positions = directory / f"{take.stem}.html", directory / f"{take.stem}.json"
        run("view", take, "--out", page)
        run("export", take, "--format", "json", "--out", positions)
        witness = json.loads(positions.read_text(encoding="utf-8"))
        # The page makes a body in an unknown unit as tall as an adult, from its lowest joint to its highest.
        facts = page.read_text(encoding="utf-8")
        stated = json.loads(facts.split('id="facts">')[1].split("</script>")[0])["performers"][0]["metresPerUnit"]
        unit = witness["unit"]
        if unit in METRES:
            assert abs(stated - METRES[unit]) < 1e-12, (unit, stated)
        witness["scale"] = METRES.get(unit, stated)
        positions.write_text(json.dumps(witness), encoding="utf-8")
        job["solid"].append({"page": str(page), "positions": str(positions)})
    run("view", *[take for take in takes if "salsa" in take.name], "--out", job["dance"])
    run("view", data / "cmu_85_02.c3d", "--out", job["markers"])
    awkward_take(directory / "awkward.bvh")
    run("view", directory / "awkward.bvh", "--out", job["awkward"], "--title", TITLE)
    job_file = directory / "job.json"
    job_file.write_text(json.dumps(job), encoding="utf-8")
    script = pathlib.Path(__file__).parent / "view_page.cjs"
    # A home of its own, so that it finds nobody's settings.
    environment = {**os.environ, "HOME": str(directory)}
    sys.exit(subprocess.run([node, str(script), str(node_dir), browser, str(job_file)], env=environment).returncode)
