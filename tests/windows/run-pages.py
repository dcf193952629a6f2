#!/usr/bin/env python3
"""run-pages.py WINE BUILD [ROWS-COMMAND]: the recorded pages of lists, grids and forms through the DLL, by JScript, and what differs.

With a command that takes statements and records their rows (scripts/record-rows), what wasn't recorded yet is; without one
it is a failure."""
import os
import shlex
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
RECORDED = os.path.join(HERE, "../recorded")
PAGES = {"list.asp", "grid.asp", "form.asp"}


def wine_path(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def requests():
    with open(os.path.join(RECORDED, "requests.txt"), encoding="utf-8") as file:
        for line in file:
            words = line.split()
            if line.startswith("#") or words[1].partition("?")[0] not in PAGES:
                continue
            page, _, query = words[1].partition("?")
            yield words[0], page, [query] + words[2:]


def run(wine, build, page, arguments):
    return subprocess.run([*shlex.split(wine), os.path.join(build, "script-host.exe"), wine_path(HERE + "/recorded"),
                           wine_path(RECORDED + "/site/pages"), page, *arguments], capture_output=True, check=False)


def missing(result):
    lines = result.stderr.decode(errors="replace").splitlines()
    return [line.partition("\t")[2] for line in lines if line.startswith("MISSING\t")]


def expected(name):
    with open(os.path.join(RECORDED, "expected", name + ".txt"), "rb") as file:
        return file.read().partition(b"\n")[2]


def main(wine, build, recorder=None):
    passed, failed = 0, []
    for name, page, arguments in requests():
        result = run(wine, build, page, arguments)
        while recorder and missing(result):
            subprocess.run(shlex.split(recorder), input="\n".join(missing(result)) + "\n", text=True, check=True)
            result = run(wine, build, page, arguments)
        if result.returncode == 0 and result.stdout.strip(b"\n") == expected(name).strip(b"\n"):
            passed += 1
            print(f"same: {name}", flush=True)
            continue
        failed.append(name)
        if len(failed) <= 3:
            want, got = expected(name).strip(b"\n"), result.stdout.strip(b"\n")
            at = next((i for i, (a, b) in enumerate(zip(want, got)) if a != b), min(len(want), len(got)))
            print(f"{name} at byte {at}: expected {want[max(0, at - 60):at + 80]!r}, given {got[max(0, at - 60):at + 80]!r}")
            print(result.stderr.decode(errors="replace")[-600:])
    print(f"{passed} recorded pages through the DLL gave their output, {len(failed)} did not: {' '.join(failed)}")
    return 1 if failed or passed < 40 else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
