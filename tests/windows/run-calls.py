#!/usr/bin/env python3
"""run-calls.py WINE BUILD: the pages of tests/calls through the DLL, by JScript and by VBScript. They must write what the
Linux host writes, and VBScript must have called every member of the type library without an error; JScript every one that
it has arguments and results for."""
import os
import re
import shlex
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
CALLS = os.path.join(HERE, "../calls")
TYPES = os.path.join(HERE, "../../host-windows/types/varnel.idl")

# JScript has no values for them: arrays, dates, results by reference.
BASIC_ONLY_PAGES = {"values"}
BASIC_ONLY_MEMBERS = {("Utilities", "QuickSort"), ("Utilities", "QuickSortPart")}


def wine_path(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def members():
    """(class, id, "get" or "put") of every member, with its name."""
    found, of = {}, None
    with open(TYPES, encoding="utf-8") as file:
        for line in file:
            interface = re.match(r"\s*dispinterface _(\w+)", line)
            of = interface[1] if interface else of
            member = re.match(r"\s*\[id\((-?\d+)\)([^\]]*)\] \w+ (\w+)\(", line)
            if member:
                found[of, member[1], "put" if "propput" in member[2] else "get"] = member[3]
    return found


def requests():
    with open(os.path.join(CALLS, "requests.txt"), encoding="utf-8") as file:
        return [line.split() for line in file if not line.startswith("#")]


def run(wine, build, page, form, folder):
    arguments = ["", "@" + wine_path(os.path.join(CALLS, form[0]))] if form else []
    environment = {**os.environ, "SCRIPT_HOST_UPLOADS": wine_path(folder)}
    result = subprocess.run([*shlex.split(wine), os.path.join(build, "script-host.exe"), wine_path(HERE + "/recorded"),
                             wine_path(CALLS + "/site/pages"), page, *arguments],
                            capture_output=True, check=False, env=environment)
    errors = result.stderr.decode(errors="replace").splitlines()
    called = {tuple(line.split("\t")[1:]) for line in errors if line.startswith("CALLED\t")}
    return result, called, [line for line in errors if not line.startswith("CALLED\t")]


def matches(page, result, errors):
    with open(os.path.join(CALLS, "expected", page.partition(".")[0] + ".txt"), "rb") as file:
        expected = file.read()
    if result.returncode == 0 and result.stdout == expected:
        print(f"same: {page}", flush=True)
        return True
    print(f"{page} has written something else:")
    for want, got in zip(expected.split(b"\n") + [b"(end)"], result.stdout.split(b"\n") + [b"(end)"]):
        if want != got:
            print(f"  expected {want[-300:]!r}\n  given    {got[-300:]!r}")
            break
    print("\n".join([line for line in errors if line.startswith("MISSING")] + errors[-5:]))
    return False


def uploaded(folder):
    if not os.path.exists(os.path.join(folder, "notes.txt")):
        return False
    with open(os.path.join(folder, "notes.txt"), "rb") as file:
        return file.read() == b"zebra & apple"


def uncalled(called, excepted):
    return sorted(f"{of}.{name} ({how})" for (of, number, how), name in members().items()
                  if (of, number, how) not in called and (of, name) not in excepted)


def main(wine, build):
    succeeded = True
    for ending, excepted in ((".asp", BASIC_ONLY_MEMBERS), (".vbs", set())):
        called = set()
        for page, *form in requests():
            if ending == ".asp" and page in BASIC_ONLY_PAGES:
                continue
            with tempfile.TemporaryDirectory() as folder:
                result, new, errors = run(wine, build, page + ending, form, folder)
                succeeded &= matches(page + ending, result, errors)
                if page == "upload" and not uploaded(folder):
                    print("the upload wasn't written")
                    succeeded = False
            called |= new
        left = uncalled(called, excepted)
        print(f"{'JScript' if ending == '.asp' else 'VBScript'} has called {len(called)} members, {len(left)} were left out: {', '.join(left)}")
        succeeded &= not left
    return 0 if succeeded else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
