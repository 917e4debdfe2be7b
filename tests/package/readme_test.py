# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Builds and runs the host application that the README shows, from the README's own text.

The first ```cpp block is the program, the first ```text block after it is what it prints.

usage: readme_test.py COMPILER PREFIX WORK_DIR README
"""

import pathlib
import re
import sys

import installed

compiler, prefix, work, readme = sys.argv[1:]
text = pathlib.Path(readme).read_text(encoding="utf-8")
match = re.search(r"```cpp\n(.*?)```.*?```text\n(.*?)```", text, re.DOTALL)
if not match:
    sys.exit("the README shows no program with its output")
program, expected = match.groups()

lines = [line for line in program.splitlines() if line.strip()]
if len(lines) > 25:
    sys.exit(f"the README promises a host in 25 lines; it has {len(lines)}")

source = pathlib.Path(work) / "host.cpp"
source.parent.mkdir(parents=True, exist_ok=True)
source.write_text(program, encoding="utf-8")
output = installed.build_and_run(compiler, prefix, source, source.with_suffix(""), ["tarn_sdk"])
if output != expected:
    sys.exit(f"the README says it prints\n{expected}\nbut it prints\n{output}")
