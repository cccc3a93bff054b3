"""Sums the tests of all suites from ctest's log and prints 'N passed, M failed'.

A suite says itself how many of its tests passed and failed. One that says nothing (it crashed, ran
out of time, or is a single check) counts as one test with ctest's verdict.

Before the sum stands what each suite that failed has printed, without the lines of those of its
tests that passed: what went wrong is often read through a window of few lines. A test that began and
never ended, because the suite crashed, stays.
"""

import re
import sys

ENTRY = re.compile(
    r'^Output:\n-+\n(?P<output>.*?)^<end of output>\n.*?^Test (?P<verdict>[A-Z][\w ]*)\.\n'
    r'"(?P<suite>[^"\n]*)" end time',
    re.M | re.S)
OWN_LINE = re.compile(r'^(\d+) passed, (\d+) failed$', re.M)
GTEST_PASSED = re.compile(r'^\[  PASSED  \] (\d+) tests?\.$', re.M)
GTEST_FAILED = re.compile(r'^\[  FAILED  \] (\d+) tests?, listed below:$', re.M)
GTEST_BEGINS = re.compile(r'^\[ RUN      \] (\S+)$')
GTEST_ENDS = re.compile(r'^\[       OK \] (\S+)')
OWN_PASSED = re.compile(r'^ok     \S+ \(\d+ ms\)$')
GTEST_FAILS = re.compile(r'^\[  FAILED  \] (\S+)')
GTEST_AROUND = re.compile(r'^\[[-=]{10}\]|^$')


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


def without_passed(output):
    shown, running = [], None  # where the test that is running has begun, and its name
    for line in output.splitlines():
        begins, ends = GTEST_BEGINS.match(line), GTEST_ENDS.match(line)
        if begins:
            running = len(shown), begins[1]
        if ends and running and running[1] == ends[1]:
            del shown[running[0]:]
            running = None
        elif running or not (GTEST_AROUND.match(line) or OWN_PASSED.match(line)):
            shown.append(line)
            fails = GTEST_FAILS.match(line)
            running = None if fails and running and running[1] == fails[1] else running
    return shown


def main():
    with open(sys.argv[1], encoding='utf-8', errors='replace') as log:
        entries = [(entry['suite'], entry['output'], entry['verdict'] == 'Passed')
                   for entry in ENTRY.finditer(log.read())]
    for suite, output, has_passed in entries:
        if not has_passed:
            print('\n'.join(['--- %s' % suite, *without_passed(output), '---']))
    sums = [counts(output, has_passed) for _, output, has_passed in entries]
    print('%d passed, %d failed' % (sum(p for p, _ in sums), sum(f for _, f in sums)))


if __name__ == '__main__':
    main()
