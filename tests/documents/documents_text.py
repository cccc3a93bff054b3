"""The files, commands and outputs that docs/documents.md shows."""

import collections
import re

# A file of an example: its name within the folder, its text, and whether it is shown for its mistakes.
File = collections.namedtuple('File', 'line name text has_mistakes')
# A daemon with these arguments after --config FOLDER: its commands with what they print, and what is
# reported on standard error.
Run = collections.namedtuple('Run', 'line arguments commands output reports')
# vantacored --check FOLDER with these arguments: its exit status, and what it reports.
Check = collections.namedtuple('Check', 'line arguments status reports')

FILE = re.compile(r'^`([a-z0-9/-]+\.json)`( with mistakes)?:\n\n```json\n(.*?)^```$', re.M | re.S)
RUN = re.compile(r"^    printf '([^\n]*)' \| \./run -- --config FOLDER([^\n]*)\n\n"
                 r'prints\n\n```\n(.*?)^```$(?:\n\nand reports\n\n```\n(.*?)^```$)?', re.M | re.S)
CHECK = re.compile(r'^    \./run -- --check FOLDER([^\n]*)\n\n'
                   r'ends with the status (\d) and reports\n\n```\n(.*?)^```$', re.M | re.S)


def read(path):
    """Files and runs in the order of the document."""
    text = path.read_text(encoding='utf-8')
    found = []
    for match in FILE.finditer(text):
        line = text.count('\n', 0, match.start()) + 1
        found.append(File(line, match.group(1), match.group(3), match.group(2) is not None))
    for match in RUN.finditer(text):
        line = text.count('\n', 0, match.start()) + 1
        found.append(Run(line, match.group(2).split(), match.group(1), match.group(3),
                         match.group(4) or ''))
    for match in CHECK.finditer(text):
        line = text.count('\n', 0, match.start()) + 1
        found.append(Check(line, match.group(1).split(), int(match.group(2)), match.group(3)))
    counts = [sum(isinstance(piece, kind) for piece in found) for kind in (File, Run, Check)]
    if counts != [text.count(mark) for mark in ('\n```json\n', "    printf '", '    ./run -- --check ')]:
        raise SystemExit('%s: a file or a run is shown in a form that is not read' % path)
    return sorted(found, key=lambda piece: piece.line)


def files_shown(path):
    return [piece for piece in read(path) if isinstance(piece, File)]
