"""Checks the tour of the namespace lab: lab_test.py BIN SOURCE [--update].

It prints what the README says, and leaves the machine as it was. --update writes what is printed
into the README. On a machine that lets nobody make namespaces this says so and ends with status 77,
or 1 with VANTACORE_NEED_NAMESPACES.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

from place import make_place

COMMAND = 'examples/namespace-lab/run'
BLOCK = re.compile(r'(    %s\n\nprints\n\n```\n)(.*?)(?=^```$)' % COMMAND, re.M | re.S)
MACHINE = (['ip', 'netns'], ['ip', '-br', 'link'], ['ip', 'rule'], ['ip', '-6', 'rule'],
           ['ip', 'route', 'show', 'table', 'all'], ['ip', '-6', 'route', 'show', 'table', 'all'],
           ['cat', '/proc/self/mounts'])


def output_of(command, **more):
    return subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, check=False,
                          **more).stdout.decode()


def look_at_machine():
    return {' '.join(command): output_of(command) for command in MACHINE}


def find_processes(folder):
    """Those that have this folder in their command line."""
    found = []
    for process in pathlib.Path('/proc').glob('[0-9]*/cmdline'):
        try:
            words = process.read_bytes().decode(errors='replace')
        except OSError:
            continue  # it has gone meanwhile
        if folder in words:
            found.append(words.replace('\0', ' '))
    return found


def can_make_namespaces():
    user = [] if os.geteuid() == 0 else ['--user', '--map-root-user']
    return subprocess.run(['unshare', '--mount', '--net', '--pid', '--fork', '--mount-proc', *user,
                           'true'], check=False).returncode == 0


def main():
    os.environ['PATH'] += ':/usr/sbin:/sbin'
    programs, source = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    readme = pathlib.Path(source, 'README.md')
    if not can_make_namespaces():
        print('The lab did not run: this machine lets nobody make network namespaces.')
        sys.exit(1 if os.environ.get('VANTACORE_NEED_NAMESPACES') else 77)
    text = readme.read_text(encoding='utf-8')
    shown = BLOCK.search(text)
    if not shown:
        sys.exit('The README does not show the lab.')
    before = look_at_machine()
    with tempfile.TemporaryDirectory() as folder:
        make_place(folder, programs, source)
        result = subprocess.run([os.path.join(folder, COMMAND)], stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120,
                                check=False)
        left = find_processes(folder)
    printed, errors = result.stdout.decode(), result.stderr.decode()
    if result.returncode != 0 or errors:
        sys.exit('It ended with status %d:\n%s%s' % (result.returncode, printed, errors))
    if left:
        sys.exit('It left processes: %s' % left)
    for what, after in look_at_machine().items():
        if after != before[what]:
            sys.exit('It left %s as:\n%s\nIt was:\n%s' % (what, after, before[what]))
    if sys.argv[3:] == ['--update']:
        readme.write_text(BLOCK.sub(lambda match: match[1] + printed, text), encoding='utf-8')
    elif printed != shown[2]:
        sys.exit('The README says:\n%s\nIt prints:\n%s' % (shown[2], printed))


main()
