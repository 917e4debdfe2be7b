# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Real C3D files mean the same to the kit and to a second reader, also after the kit has written them.

usage: C3dSamples_test.py C3D_TOOL DATA_DIR
"""

import filecmp
import pathlib
import subprocess
import sys
import tempfile

import c3d_reader

tool, data = sys.argv[1], pathlib.Path(sys.argv[2])
ENCODINGS = ["Intel real", "Intel integer", "DEC real", "DEC integer", "MIPS real", "MIPS integer"]
checks = 0


def check(condition, what):
    global checks
    checks += 1
    if not condition:
        sys.exit(f"{what}")


def run(*arguments):
    return subprocess.run([tool, *map(str, arguments)], check=True, capture_output=True, text=True).stdout


def compare_reading(path):
    """What the kit dumps of a file is what the second reader finds."""
    take = c3d_reader.C3d(path)
    lines = iter(run("dump", path).splitlines())
    check(float.fromhex(next(lines).split()[1]) == take.rate, f"{path}: rate")
    check(int(next(lines).split()[1]) == take.first_frame, f"{path}: first frame")
    check(next(lines).split()[1] == take.unit, f"{path}: unit")
    check(int(next(lines).split()[1]) == len(take.points), f"{path}: frames")
    for label in take.labels:
        check(next(lines) == f"marker {label}", f"{path}: label {label}")
    for number, frame in enumerate(take.points):
        for label, point in zip(take.labels, frame):
            line = next(lines)
            place = f"{path}: {label} in frame {number}: {line}, expected {point}"
            if point is None:
                check(line == "-", place)
            else:
                *numbers, cameras = line.split()
                check([float.fromhex(one) for one in numbers] == list(point[:4]), place)
                check(int(cameras) == point[4], place)
    check(next(lines, None) is None, f"{path}: more than expected")
    return take


def compare_takes(path, ours, original, tolerance):
    """A file in another encoding says the same to the second reader, within a step of integers."""
    check(ours.labels == original.labels, f"{path}: labels")
    check(ours.rate == original.rate, f"{path}: rate")
    check(ours.first_frame == original.first_frame, f"{path}: first frame")
    check(len(ours.points) == len(original.points), f"{path}: frames")
    for key, value in original.parameters.items():
        if key not in [("POINT", "SCALE"), ("POINT", "DATA_START")]:
            check(ours.parameters.get(key) == value, f"{path}: {key} is {ours.parameters.get(key)}")
    for number, (frame, expected) in enumerate(zip(ours.points, original.points)):
        for point, other in zip(frame, expected):
            place = f"{path}: frame {number}: {point}, expected {other}"
            check((point is None) == (other is None), place)
            if point is not None:
                check(all(abs(a - b) <= tolerance for a, b in zip(point[:3], other[:3])), place)
                check(point[4] == other[4], place)
                check(tolerance > 0 or point[3] == other[3], place)


with tempfile.TemporaryDirectory() as directory:
    out = pathlib.Path(directory) / "out.c3d"
    for name in ["cmu_01_01_jumps.c3d", "cmu_85_02.c3d"]:
        original = compare_reading(data / name)
        run("write", data / name, out)
        check(filecmp.cmp(data / name, out, shallow=False), f"{name}: not written as it was read")
    for encoding, title in enumerate(ENCODINGS):
        run("write", data / name, out, encoding)
        converted = compare_reading(out)
        check(converted.processor == 84 + encoding // 2, f"{name} as {title}: processor")
        check((converted.scale < 0) == (encoding % 2 == 0), f"{name} as {title}: scale")
        steps = 0 if encoding % 2 == 0 else converted.scale * 0.5 + 2e-4  # and the rounding to single precision
        compare_takes(f"{name} as {title}", converted, original, steps)

print(f"{checks} checks")
