"""Checks that what the README shows is what is printed: readme_test.py BIN SOURCE [--update].

The lines of a shell before "prints" are typed in a folder with `./run`, `examples` and `build/dev/bin`, one shell for
each block; what they print on standard output must be what stands there. `./run` builds nothing there. A line that
ends with `&` is waited for: a daemon until it answers, `watch` until it hears. Files in /tmp are in the folder's own.
BIN has the programs, SOURCE is the project's folder. What needs network namespaces is lab_test.py's.
--update writes what is printed into the README.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

from place import make_place
from shown_output import as_shown, comparable

BLOCK = re.compile(r'((?:^    [^\n]*\n)+)\nprints\n\n```\n(.*?)^```$', re.M | re.S)
WAIT = {'--daemon': 'for i in {1..300}; do '
                    'build/dev/bin/vantacorectl --socket /tmp/socket version >/dev/null && break; sleep 0.1; done',
        ' watch ': 'sleep 0.5'}


def script_of(lines, temporary):
    """The lines, with what a person does between them: wait until a program is ready, and end it."""
    script = []
    for line in lines:
        script.append(line)
        if line.endswith('&'):
            script += [wait for word, wait in WAIT.items() if word in line]
    if any(line.endswith('&') for line in lines):
        script += ['sleep 0.5', 'kill $(jobs -p)', 'wait']
    return '\n'.join(script).replace('/tmp/', temporary + '/')


def run(lines, programs, source):
    with tempfile.TemporaryDirectory() as folder:
        make_place(folder, programs, source)
        temporary = os.path.join(folder, 'tmp')
        environment = dict(os.environ, HOME=folder, LC_ALL='C')
        for name in ('STATE_DIRECTORY', 'XDG_STATE_HOME'):
            environment.pop(name, None)
        result = subprocess.run(['bash', '--norc', '-c', script_of(lines, temporary)], cwd=folder,
                                env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL, timeout=60, check=False)
    return as_shown(result.stdout.decode())


def main():
    programs, source = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    update = sys.argv[3:] == ['--update']
    readme = pathlib.Path(source, 'README.md')
    text = readme.read_text(encoding='utf-8')
    if not BLOCK.search(text) or len(BLOCK.findall(text)) != text.count('\nprints\n'):
        sys.exit('The README shows no commands with their output, or shows some in another form.')

    def look(match):
        if 'namespace-lab' in match.group(1):
            return match.group(0)
        printed = run([line[4:] for line in match.group(1).splitlines()], programs, source)
        if not update and comparable(printed) != comparable(match.group(2)):
            sys.exit('The README says:\n%s\nIt prints:\n%s' % (match.group(2), printed))
        return '%s\nprints\n\n```\n%s```' % (match.group(1), printed)

    updated = BLOCK.sub(look, text)
    if update:
        readme.write_text(updated, encoding='utf-8')


main()
