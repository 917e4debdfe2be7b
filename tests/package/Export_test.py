# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""A library exports its public classes and functions, and nothing else; and of payloads, which hosts and
plug-ins hand each other in a `std::any`, the type information.

usage: Export_test.py LIBRARY HEADER_DIR [HEADER_DIR_BELOW...]

Who uses a payload record of a library below has its type information, too: the linker takes one of them.
"""

import pathlib
import re
import subprocess
import sys

library, header_dir, *below = sys.argv[1:]
headers = "\n".join(path.read_text(encoding="utf-8")
                    for path in pathlib.Path(header_dir).rglob("*.h") if path.stem != "Export")
export = r"TARN(?:_KIT|_DRAW|_STORE|_LINK|_VIEW)?_EXPORT"
classes = set(re.findall(rf"class {export} (\w+)", headers))
payloads = set(re.findall(rf"struct {export} (\w+)", headers))  # plain records that frames and replies carry
# What frames and replies of the kit carry, whatever its headers say: two libraries must agree on these types.
carried = {"libtarn_kit": {"Pose", "BodyPose", "MarkerFrame", "AnalogFrame", "RigidBodyFrame", "MarkerFit", "BvhTake",
                           "ReplayStatus", "EncodedPayload"}}
# Records that nobody carries: they are read and written, or say how something is set up.
others = {"MarkerBody", "MarkerSet", "TrackDescription", "RecorderOptions", "ThreadWork"}
required = payloads - others | carried.get(pathlib.Path(library).name.split(".")[0], set())
from_below = set()
for directory in below:
    from_below |= {name for path in pathlib.Path(directory).rglob("*.h")
                   for name in re.findall(rf"(?:struct|class) {export} (\w+)", path.read_text(encoding="utf-8"))}
functions = set(re.findall(rf"^{export} [^;{{(]*?(operator[^\s(]+|\w+)\(", headers, re.MULTILINE))
if not classes and not functions:
    sys.exit("the headers export nothing: this check would pass on anything")

named = "|".join(sorted(classes | payloads | from_below))
called = "|".join(re.escape(name) for name in sorted(functions))
scope = r"tarn::(?:kit::|draw::|store::|link::|view::)?"
public = [
    re.compile(rf"{scope}(?:{named})::~?\w+(?:\[abi:\w+\])?\(.*\)(?: const)?(?: &)?"),
    re.compile(rf"{scope}(?:{named})::operator ?\S+\(.*\)(?: const)?"),
    re.compile(rf"(?:vtable|typeinfo|typeinfo name) for {scope}(?:{named})\*?"),
    re.compile(rf"{scope}(?:{called})(?:\[abi:\w+\])?\(.*\)") if called else re.compile(r"(?!)"),
]


def is_public(name):
    return "PrivateData" not in name and any(pattern.fullmatch(name) for pattern in public)


def is_weak_standard(kind, name):
    """Instances of the standard library's templates, which it makes visible by itself."""
    name = name.replace("decltype(nullptr)", "nullptr_t")  # as Clang spells it
    name = re.sub(r"^decltype \(.*?\)+ (?=std::)", "", name)
    return kind in "WVu" and re.search(r"(?:^|[\s*&])(?:std|__gnu_cxx)::", name.split("(")[0])


def symbols():
    lines = subprocess.run(["nm", "--dynamic", "--defined-only", "--demangle", library],
                           check=True, capture_output=True, text=True).stdout.splitlines()
    for line in lines:
        _, kind, name = line.split(" ", 2)
        yield kind, name


found = list(symbols())
if not any(is_public(name) for _, name in found):
    sys.exit(f"no public symbol found in {library}")
names = {name for _, name in found}
own = f"tarn::{pathlib.Path(library).name.split('.')[0].rsplit('_', 1)[-1]}::"
missing = sorted(symbol for payload in required
                 for symbol in (f"typeinfo for {own}{payload}", f"typeinfo name for {own}{payload}")
                 if symbol not in names)
print("\n".join(f"payload {payload}" for payload in sorted(required)))
if missing:
    sys.exit("not exported, so that std::any_cast may fail across libraries:\n" + "\n".join(missing))
foreign = [f"{kind} {name}" for kind, name in found
           if not is_public(name) and not is_weak_standard(kind, name)]
print(f"{len(found)} symbols checked against {len(classes)} classes and {len(functions)} functions")
sys.exit("exported, but not public:\n" + "\n".join(foreign) if foreign else 0)
