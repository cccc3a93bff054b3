"""Sums the tests of all suites from ctest's log and prints 'N passed, M failed'.

A suite says itself how many of its tests passed and failed. One that says nothing (it crashed, ran
out of time, or is a single check) counts as one test with ctest's verdict.
"""

import re
import sys

ENTRY = re.compile(
    r'^Output:\n-+\n(.*?)^<end of output>\n.*?^Test ([A-Z][\w ]*)\.$',
    re.M | re.S)
OWN_LINE = re.compile(r'^(\d+) passed, (\d+) failed$', re.M)
GTEST_PASSED = re.compile(r'^\[  PASSED  \] (\d+) tests?\.$', re.M)
GTEST_FAILED = re.compile(r'^\[  FAILED  \] (\d+) tests?, listed below:$', re.M)


def counts(output, ctest_passed):
    own = OWN_LINE.findall(output)
    gtest = GTEST_PASSED.findall(output)
    if own:
        passed, failed = (int(number) for number in own[-1])
    elif gtest:
        passed = int(gtest[-1])
        failed = sum(int(number) for number in GTEST_FAILED.findall(output)[-1:])
    else:
        passed, failed = (1, 0) if ctest_passed else (0, 1)
    if not ctest_passed and failed == 0:
        failed = 1
    return passed, failed


def main():
    with open(sys.argv[1], encoding='utf-8', errors='replace') as log:
        entries = ENTRY.findall(log.read())
    sums = [counts(output, verdict == 'Passed') for output, verdict in entries]
    print('%d passed, %d failed' % (sum(p for p, _ in sums), sum(f for _, f in sums)))


if __name__ == '__main__':
    main()
