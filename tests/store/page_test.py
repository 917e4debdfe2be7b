# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""What docs/take-files.md shows in Python reads a take file.

usage: page_test.py PAGE FILE EXPECTED
"""

import pathlib
import re
import subprocess
import sys

page, file, expected = sys.argv[1:]
program = re.search(r"```python\n(.*?)```", pathlib.Path(page).read_text(encoding="utf-8"), re.DOTALL)[1]
output = subprocess.run([sys.executable, "-c", program, file], check=True, capture_output=True, text=True).stdout
if output.strip() != expected:
    sys.exit(f"expected {expected!r}, got {output!r}")
