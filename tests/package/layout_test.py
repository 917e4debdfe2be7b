# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Includes point one way: apps -> kit -> library, and inside the library down the subsystems.

usage: layout_test.py SOURCE_DIR
"""

import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])

# What each subsystem of the library may include, besides itself.
ALLOWED = {
    "core": set(),
    "data": {"core"},
    "body": {"core"},
    "settings": {"core"},
    "scene": {"core", "data", "settings", "device", "processing"},
    "device": {"core", "processing"},  # a communication interface is a stream node
    "processing": {"core", "data", "settings", "device", "body"},
}

failures = []
subsystems = {path.name for path in (root / "src").iterdir() if path.is_dir()}
failures += [f"src/{name}: unknown subsystem, say what it builds on" for name in subsystems - set(ALLOWED)]

# A public header belongs to the subsystem that has the source file, or else the test, of its name.
owner = {}
for kind, suffix in (("tests", "_test.cpp"), ("src", ".cpp")):
    for name in ALLOWED:
        for path in (root / kind / name).glob("*" + suffix):
            owner[path.name[:-len(suffix)]] = name


def includes(path):
    text = path.read_text(encoding="utf-8")
    return re.findall(r'^#include\s*[<"]([^>"]+)[>"]', text, re.MULTILINE)


def check(path, subsystem):
    for include in includes(path):
        parts = include.split("/")
        if parts[0] == "tarn":
            target = owner.get(pathlib.Path(include).stem)
        elif parts[0] in ALLOWED:
            target = parts[0]
        elif parts[0] in ("tarn_kit", "kit"):
            target = "kit"
        else:
            continue
        if target is not None and target != subsystem and target not in ALLOWED[subsystem]:
            failures.append(f"{path.relative_to(root)}: {subsystem} must not include {include}")


for name in ALLOWED:
    for path in (root / "src" / name).glob("*"):
        check(path, name)
for path in (root / "include/tarn").glob("*.h"):
    if path.stem in owner:
        check(path, owner[path.stem])

for path in (root / "kit").rglob("*"):
    if path.suffix in (".h", ".cpp"):
        for include in includes(path):
            # Rooms of the kit and of the library may have one name: it has to be the kit's.
            if include.split("/")[0] in ALLOWED and not (root / "kit/src" / include).exists():
                failures.append(f"{path.relative_to(root)}: the kit stands on public headers only, "
                                f"not on {include}")

print(f"{len(owner)} names in {len(ALLOWED)} subsystems checked")
sys.exit("\n".join(failures) or 0)
