# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""The preset `install` has the libraries and the application, and nothing that only those need who work on the
project: no tests, no benchmarks, no examples, no ccache.

usage: install_preset_test.py SOURCE_DIR WORK_DIR
"""

import pathlib
import shutil
import subprocess
import sys

source, work = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
shutil.rmtree(work, ignore_errors=True)
subprocess.run(["cmake", "--preset", "install", "-B", work], cwd=source, check=True, stdout=subprocess.DEVNULL)

failures = []
cache = (work / "CMakeCache.txt").read_text(encoding="utf-8")
for wanted in ("GTest_DIR", "benchmark_DIR", "ccache", "Python3"):
    if wanted in cache:
        failures.append(f"the preset looks for {wanted}")

folders = {path.parent.relative_to(work).parts[0] for path in work.rglob("cmake_install.cmake") if path.parent != work}
if folders != {"src", "kit", "draw", "store", "link", "view", "apps"}:
    failures.append(f"the preset builds {sorted(folders)}")

targets = subprocess.run(["cmake", "--build", work, "--target", "help"], check=True, capture_output=True,
                         text=True).stdout
for target in ("tarn_sdk", "tarn_kit", "tarn_draw", "tarn_store", "tarn_link", "tarn_view", "tarn-capture", "install"):
    if target not in targets:
        failures.append(f"the preset has no target {target}")

if failures:
    sys.exit("\n".join(failures))
