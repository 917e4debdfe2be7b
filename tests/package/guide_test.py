# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Every piece of code in the guide and its companions stands in the program that it explains,
and every file that the documents link to is there.

usage: guide_test.py SOURCE_DIR
"""

import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
failures = []
checked = 0


def unindented(text):
    return "\n".join(line.strip() for line in text.strip().splitlines())


for name, example in (("first_day.md", "first_day"), ("guide.md", "guide_host"), ("helpers.md", "helpers"),
                      ("c3d.md", "read_c3d"), ("solving.md", "solve_markers")):
    page = (root / "docs" / name).read_text(encoding="utf-8")
    program = (root / f"examples/{example}.cpp").read_text(encoding="utf-8")
    printed = (root / f"examples/expected/{example}.txt").read_text(encoding="utf-8")
    blocks = re.findall(r"```cpp\n(.*?)```", page, re.DOTALL)
    failures += [f"{name}: not in the program:\n{block}" for block in blocks
                 if unindented(block) not in unindented(program)]
    if not blocks:
        failures.append(f"{name} shows no code")
    if f"```text\n{printed}```" not in page:
        failures.append(f"{name} does not show what the program prints")
    checked += len(blocks)

for page in [root / "README.md", root / "CONTRIBUTING.md", *(root / "docs").glob("*.md")]:
    prose = re.sub(r"```.*?```", "", page.read_text(encoding="utf-8"), flags=re.DOTALL)
    for link in re.findall(r"\]\(([^)#]+)[^)]*\)", prose):
        if not link.startswith("http") and not (page.parent / link).exists():
            failures.append(f"{page.name}: no such file: {link}")

print(f"{checked} pieces of code checked")
sys.exit("\n".join(failures) or 0)
