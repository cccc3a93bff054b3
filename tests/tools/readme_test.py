"""Checks that the daemon prints what the README says: readme_test.py DAEMON README EXAMPLE."""

import re
import subprocess
import sys

DAEMON, README, EXAMPLE = sys.argv[1:4]


def comparable(text):
    """Without trailing blanks, and without the ages, which depend on how long the run took."""
    lines = [re.sub(r'\d+( (static|connnected))$', r'*\1', line.rstrip())
             for line in text.strip().splitlines()]
    return '\n'.join(lines)


with open(README, encoding='utf-8') as file:
    readme = file.read()
commands = re.search(r"^    printf '(.*)' \| \./run$", readme, re.M).group(1).replace('\\n', '\n')
wanted = re.search(r'^prints\n\n```\n(.*?)```$', readme, re.M | re.S).group(1)
result = subprocess.run([DAEMON, '--config', EXAMPLE], input=commands.encode(),
                        stdout=subprocess.PIPE, timeout=60)
printed = result.stdout.decode()
if result.returncode != 0 or comparable(printed) != comparable(wanted):
    print('The README says:\n%s\nThe daemon (exit status %d) prints:\n%s'
          % (wanted, result.returncode, printed))
    sys.exit(1)
