#!/usr/bin/python3
"""Compares what KFramework.dll exports with what the public headers declare KFRAMEWORK_API.

usage: check_exports.py [--complete] [--list NAMES] KFramework.dll SOURCE_FOLDER

Fails when something is exported that no header declares (a symbol of a third-party library, an internal name),
when a third-party library is imported instead of linked in, and, with --complete, when something declared is not
exported. Without --complete such names are only listed.

NAMES is a file of all exported names with their parameters, one a line, "#" for comments; a name that is exported
and not listed, or listed and not exported, fails too.
"""

import argparse
import pathlib
import re
import subprocess
import sys

TOOL_PREFIX = "x86_64-w64-mingw32-"
NAMESPACES = ("KFramework::", "KClientLib::")
SHARED_RUNTIME = {"libstdc++-6.dll", "libgcc_s_seh-1.dll", "libwinpthread-1.dll", "libssp-0.dll"}
SPECIAL = re.compile(r"^(?:vtable|VTT|typeinfo|typeinfo name|guard variable|construction vtable) for |"
                     r"^(?:non-virtual|virtual) thunk to ")
LONG_STRING = "std::basic_string<char, std::char_traits<char>, std::allocator<char> >"
DEFAULT_ARGUMENT = re.compile(r", std::(?:allocator|less)<")


def run(tool, *arguments, text=None):
    return subprocess.run([TOOL_PREFIX + tool, *arguments], input=text, capture_output=True, text=True, check=True).stdout


def exported_and_imported(library):
    dump = run("objdump", "-p", str(library))
    imported = re.findall(r"DLL Name: (\S+)", dump)
    table = dump.partition("[Ordinal/Name Pointer] Table")[2]
    mangled = []
    for line in table.splitlines()[1:]:
        entry = re.match(r"\s*\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+(?:[0-9a-f]+\s+)?)?(\S+)", line)
        if not entry:
            break
        mangled.append(entry.group(1))
    return run("c++filt", text="\n".join(mangled) + "\n").splitlines(), imported


def qualified_name(demangled):
    """The name without parameters: "vtable for A::B" and "A::B(int)" both give "A::B"."""
    name = SPECIAL.sub("", demangled).replace("[abi:cxx11]", "")
    operator = name.find("operator")
    return name if operator >= 0 else name.split("(", 1)[0]


def code_of(header):
    text = header.read_text(encoding="utf-8")
    text = re.sub(r"/\*.*?\*/", " ", text, flags=re.S)
    text = re.sub(r"//[^\n]*", " ", text)
    text = re.sub(r"^\s*#(?:[^\n\\]|\\\n|\\.)*", " ", text, flags=re.M)
    return re.sub(r'"(?:[^"\\]|\\.)*"', '""', text)


def declared_in(header):
    """Qualified names of the functions, variables and classes that are declared KFRAMEWORK_API."""
    functions, classes = set(), set()
    stack = []
    statement = ""
    for token in re.findall(r"[{};]|[^{};]+", code_of(header)):
        if token == "}":
            if stack:
                stack.pop()
            statement = ""
        elif token in "{;":
            if "KFRAMEWORK_API" in statement:
                declaration = statement.partition("KFRAMEWORK_API")[2]
                record = re.search(r"\b(?:class|struct)\s*$", statement.partition("KFRAMEWORK_API")[0])
                before = declaration.split("(", 1)[0]
                if record:
                    classes.add("::".join(filter(None, stack + [re.findall(r"\w+", declaration)[0]])))
                else:
                    functions.add("::".join(filter(None, stack + [re.findall(r"\w+", before)[-1]])))
            if token == "{":
                namespace = re.search(r"\bnamespace\s+([\w:]+)\s*$", statement)
                record = re.search(r"\b(?:class|struct|union|enum)\s+(?:class\s+)?(?:KFRAMEWORK_API\s+)?(\w+)", statement)
                stack.append(namespace.group(1) if namespace else record.group(1) if record else "")
            statement = ""
        else:
            statement += token
    return functions, classes


def short_form(demangled):
    """As a list of names holds it: std::string, and containers without their default arguments."""
    text = demangled.replace("[abi:cxx11]", "").replace("std::__cxx11::", "std::").replace(LONG_STRING, "std::string")
    while found := DEFAULT_ARGUMENT.search(text):
        depth, end = 1, found.end()
        while depth:
            depth += {"<": 1, ">": -1}.get(text[end], 0)
            end += 1
        text = text[:found.start()] + text[end:]
    return text.replace(" >", ">")


def listed_in(file):
    lines = [line.strip() for line in file.read_text(encoding="utf-8").splitlines()]
    return [line for line in lines if line and not line.startswith("#")]


def differences(exported, names):
    """What stands in the way of an export table that holds the listed names and no other."""
    actual, listed = {short_form(name) for name in exported}, set(names)
    return ([f"listed twice: {name}" for name in sorted(listed) if names.count(name) > 1] +
            [f"exported, but not listed: {name}" for name in sorted(actual - listed)] +
            [f"listed, but not exported: {name}" for name in sorted(listed - actual)])


def undeclared(exported, functions, classes):
    """The problems with exported names, and which of the declared names are exported."""
    problems, seen = [], set()
    for demangled in exported:
        name = qualified_name(demangled)
        owner = next((c for c in classes if name == c or name.startswith(c + "::")), None)
        if not name.startswith(NAMESPACES):
            problems.append(f"exported, but in none of our namespaces: {demangled}")
        elif name in functions:
            seen.add(name)
        elif owner:
            seen.add(owner)
        else:
            problems.append(f"exported, but not declared in a public header: {demangled}")
    return problems, seen


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--complete", action="store_true")
    parser.add_argument("--list", type=pathlib.Path, metavar="NAMES")
    parser.add_argument("library", type=pathlib.Path)
    parser.add_argument("source", type=pathlib.Path)
    wanted = parser.parse_args()

    functions, classes = set(), set()
    for header in sorted((wanted.source / "KFramework").glob("*.h")):
        in_header = declared_in(header)
        functions |= in_header[0]
        classes |= in_header[1]
    if not functions:
        sys.exit("no KFRAMEWORK_API declaration found: wrong folder?")

    exported, imported = exported_and_imported(wanted.library)
    if not exported:
        sys.exit(f"{wanted.library} exports nothing")

    problems, seen = undeclared(exported, functions, classes)
    problems += [f"imported, but not part of the system or the shared runtime: {name}" for name in imported
                 if name.lower().startswith(("lib", "zlib", "boost")) and name not in SHARED_RUNTIME]

    absent = sorted((functions | classes) - seen)
    if wanted.complete:
        problems += [f"declared, but not exported: {name}" for name in absent]
    elif absent:
        print(f"{len(absent)} declared, but not exported yet:", *absent, sep="\n  ")

    print(f"{len(exported)} exported symbols, {len(functions)} declared names, {len(classes)} exported classes")
    if wanted.list:
        names = listed_in(wanted.list)
        problems += differences(exported, names)
        print(f"{len(names)} listed names")
    if problems:
        sys.exit("\n".join(problems))


main()
