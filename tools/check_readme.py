#!/usr/bin/env python3
"""Compares the C++ example in README.md with examples/hello/hello.cpp, which is built and run.

check_readme.py ROOT
"""
import pathlib
import re
import sys


def main():
    root = pathlib.Path(sys.argv[1])
    readme = (root / "README.md").read_text(encoding="utf-8")
    block = re.search(r"```cpp\n(.*?)```", readme, re.S)
    if block is None:
        sys.exit("README.md holds no C++ example")
    if block.group(1) != (root / "examples/hello/hello.cpp").read_text(encoding="utf-8"):
        sys.exit("the example in README.md is not examples/hello/hello.cpp")
    for target in re.findall(r"\]\(([^)#:]+)\)", readme):
        if not (root / target).exists():
            sys.exit(f"README.md links to {target}, which does not exist")
    print("README.md shows examples/hello/hello.cpp, and its links lead somewhere")


if __name__ == "__main__":
    main()
