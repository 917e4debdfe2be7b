# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""The bundle of the page that is kept with the sources is what they make.

usage: page_bundle_test.py PROJECT_DIR

Ends with 77, for a test that was skipped, where Node or the bundler is missing.
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile

root = pathlib.Path(sys.argv[1])
if shutil.which("node") is None or not (root / "build/node/node_modules/esbuild").is_dir():
    print("skipped: no node, or no esbuild (scripts/bootstrap installs both)")
    sys.exit(77)
with tempfile.TemporaryDirectory() as temporary:
    subprocess.run([root / "scripts/page", temporary], check=True)
    for name in ("viewer.js", "LICENCES.txt"):
        if (root / "view/page/dist" / name).read_bytes() != (pathlib.Path(temporary) / name).read_bytes():
            sys.exit(f"view/page/dist/{name} is not what view/page/src makes: run scripts/page")
print("the bundle is what its sources make")
