"""Output that a document shows, and what the daemon prints."""

import re

AGES = ((re.compile(r'\d+( +(?:static|connnected))$'), r'*\1'),
        (re.compile(r'^(Age +: +)\d+$'), r'\1*'))


def comparable(text):
    """Without trailing blanks, and without the ages, which depend on how long the run took."""
    lines = []
    for line in text.splitlines():
        line = line.rstrip()
        for pattern, replacement in AGES:
            line = pattern.sub(replacement, line)
        lines.append(line)
    return '\n'.join(lines).strip('\n')
