# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Builds and runs programs against an installed prefix, the way a host without CMake does."""

import os
import pathlib
import subprocess


def _pkg_config_dir(prefix):
    return str(next(pathlib.Path(prefix).rglob("tarn_sdk.pc")).parent)


def environment(prefix):
    """In which installed programs find their libraries."""
    directory = pathlib.Path(_pkg_config_dir(prefix))
    return {**os.environ, "PKG_CONFIG_PATH": str(directory), "LD_LIBRARY_PATH": str(directory.parent)}


def build_and_run(compiler, prefix, source, program, modules, defines=(), arguments=()):
    """Compiles `source` against pkg-config's `modules`, runs it and returns what it printed."""
    variables = environment(prefix)
    flags = subprocess.run(
        ["pkg-config", "--cflags", "--libs", *modules],
        env=variables, check=True, capture_output=True, text=True).stdout.split()
    pathlib.Path(program).parent.mkdir(parents=True, exist_ok=True)
    subprocess.run(
        [compiler, "-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Werror",
         *(f"-D{define}" for define in defines), str(source), "-o", str(program), *flags],
        check=True)
    return subprocess.run(
        [str(program), *map(str, arguments)], env=variables, check=True, capture_output=True, text=True).stdout
