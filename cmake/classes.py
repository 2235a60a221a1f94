#!/usr/bin/env python3
"""Makes a DLL's class table, its side-by-side manifest and the list of its registration from its interface definitions.

Use: classes.py --name DLL --version A.B.C.D --architecture NAME [--event-source NAME...] --table OUT --template IN
                --manifest OUT --registration OUT IDL...
The type library of the first IDL is the DLL's resource 1, and so on. A ProgID is <library>.<coclass>. The table is C++
for com::ModuleDescription; a coclass without a C++ class of its name does not compile there. The registration is JSON
for the installer, which writes the same as the DLL does.
"""
import argparse
import json
import pathlib
import re
import string
import sys

# An attribute list that begins with the identifier; its texts may hold any character.
DECLARATION = re.compile(r'\[\s*uuid\(([-0-9a-fA-F]+)\)(?:"[^"]*"|[^]"])*\]\s*(library|coclass)\s+(\w+)')
IDENTIFIER = re.compile(r"\buuid\(([-0-9a-fA-F]+)\)")
LIBRARY_TEXTS = re.compile(r'version\(([\d.]+)\),\s*helpstring\("([^"]*)"\)\]\s*library\b')
INTERFACE = re.compile(r'\[((?:"[^"]*"|[^]"])*)\]\s*(interface|dispinterface)\s+(\w+)\s*[:{]')
# What looks like a comment within a text is none.
TEXT_OR_COMMENT = re.compile(r'"[^"]*"|//.*?$|/\*.*?\*/', re.MULTILINE | re.DOTALL)


class Library:
    """A type library: its identifier, name, version and description; (identifier, name) of its coclasses, and of its
    interfaces that automation can marshal: those of a table of functions, and those of IDispatch alone."""

    def __init__(self, path):
        text = TEXT_OR_COMMENT.sub(lambda found: found[0] if found[0].startswith('"') else " ",
                                   path.read_text(encoding="utf-8"))
        found = [(kind, identifier.lower(), name) for identifier, kind, name in DECLARATION.findall(text)]
        libraries = [declaration[1:] for declaration in found if declaration[0] == "library"]
        if len(libraries) != 1:
            sys.exit(f"{path}: a type library was expected, and there are {len(libraries)}")
        self.identifier, self.name = libraries[0]
        self.version, self.description = LIBRARY_TEXTS.search(text).groups()
        interfaces = [(kind, TEXT_OR_COMMENT.sub("", attributes), name)
                      for attributes, kind, name in INTERFACE.findall(text)]
        self.interfaces = [(IDENTIFIER.search(attributes)[1].lower(), name)
                           for kind, attributes, name in interfaces if "oleautomation" in attributes]
        self.dispatch_interfaces = [(IDENTIFIER.search(attributes)[1].lower(), name)
                                    for kind, attributes, name in interfaces if kind == "dispinterface"]
        self.classes = [declaration[1:] for declaration in found if declaration[0] == "coclass"]
        if len(self.classes) != len(re.findall(r"\bcoclass\s+\w+\s*\{", text)):
            sys.exit(f"{path}: a coclass has no uuid as its first attribute")


def table(libraries, event_sources):
    lines = ["// Made from the interface definitions.", "constexpr com::ClassEntry kClasses[] = {"]
    for number, library in enumerate(libraries, 1):
        lines += [f'    com::ClassOf<{name}>(L"{library.name}.{name}", {number}),' for _, name in library.classes]
    lines += ["};", f"constexpr unsigned kTypeLibraries = {len(libraries)};"]
    if event_sources:
        names = ", ".join(f'L"{name}"' for name in event_sources)
        lines += [f"constexpr const wchar_t* kEventSources[] = {{{names}}};"]
    return "\n".join([*lines, ""])


def manifest(template, libraries, **values):
    lines = []
    for number, library in enumerate(libraries, 1):
        lines.append(f'    <typelib tlbid="{{{library.identifier}}}" version="{library.version}" helpdir=""'
                     f' resourceid="{number}"/>')
        lines += [f'    <comClass clsid="{{{identifier}}}" progid="{library.name}.{name}" threadingModel="Apartment"'
                  f' tlbid="{{{library.identifier}}}"/>' for identifier, name in library.classes]
    return string.Template(template).substitute(values, classes="\n".join(lines))


def registration(libraries, event_sources):
    def named(pairs, prefix=""):
        return {identifier: prefix + name for identifier, name in pairs}

    return json.dumps({"eventSources": event_sources, "typeLibraries": [
        {"identifier": library.identifier, "version": library.version, "description": library.description,
         "classes": named(library.classes, f"{library.name}."), "interfaces": named(library.interfaces),
         "dispatchInterfaces": named(library.dispatch_interfaces)}
        for library in libraries]}, indent=2) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    for option in ("--name", "--version", "--architecture"):
        parser.add_argument(option, required=True)
    parser.add_argument("--event-source", nargs="*", default=[])
    for option in ("--table", "--template", "--manifest", "--registration"):
        parser.add_argument(option, required=True, type=pathlib.Path)
    parser.add_argument("idl", nargs="+", type=pathlib.Path)
    arguments = parser.parse_args()
    libraries = [Library(path) for path in arguments.idl]
    arguments.table.write_text(table(libraries, arguments.event_source), encoding="utf-8")
    text = manifest(arguments.template.read_text(encoding="utf-8"), libraries, name=arguments.name,
                    version=arguments.version, architecture=arguments.architecture)
    arguments.manifest.write_text(text, encoding="utf-8")
    arguments.registration.write_text(registration(libraries, arguments.event_source), encoding="utf-8")


if __name__ == "__main__":
    main()
