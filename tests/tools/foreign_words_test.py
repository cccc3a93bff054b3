"""Checks the table of words from elsewhere: foreign_words_test.py DAEMON DOCUMENT EXAMPLE.

Every word of the first two columns of the table in DOCUMENT (docs/console.md) is typed at the daemon, with the
configuration folder EXAMPLE. The answer names words of the row's third column and no others, and all answers of a row
together name all of them. A word that is one here, too, stands in the third column itself.
"""

import json
import re
import subprocess
import sys

DAEMON, DOCUMENT, EXAMPLE = sys.argv[1:]
HEAD = re.compile(r'^\| \w+ \| \w+ \| here \|\n\|---\|---\|---\|\n((?:\|.*\n)+)', re.M)
WORDS = re.compile(r'`([^`]*)`')
# A cell that only lists words; the others describe what has none.
LIST = re.compile(r'`[^`]*`(?:, `[^`]*`)*')
LEAST = 30  # of the table, so that a table in another form does not pass unread


def typed(line):
    result = subprocess.run([DAEMON, '--config', EXAMPLE], input=line + '\n', stdout=subprocess.PIPE,
                            stderr=subprocess.DEVNULL, universal_newlines=True, timeout=60)
    return result.stdout, result.returncode


def named(line):
    """The words that the device names instead of a line."""
    output, status = typed(line)
    if status == 0:
        return [re.sub('^show ', '', line)]
    if output.count('\n') != 1 or ' is not' in output or ' is unknown' in output:
        return []
    if output.startswith('{'):
        output = json.loads(output)['refused']
    return re.findall('"([^"]*)"', output)


def main():
    with open(DOCUMENT, encoding='utf-8') as file:
        table = HEAD.search(file.read())
    errors = []
    count = 0
    for row in table.group(1).splitlines():
        cells = [cell.strip() for cell in row.strip('|').split('|')]
        here = WORDS.findall(cells[2])
        foreign = [word for cell in cells[:2] if LIST.fullmatch(cell) for word in WORDS.findall(cell)]
        left = set(here)
        for line in foreign:
            count += 1
            words = named(line)
            left -= set(words)
            if not words or not set(words) <= set(here):
                errors.append('%s: the device names %s, the page %s' % (line, words, here))
        if left:
            errors.append('%s: the device names no %s' % (foreign, sorted(left)))
    if count < LEAST:
        errors.append('Only %d words' % count)
    print('\n'.join(errors + ['%d words, %d errors' % (count, len(errors))]))
    sys.exit(1 if errors else 0)


main()
