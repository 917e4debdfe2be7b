# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""The layout of the sources holds: includes point one way, rooms stay small and mirror each other, and
every file says under which licence it is.

usage: layout_test.py SOURCE_DIR
"""

import collections
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1]).resolve()
failures = []


def fail(path, words):
    failures.append(f"{path.relative_to(root)}: {words}")


def files_below(folder, *suffixes):
    return sorted(path for path in (root / folder).rglob("*") if path.is_file() and path.suffix in suffixes)


def includes(path):
    text = path.read_text(encoding="utf-8")
    return re.findall(r'^#include\s*[<"]([^>"]+)[>"]', text, re.MULTILINE)


# --- Licence: the first two lines of every source, script and CMake file, behind a script's "#!" ---------

LICENCE = ["SPDX-FileCopyrightText: the tarn_sdk authors", "SPDX-License-Identifier: Apache-2.0"]
TOP = ["apps", "benchmarks", "cmake", "draw", "examples", "include", "kit", "link", "scripts", "src", "store",
       "tests", "view", ".ci"]


def sources():
    yield root / "CMakeLists.txt"
    for folder in TOP:
        for path in sorted((root / folder).rglob("*")):
            is_script = path.parent in (root / "scripts", root / ".ci")
            if path.is_file() and "__pycache__" not in path.parts and (
                    is_script or path.name == "CMakeLists.txt" or path.suffix in (".h", ".cpp", ".cmake", ".py", ".sh")):
                yield path


licensed = 0
for source in sources():
    head = source.read_text(encoding="utf-8").splitlines()[:3]
    if head and head[0].startswith("#!"):
        head = head[1:]
    if [line.lstrip("/# ") for line in head[:2]] != LICENCE:
        fail(source, "does not begin with the two lines that name authors and licence")
    licensed += 1


# --- Arrows between libraries: apps -> view, link, store, draw -> kit -> sdk -----------------------------

Library = collections.namedtuple("Library", "public private uses")  # folders, and the libraries below it
LIBRARIES = {
    "tsignal": Library("include/tsignal", None, set()),
    "tarn": Library("include/tarn", "src", {"tsignal"}),
    "tarn_kit": Library("kit/include/tarn_kit", "kit/src", {"tarn", "tsignal"}),
}
# Each stands for a third party's library of its own, so that they know nothing of each other.
for name in ("draw", "store", "link", "view"):
    LIBRARIES[f"tarn_{name}"] = Library(f"{name}/include/tarn_{name}", f"{name}/src", {"tarn_kit", "tarn", "tsignal"})
for application in sorted(path.name for path in (root / "apps").iterdir() if path.is_dir()):
    LIBRARIES[application] = Library(None, f"apps/{application}", set(LIBRARIES) - {application})


def check_arrows(name):
    library = LIBRARIES[name]
    folders = [folder for folder in (library.public, library.private) if folder]
    for path in [path for folder in folders for path in files_below(folder, ".h", ".cpp")]:
        for include in includes(path):
            first = include.split("/")[0]
            if first in LIBRARIES and LIBRARIES[first].public:
                if first != name and first not in library.uses:
                    fail(path, f"{name} must not include {include}")
            elif library.private and (root / library.private / include).exists() or (path.parent / include).exists():
                if library.public and root / library.public in path.parents:
                    fail(path, f"a public header must not show {include}")
            else:
                for other in LIBRARIES.values():
                    if other.private and (root / other.private / include).exists():
                        fail(path, f"{name} stands on public headers only, not on {other.private}/{include}")


for name in LIBRARIES:
    check_arrows(name)


# --- Arrows between the subsystems of the model ----------------------------------------------------------

# What each subsystem may include, besides itself.
ALLOWED = {
    "core": set(),
    "data": {"core"},
    "body": {"core"},
    "settings": {"core"},
    "scene": {"core", "data", "settings", "device", "processing"},
    "device": {"core", "processing"},  # a communication interface is a stream node
    "processing": {"core", "data", "settings", "device", "body"},
}
subsystems = {path.name for path in (root / "src").iterdir() if path.is_dir()}
failures += [f"src/{name}: unknown subsystem, say what it builds on" for name in subsystems - set(ALLOWED)]

# A public header belongs to the subsystem that has the source file, or else the test, of its name.
owner = {}
for kind, suffix in (("tests", "_test.cpp"), ("src", ".cpp")):
    for name in ALLOWED:
        for path in (root / kind / name).glob("*" + suffix):
            owner[path.name[:-len(suffix)]] = name


def check_subsystem(path, subsystem):
    for include in includes(path):
        first = include.split("/")[0]
        target = owner.get(pathlib.Path(include).stem) if first == "tarn" else first
        if target in ALLOWED and target != subsystem and target not in ALLOWED[subsystem]:
            fail(path, f"{subsystem} must not include {include}")


for name in ALLOWED:
    for path in files_below(f"src/{name}", ".h", ".cpp"):
        check_subsystem(path, name)
for path in files_below("include/tarn", ".h"):
    if path.stem in owner:
        check_subsystem(path, owner[path.stem])


# --- Rooms: a folder holds so few names that a newcomer takes them in at a glance ------------------------

ROOM = 15
TEST_ROOM = 25  # a test room mirrors a room, and a class may have several test files
# Larger rooms, with the number that they may hold and the reason.
LARGER_ROOMS = {
    "include/tarn": (40, "the model's one flat room, whose names hosts include"),
    "apps/tarn-capture/commands": (20, "a file per command, found by the command's name"),
    # To become smaller: a room that needs its entry no more has to lose it.
}


def stems(folder):
    """A header and the source of its name count once."""
    return {path.stem for path in folder.iterdir() if path.suffix in (".h", ".cpp")}


rooms = {path.parent for folder in TOP for path in files_below(folder, ".h", ".cpp")}
for room in sorted(rooms):
    name = room.relative_to(root).as_posix()
    usual = TEST_ROOM if name.startswith("tests/") else ROOM
    most, _ = LARGER_ROOMS.get(name, (usual, ""))
    count = len(stems(room))
    if count > most:
        fail(room, f"holds {count} names, {most} at most: split it by subject")
    if name in LARGER_ROOMS and count <= usual:
        fail(room, f"holds {count} names, as others do: take it off the list of larger rooms")
failures += [f"{name}: on the list of larger rooms, but no room" for name in LARGER_ROOMS
             if root / name not in rooms]


# --- Mirrors: a header, its source and its tests lie in rooms of one name --------------------------------

for name, library in LIBRARIES.items():
    if not name.startswith("tarn_") or not (root / library.public).exists():
        continue
    public, private, tests = root / library.public, root / library.private, root / "tests" / name[len("tarn_"):]
    for header in files_below(library.public, ".h"):
        room = header.parent.relative_to(public)
        if room == pathlib.Path("."):
            if header.stem not in (name, "Export", "Version"):
                fail(header, "belongs into a room")
            continue
        for folder in (private, tests):
            if not (folder / room).is_dir():
                fail(header, f"there is no room {(folder / room).relative_to(root)}")
        for source in private.rglob(f"{header.stem}.cpp"):
            if source.parent != private / room:
                fail(source, f"its header lies in {header.parent.relative_to(root)}")
        for test in tests.rglob(f"{header.stem}_test.cpp"):
            if test.parent != tests / room:
                fail(test, f"its header lies in {header.parent.relative_to(root)}")

print(f"{licensed} files, {len(rooms)} rooms, {len(owner)} names in {len(ALLOWED)} subsystems checked")
sys.exit("\n".join(failures) or 0)
