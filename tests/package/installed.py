# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Builds and runs programs against an installed prefix, the way a host without CMake does."""

import os
import pathlib
import subprocess


def _pkg_config_dir(prefix):
    return str(next(pathlib.Path(prefix).rglob("tarn_sdk.pc")).parent)


def build_and_run(compiler, prefix, source, program, modules, defines=()):
    """Compiles `source` against pkg-config's `modules`, runs it and returns what it printed."""
    environment = {**os.environ, "PKG_CONFIG_PATH": _pkg_config_dir(prefix)}
    flags = subprocess.run(
        ["pkg-config", "--cflags", "--libs", *modules],
        env=environment, check=True, capture_output=True, text=True).stdout.split()
    pathlib.Path(program).parent.mkdir(parents=True, exist_ok=True)
    subprocess.run(
        [compiler, "-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Werror",
         *(f"-D{define}" for define in defines), str(source), "-o", str(program), *flags],
        check=True)
    libdir = subprocess.run(
        ["pkg-config", "--variable=libdir", modules[0]],
        env=environment, check=True, capture_output=True, text=True).stdout.strip()
    return subprocess.run(
        [str(program)], env={**environment, "LD_LIBRARY_PATH": libdir},
        check=True, capture_output=True, text=True).stdout
