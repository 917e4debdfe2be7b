# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""Every public header has a test file of its name, stands in its library's umbrella header, shows no third
party's headers, and compiles without a warning: on its own under the first of the compilers, beside all others under
each of them. Classes of the model have no private functions.

usage: headers_test.py SOURCE_DIR WORK_DIR LAUNCHER COMPILER...
"""

import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys

root, work, launcher = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3]
compilers = [compiler for compiler in sys.argv[4:] if not compiler.endswith("-NOTFOUND")]
folders = [folder for folder in (root / name / "include" for name in (".", "kit", "draw", "store", "link", "view"))
           if folder.is_dir()]
headers = [(folder, header.relative_to(folder)) for folder in folders for header in sorted(folder.rglob("*.h"))]
failures = []
if not compilers:
    sys.exit("no compiler to check with")

# A library's umbrella header has the name of the library's folder, and includes all of its headers. That of
# the signals is the signals.
libraries = {header.parts[0] for _, header in headers} - {"tsignal"}
umbrellas = {name: pathlib.Path(name, f"{name}.h") for name in libraries}

tests = {path.name.split("_test.")[0] for path in (root / "tests").rglob("*_test.*")}
for folder, header in headers:
    text = (folder / header).read_text(encoding="utf-8")
    is_detail = "detail" in header.parts
    umbrella = umbrellas.get(header.parts[0])
    if header != umbrella and not is_detail:
        if header.stem not in tests:
            failures.append(f"{header}: no test file {header.stem}_test")
        if umbrella and header.stem != "Export" and (
                f"#include <{header.as_posix()}>" not in (folder / umbrella).read_text(encoding="utf-8")):
            failures.append(f"{header}: not in the umbrella header {umbrella}")
    for include in re.findall(r'#include\s*[<"]([^>"]+)[>"]', text):
        is_standard = "/" not in include and "." not in include
        if not is_standard and include.split("/")[0] not in libraries | {"tsignal"}:
            failures.append(f"{header}: shows <{include}>, which must stay inside")

# A private function of a class that others derive from hides what they mean by its name, and does not compile there.
for header in sorted((root / "include/tarn").glob("*.h")):
    for private in re.findall(r"^private:\n(.*?)^(?:public:|protected:|};)", header.read_text(encoding="utf-8"),
                              re.MULTILINE | re.DOTALL):
        for name in re.findall(r"\b(\w+)\([^;{]*\)[\w\s]*[;{]", re.sub(r"//.*", "", private)):
            failures.append(f"{header.relative_to(root)}: {name} is a private function of an exported class")


def source_of(header):
    """A source that includes the header twice: its guard holds, too."""
    source = work / (re.sub(r"\W", "_", header.as_posix()) + ".cpp")
    source.write_text(f"#include <{header.as_posix()}>\n" * 2, encoding="utf-8")
    return source


def source_of_all():
    """What one compiler finds included it finds included under all of them: these look for their own warnings."""
    source = work / "all_headers.cpp"
    source.write_text("".join(f"#include <{header.as_posix()}>\n" for _, header in headers), encoding="utf-8")
    return source


def compile_source(compiler, source):
    run = subprocess.run(
        [*([launcher] if launcher else []), compiler, "-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Werror",
         *(f"-I{folder}" for folder in folders), "-c", str(source), "-o",
         f"{source.stem}_{pathlib.Path(compiler).name}.o"],
        cwd=work, capture_output=True, text=True, check=False)
    return f"{source.name}: {compiler} does not take it\n{run.stderr}" if run.returncode else None


work.mkdir(parents=True, exist_ok=True)
alone = [source_of(header) for _, header in headers]
with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    jobs = [pool.submit(compile_source, compilers[0], source) for source in alone]
    jobs += [pool.submit(compile_source, compiler, source_of_all()) for compiler in compilers[1:]]
    failures += [words for words in (job.result() for job in jobs) if words]

print(f"{len(headers)} public headers checked under {', '.join(compilers)}")
sys.exit("\n".join(failures) or 0)
