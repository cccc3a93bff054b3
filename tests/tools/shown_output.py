"""Output that a document shows, and what the daemon prints."""

import os
import pwd
import re

AGES = ((re.compile(r'\d+( +(?:static|connnected))$'), r'*\1'),
        (re.compile(r'^(Age +: +)\d+$'), r'\1*'))


TIME = re.compile(r'\d{4}-\d\d-\d\d \d\d:\d\d:\d\dZ')
SECONDS_LEFT = re.compile(r'\d+ s are left')
# What varies from one run to the next, and what a page shows instead.
MASKS = ((re.compile(r'\d{4}-\d\d-\d\dT[\d:.]+Z'), '2026-11-22T10:15:00.000Z'),
         (re.compile(r'^\d\d:\d\d:\d\d\.\d{3}\b', re.M), '10:15:00.000'),
         (re.compile(r'\b\d\d:\d\d:\d\d\b(?![.Z])'), '00:00:05'),
         (re.compile(r'(_seconds":)\d+'), r'\g<1>5'),
         (re.compile(r'(\bprocess"?[ :])\d+'), r'\g<1>4711'),
         (re.compile(r'\b\d+\.\d MB resident'), '7.2 MB resident'),
         (re.compile(r'("resident_bytes":)\d+'), r'\g<1>7200000'),
         (re.compile(r'\b\d+\.\d ms (in the last minute|since the start)'), r'0.3 ms \1'),
         (re.compile(r'("(?:last_minute|since_start)":)\d+'), r'\g<1>300'),
         (re.compile(r'next try (?:now|in \d+ s)'), 'next try in 1 s'),
         (re.compile(r', for \d+ s at most'), ', for 60 s at most'))
PLACE = re.compile(r'^(  kept +)/\S+/([a-z-]+)-[0-9a-f]{32}/(\d+)$', re.M)
HEADLINE = re.compile(r'^(?:Start|(?:Reload|Undo to|Way back to|Revision \d+|Stopped after)\b.*|Started): .*\n', re.M)


def without_headlines(log):
    """The log without the lines that tell of starts, stops and what each change changes."""
    return HEADLINE.sub('', log)


def as_shown(text):
    """As it would be for alice, in the folder of a page, at the time of a page."""
    try:
        user = pwd.getpwuid(os.geteuid()).pw_name
    except KeyError:
        user = 'uid %d' % os.geteuid()
    text = text.replace(user + ' at the socket', 'alice at the socket')
    text = TIME.sub('2026-11-22 10:15:00Z', text)
    text = SECONDS_LEFT.sub('594 s are left', text)
    for pattern, replacement in MASKS:
        text = pattern.sub(replacement, text)
    return PLACE.sub(r'\1/home/alice/state/\2-5f1d8a3c0b7e42961d3f7a90c4e8b265/\3', text)


def comparable(text):
    """Without trailing blanks, and without what depends on who runs it, where and how fast."""
    lines = []
    for line in as_shown(text).splitlines():
        line = line.rstrip()
        for pattern, replacement in AGES:
            line = pattern.sub(replacement, line)
        lines.append(line)
    return '\n'.join(lines).strip('\n')
