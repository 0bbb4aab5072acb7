#!/usr/bin/python3
"""Checks that every behaviour that is odd on purpose stands in all its four places.

usage: check_kept.py SOURCE_FOLDER

The places are: "@kept id:" in a public header, "KEPT[id]" in the sources, "KEPT[id]" in the tests, and a row in
docs/kept-behaviours.md. Prints each id that is missing somewhere, and where, and fails; so it does for a row that
names a test which does not exist.
"""

import pathlib
import re
import sys

ID = r"[a-z0-9]+(?:-[a-z0-9]+)*"
IN_HEADER = re.compile(rf"@kept\s+({ID}):")
IN_CODE = re.compile(rf"KEPT\[({ID})\]")
IN_TABLE = re.compile(rf"^\|\s*`?({ID})`?\s*\|")
TEST = re.compile(r"\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)")
CODE_SUFFIXES = {".h", ".cpp", ".py", ".sh"}


def ids_in(files, pattern):
    found = set()
    for file in files:
        found.update(pattern.findall(file.read_text(encoding="utf-8")))
    return found


def names_of_tests(files):
    """Suites, tests and both with a dot between: a row may list several tests of one suite, or of several suites."""
    found = set()
    for file in files:
        for suite, test in TEST.findall(file.read_text(encoding="utf-8")):
            found.update((suite, test, f"{suite}.{test}"))
    return found


def ids_in_table(page, test_names):
    found, problems = set(), []
    for number, line in enumerate(page.read_text(encoding="utf-8").splitlines(), 1):
        row = IN_TABLE.match(line)
        if not row or row.group(1) == "id":
            continue
        if row.group(1) in found:
            problems.append(f"{page.name}:{number}: {row.group(1)} has two rows")
        cells = [cell.strip() for cell in re.split(r"(?<!\\)\|", line)[1:-1]]
        if len(cells) != 4 or not all(cells):
            problems.append(f"{page.name}:{number}: {row.group(1)} needs four filled cells")
        else:
            problems += [f"{page.name}:{number}: {row.group(1)} names a test that does not exist: {name}"
                         for name in re.findall(r"`\.?([^`]+)`", cells[3]) if name not in test_names]
        found.add(row.group(1))
    return found, problems


def main():
    source = pathlib.Path(sys.argv[1])
    library = [file for file in (source / "KFramework").rglob("*") if file.suffix in CODE_SUFFIXES]
    tests = [file for file in (source / "tests").rglob("*") if file.suffix in CODE_SUFFIXES]
    if not library or not tests:
        sys.exit("no sources or no tests found: wrong folder?")

    table, problems = ids_in_table(source / "docs" / "kept-behaviours.md", names_of_tests(tests))
    places = {
        "a public header (@kept id:)": ids_in((source / "KFramework").glob("*.h"), IN_HEADER),
        "the sources (KEPT[id])": ids_in(library, IN_CODE),
        "the tests (KEPT[id])": ids_in(tests, IN_CODE),
        "docs/kept-behaviours.md": table,
    }
    everything = set().union(*places.values())
    for one in sorted(everything):
        missing = [place for place, ids in places.items() if one not in ids]
        if missing:
            problems.append(f"{one} is missing in {', '.join(missing)}")

    print(f"{len(everything)} behaviours kept on purpose")
    if problems:
        sys.exit("\n".join(problems))


main()
