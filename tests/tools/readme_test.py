"""Checks that the daemon prints what the README says: readme_test.py DAEMON README EXAMPLE."""

import re
import subprocess
import sys

from shown_output import comparable

DAEMON, README, EXAMPLE = sys.argv[1:4]

with open(README, encoding='utf-8') as file:
    readme = file.read()
tour = re.findall(r"^    printf '([^\n]*)' \| \./run\n\nprints\n\n```\n(.*?)```$", readme, re.M | re.S)
if not tour or len(tour) != readme.count("    printf '"):
    sys.exit('The README shows no commands with their output, or shows some in another form.')
for commands, wanted in tour:
    result = subprocess.run([DAEMON, '--config', EXAMPLE],
                            input=commands.replace('\\n', '\n').encode(),
                            stdout=subprocess.PIPE, timeout=60)
    printed = result.stdout.decode()
    if result.returncode != 0 or comparable(printed) != comparable(wanted):
        sys.exit('The README says:\n%s\nThe daemon (exit status %d) prints:\n%s'
                 % (wanted, result.returncode, printed))
