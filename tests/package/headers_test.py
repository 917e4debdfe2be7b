# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Every public header has a test file of its name, and compiles on its own without a warning.

usage: headers_test.py SOURCE_DIR COMPILER
"""

import pathlib
import re
import subprocess
import sys
import tempfile

root, compiler = pathlib.Path(sys.argv[1]), sys.argv[2]
include_dirs = [root / "include", root / "kit" / "include"]
headers = [(directory, header.relative_to(directory))
           for directory in include_dirs for header in sorted(directory.rglob("*.h"))]
failures = []

# Each library has an umbrella header of its own name's directory, which includes all of its headers.
umbrellas = {"tarn": "tarn/tarn.h", "tarn_kit": "tarn_kit/tarn_kit.h"}

tests = {path.name.split("_test.")[0] for path in (root / "tests").rglob("*_test.*")}
failures += [f"{header}: no test file {header.stem}_test"
             for _, header in headers
             if header.stem not in tests and header.as_posix() not in umbrellas.values()]

for directory, header in headers:
    umbrella = umbrellas.get(header.parts[0])
    if umbrella is None or header.as_posix() == umbrella or header.stem == "Export":
        continue
    if f"#include <{header.as_posix()}>" not in (directory / umbrella).read_text(encoding="utf-8"):
        failures.append(f"{header}: not in the umbrella header")

for directory, header in headers:
    text = (directory / header).read_text(encoding="utf-8")
    if re.search(r'#include\s*[<"](boost|Eigen)/', text):
        failures.append(f"{header}: shows a library that must stay inside")

with tempfile.TemporaryDirectory() as work:
    source = pathlib.Path(work) / "alone.cpp"
    for _, header in headers:
        # Included twice: its guard holds.
        source.write_text(f"#include <{header.as_posix()}>\n" * 2, encoding="utf-8")
        run = subprocess.run(
            [compiler, "-std=c++17", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Werror",
             *(f"-I{directory}" for directory in include_dirs), str(source)],
            capture_output=True, text=True, check=False)
        if run.returncode != 0:
            failures.append(f"{header}: does not compile on its own\n{run.stderr}")

print(f"{len(headers)} public headers checked")
sys.exit("\n".join(failures) or 0)
