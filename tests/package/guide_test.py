# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Every piece of code in the guide stands, in order, in the program that it explains, and every file
that the documents link to is there.

usage: guide_test.py SOURCE_DIR
"""

import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
guide = (root / "docs/guide.md").read_text(encoding="utf-8")
program = (root / "examples/guide_host.cpp").read_text(encoding="utf-8")
printed = (root / "examples/expected/guide_host.txt").read_text(encoding="utf-8")
failures = []


def unindented(text):
    return "\n".join(line.strip() for line in text.strip().splitlines())


blocks = re.findall(r"```cpp\n(.*?)```", guide, re.DOTALL)
failures += [f"not in the program:\n{block}" for block in blocks
             if unindented(block) not in unindented(program)]
if not blocks:
    failures.append("the guide shows no code")
if f"```text\n{printed}```" not in guide:
    failures.append("the guide does not show what the program prints")

for page in [root / "README.md", root / "CONTRIBUTING.md", *(root / "docs").glob("*.md")]:
    prose = re.sub(r"```.*?```", "", page.read_text(encoding="utf-8"), flags=re.DOTALL)
    for link in re.findall(r"\]\(([^)#]+)[^)]*\)", prose):
        if not link.startswith("http") and not (page.parent / link).exists():
            failures.append(f"{page.name}: no such file: {link}")

print(f"{len(blocks)} pieces of code checked")
sys.exit("\n".join(failures) or 0)
