# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Checks that docs/threads.md says for every class of the library and of the kit what its threads may do,
and that the test suites which it names, one for each line at least, exist.

usage: threads_test.py PROJECT_DIR
"""

import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
page = (root / "docs/threads.md").read_text(encoding="utf-8")
rows = [row.split("|")[1:-1] for row in page.splitlines() if row.startswith("|")]
named = {name for row in rows for name in re.findall(r"`([\w:]+)`", row[0])}
suites = {suite for row in rows for suite in re.findall(r"`(\w+)`", row[-1])}

problems = [f"docs/threads.md shows nothing for{row[0]}" for row in rows
            if re.search(r"`\w", row[0]) and not re.search(r"`\w", row[-1])]
headers = [*(root / "include/tarn").glob("*.h"), *(root / "kit/include/tarn_kit").rglob("*.h"),
           *(root / "store/include/tarn_store").rglob("*.h"),
           *(root / "link/include/tarn_link").rglob("*.h"), *(root / "view/include/tarn_view").rglob("*.h")]
exported = re.compile(r"^(?:class|struct) TARN_(?:KIT_|STORE_|LINK_|VIEW_)?EXPORT (\w+)", re.MULTILINE)
for header in sorted(headers):
    for name in exported.findall(header.read_text(encoding="utf-8")):
        if name not in named:
            problems.append(f"docs/threads.md has no line for {name}")
tests = "".join(path.read_text(encoding="utf-8") for path in (root / "tests").rglob("*_test.cpp"))
for suite in sorted(suites):
    if not re.search(rf"\bTEST(_F|_P)?\({suite},", tests):
        problems.append(f"docs/threads.md names {suite}, which no test is in")
if problems:
    sys.exit("\n".join(problems))
