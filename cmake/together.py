#!/usr/bin/env python3
# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0
"""Says which sources of a target can be compiled as one, for TarnTogether.cmake.

Most of what a source costs is what it includes, so that a few in one translation unit cost little more than
each. Yet each is written to be compiled alone: what its unnamed namespace calls `frames` may be something else
in the next. So two come together only where neither says a name that the other has in its unnamed namespace,
and where neither the names nor the `using namespace` of the first reach a header that the second brings in.
Nor do sources come together that are looked at by different rules, as tests are and what they test.

usage: together.py ROOT LIST   each line of LIST is a target and its sources, separated by semicolons;
                               prints CMake commands that set UNITY_GROUP
"""

import functools
import pathlib
import re
import sys

MOST = 12  # more in one save little, and cost more when one of them changes

TOKEN = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"(?P<mark>\w*)\(.*?\)(?P=mark)"|"(?:\\.|[^"\\\n])*"|' + r"'(?:\\.|[^'\\\n])+'"
    r'|^[ \t]*#(?:\\\n|[^\n])*|\d[\w.' + r"']*|[A-Za-z_]\w*|::|\S", re.S | re.M)
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*[<"]([^>"]+)[>"]', re.M)
DIRECTIVE = re.compile(r"^using namespace ([\w:]+);", re.M)
NAME = re.compile(r"[A-Za-z_]\w*$")


def tokens(text):
    """Without comments, literals and what the preprocessor takes."""
    found = (match.group() for match in TOKEN.finditer(text))
    return [token for token in found
            if token[0] not in "\"'" and not token.startswith(("//", "/*", 'R"')) and not token.lstrip().startswith("#")]


def declared(declaration):
    """The names that a declaration introduces; `{}` stands for its body. Rather one too many than one too few."""
    if declaration[:1] == ["template"]:
        depth = 0
        for at, token in enumerate(declaration):
            depth += (token == "<") - (token == ">")
            if token == ">" and depth == 0:
                declaration = declaration[at + 1:]
                break
    if declaration[:1] == ["using"]:
        return {declaration[1]} if "=" in declaration else set()
    for at, token in enumerate(declaration):
        if token in ("class", "struct", "enum", "union"):
            rest = [name for name in declaration[at + 1:at + 3] if name not in ("class", "struct")]
            return {name for name in rest[:1] if NAME.match(name)}
        if token == "operator":
            return set()
        if at > 0 and token in ("(", "=", "{}", "[") and NAME.match(declaration[at - 1]):
            is_member = at > 1 and declaration[at - 2] == "::"
            is_test = declaration[at - 1].isupper() or declaration[at - 1].startswith("TEST")
            return set() if is_member or is_test else {declaration[at - 1]}
    return {name for name in declaration[-1:] if len(declaration) > 1 and NAME.match(name)}


def unnamed(code):
    """The names that the unnamed namespaces of a source introduce."""
    names, declaration, spaces, at = set(), [], [], 0
    while at < len(code):
        token = code[at]
        at += 1
        if token == "{" and "namespace" in declaration:
            spaces.append(declaration[-1] == "namespace")
            declaration = []
        elif token == "{":
            depth = 1
            while depth > 0 and at < len(code):
                depth += (code[at] == "{") - (code[at] == "}")
                at += 1
            names |= declared(declaration + ["{}"]) if any(spaces) else set()
            declaration = []
        elif token in ("}", ";"):
            names |= declared(declaration) if any(spaces) and declaration else set()
            declaration = []
            if token == "}" and spaces:
                spaces.pop()
        else:
            declaration.append(token)
    return names


class Project:
    """The headers of the project, found by the ends of their paths."""

    def __init__(self, root):
        self.root = root
        self.by_name = {}
        for path in root.rglob("*.h"):
            if "build" not in path.relative_to(root).parts:
                self.by_name.setdefault(path.name, []).append(path)

    @functools.lru_cache(maxsize=None)
    def included(self, path):
        """All that a file includes, of the project as paths and of others as they are written."""
        found, left = set(), [path]
        while left:
            for name in INCLUDE.findall(left.pop().read_text()):
                own = [header for header in self.by_name.get(pathlib.Path(name).name, [])
                       if header.as_posix().endswith("/" + name)]
                for header in own or [name]:
                    if header not in found:
                        found.add(header)
                        left += [header] if own else []
        return frozenset(found)

    @functools.lru_cache(maxsize=None)
    def names(self, path):
        return frozenset(tokens(path.read_text())) if isinstance(path, pathlib.Path) else frozenset()


class Source:
    def __init__(self, path, project):
        self.path = path
        self.project = project
        self.room = path.relative_to(project.root).parts[0]
        text = path.read_text()
        code = tokens(text)
        self.said = frozenset(code)
        self.own = unnamed(code)
        self.directives = frozenset(DIRECTIVE.findall(text))
        self.headers = project.included(path)

    def bears_after(self, other):
        """Whether `other` may follow this one."""
        if self.room != other.room or self.directives != other.directives:
            return False
        if self.own & other.said or other.own & self.said:
            return False
        new = other.headers - self.headers
        if new and self.directives:
            return False
        return not any(self.own & self.project.names(header) for header in new)


def groups(sources):
    found = []
    for source in sources:
        for group in found:
            if len(group) < MOST and all(earlier.bears_after(source) for earlier in group):
                group.append(source)
                break
        else:
            found.append([source])
    return found


def main():
    project = Project(pathlib.Path(sys.argv[1]))
    for line in pathlib.Path(sys.argv[2]).read_text().splitlines():
        target, *names = line.split(";")
        # What is generated, where the build stands elsewhere, is compiled by itself.
        paths = [path for path in map(pathlib.Path, names) if path.is_relative_to(project.root)]
        for number, group in enumerate(groups([Source(path, project) for path in paths])):
            if len(group) > 1:
                files = "\n    ".join(f'"{source.path}"' for source in group)
                print(f"set_source_files_properties(\n    {files}\n"
                      f"    TARGET_DIRECTORY {target} PROPERTIES UNITY_GROUP {number})")


if __name__ == "__main__":
    main()
