#!/usr/bin/env python3
"""guard.py VALGRIND PROGRAM FIGURES [--accept]

Counts the instructions of the hot operations with callgrind and compares them with the figures that
are committed. A count more than the tolerance above its figure fails: the operation has become slower,
and somebody has to say why. One that far below fails too: the figure no longer guards anything.
--accept writes the counts of this run as the new figures.
"""

import glob
import os
import re
import subprocess
import sys
import tempfile

TOLERANCE = 0.10
# How often each function does its operation.
TIMES = {"scheduler_tick": 33, "list_row_unchanged": 10, "vlan_unchanged": 100}
DEFAULT_TIMES = 1000


def count(valgrind, program):
    # The C library picks its copy loops by processor: the plain ones are the same everywhere.
    environment = dict(os.environ, LD_BIND_NOW="1",
                       GLIBC_TUNABLES="glibc.cpu.hwcaps=-AVX2,-AVX512F,-AVX512VL,-ERMS,-FSRM")
    with tempfile.TemporaryDirectory() as folder:
        run = subprocess.run(
            [valgrind, "--tool=callgrind", f"--callgrind-out-file={folder}/out",
             "--toggle-collect=counted_*", program],
            stdin=subprocess.DEVNULL, capture_output=True, text=True, env=environment)
        if run.returncode != 0:
            sys.exit(f"the counted program failed:\n{run.stdout}{run.stderr}")
        listing = subprocess.run(
            [os.path.join(os.path.dirname(valgrind), "callgrind_annotate"), "--inclusive=yes",
             "--threshold=100", "--show-percs=no", "--auto=no", f"{folder}/out"],
            stdin=subprocess.DEVNULL, capture_output=True, text=True, check=True).stdout
    counts = {}
    for total, operation in re.findall(r"^ *([\d,]+) +\S*operations\.cpp:counted_(\w+)", listing,
                                       re.M):
        counts[operation] = round(int(total.replace(",", "")) /
                                  TIMES.get(operation, DEFAULT_TIMES))
    return counts


def read_figures(path):
    figures = {}
    with open(path, encoding="utf-8") as file:
        for line in file:
            if line.strip() and not line.startswith("#"):
                name, figure = line.split()
                figures[name] = int(figure)
    return figures


def accept(path, counts):
    with open(path, encoding="utf-8") as file:
        head = [line for line in file if line.startswith("#")]
    with open(path, "w", encoding="utf-8") as file:
        file.writelines(head)
        for name in sorted(counts):
            file.write(f"{name:<24}{counts[name]:>8}\n")


def verdicts(figures, counts):
    """One line for each operation whose count is missing, unknown or out of bounds."""
    for name in sorted(figures.keys() | counts.keys()):
        if name not in counts:
            yield f"{name}: has a figure but was not counted"
        elif name not in figures:
            yield f"{name}: was counted ({counts[name]}) but has no figure"
        elif abs(counts[name] - figures[name]) > TOLERANCE * figures[name]:
            change = 100 * (counts[name] / figures[name] - 1)
            yield (f"{name}: {figures[name]} instructions were accepted, now it takes "
                   f"{counts[name]} ({change:+.0f} %)")


def main(arguments):
    if len(arguments) not in (3, 4) or (len(arguments) == 4 and arguments[3] != "--accept"):
        sys.exit(__doc__)
    valgrind, program, path = arguments[:3]
    if not os.path.exists(valgrind):
        sys.exit("valgrind is not installed; tools/setup test installs it")
    counts = count(valgrind, program)
    if len(arguments) == 4:
        accept(path, counts)
        return 0
    figures = read_figures(path)
    for name in sorted(counts):
        print(f"{name:<24}{figures.get(name, 0):>8} accepted {counts[name]:>8} now")
    failures = list(verdicts(figures, counts))
    for failure in failures:
        print(f"FAILED {failure}")
    if failures:
        print(f"The tolerance is {100 * TOLERANCE:.0f} %. If the change is meant, accept the new "
              "counts with\n  cmake --build build/dev --target accept_instruction_counts\n"
              "and give the reason in the commit that changes tests/instructions/figures.txt.")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
