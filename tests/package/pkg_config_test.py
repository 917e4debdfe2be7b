# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""A host built with pkg-config and the bare compiler.

usage: pkg_config_test.py COMPILER PREFIX WORK_DIR
"""

import pathlib
import sys

import installed

compiler, prefix, work = sys.argv[1:]
source = pathlib.Path(__file__).parent / "consumers" / "main.cpp"
modules, defines = ["tarn_kit", "tarn_sdk"], ["WITH_KIT"]
if any(pathlib.Path(prefix).rglob("tarn_draw.pc")):
    modules, defines = ["tarn_draw", *modules], ["WITH_DRAW", *defines]
if any(pathlib.Path(prefix).rglob("tarn_store.pc")):
    modules, defines = ["tarn_store", *modules], ["WITH_STORE", *defines]
if any(pathlib.Path(prefix).rglob("tarn_link.pc")):
    modules, defines = ["tarn_link", *modules], ["WITH_LINK", *defines]
if any(pathlib.Path(prefix).rglob("tarn_view.pc")):
    modules, defines = ["tarn_view", *modules], ["WITH_VIEW", *defines]
output = installed.build_and_run(
    compiler, prefix, source, pathlib.Path(work) / "consumer", modules, defines)
expected = "1 child, frame 60 is 0:0:0 60.0\n"
if output != expected:
    sys.exit(f"expected {expected!r}, got {output!r}")
