#!/usr/bin/env python3
"""Makes a DLL's class table and its side-by-side manifest from the coclasses of its interface definitions.

Use: classes.py --name DLL --version A.B.C.D --architecture NAME --table OUT --template IN --manifest OUT IDL...
The type library of the first IDL is the DLL's resource 1, and so on. A ProgID is <library>.<coclass>. The table is C++ for com::ModuleDescription; a coclass without a C++ class of its
name does not compile there.
"""
import argparse
import pathlib
import re
import string
import sys

# An attribute list that begins with the identifier; its texts may hold any character.
DECLARATION = re.compile(r'\[\s*uuid\(([-0-9a-fA-F]+)\)(?:"[^"]*"|[^]"])*\]\s*(library|coclass)\s+(\w+)')
# What looks like a comment within a text is none.
TEXT_OR_COMMENT = re.compile(r'"[^"]*"|//.*?$|/\*.*?\*/', re.MULTILINE | re.DOTALL)


class Library:
    """A type library: its identifier, its name, and (identifier, name) of its coclasses."""

    def __init__(self, path):
        text = TEXT_OR_COMMENT.sub(lambda found: found[0] if found[0].startswith('"') else " ",
                                   path.read_text(encoding="utf-8"))
        found = [(kind, identifier.lower(), name) for identifier, kind, name in DECLARATION.findall(text)]
        libraries = [declaration[1:] for declaration in found if declaration[0] == "library"]
        if len(libraries) != 1:
            sys.exit(f"{path}: a type library was expected, and there are {len(libraries)}")
        self.identifier, self.name = libraries[0]
        self.classes = [declaration[1:] for declaration in found if declaration[0] == "coclass"]
        if len(self.classes) != len(re.findall(r"\bcoclass\s+\w+\s*\{", text)):
            sys.exit(f"{path}: a coclass has no uuid as its first attribute")


def table(libraries):
    lines = ["// Made from the interface definitions.", "constexpr com::ClassEntry kClasses[] = {"]
    for number, library in enumerate(libraries, 1):
        lines += [f'    com::ClassOf<{name}>(L"{library.name}.{name}", {number}),' for _, name in library.classes]
    return "\n".join([*lines, "};", f"constexpr unsigned kTypeLibraries = {len(libraries)};", ""])


def manifest(template, libraries, **values):
    lines = []
    for number, library in enumerate(libraries, 1):
        lines.append(f'    <typelib tlbid="{{{library.identifier}}}" version="1.0" helpdir="" resourceid="{number}"/>')
        lines += [f'    <comClass clsid="{{{identifier}}}" progid="{library.name}.{name}" threadingModel="Apartment"'
                  f' tlbid="{{{library.identifier}}}"/>' for identifier, name in library.classes]
    return string.Template(template).substitute(values, classes="\n".join(lines))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    for option in ("--name", "--version", "--architecture"):
        parser.add_argument(option, required=True)
    for option in ("--table", "--template", "--manifest"):
        parser.add_argument(option, required=True, type=pathlib.Path)
    parser.add_argument("idl", nargs="+", type=pathlib.Path)
    arguments = parser.parse_args()
    libraries = [Library(path) for path in arguments.idl]
    arguments.table.write_text(table(libraries), encoding="utf-8")
    text = manifest(arguments.template.read_text(encoding="utf-8"), libraries, name=arguments.name,
                    version=arguments.version, architecture=arguments.architecture)
    arguments.manifest.write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
