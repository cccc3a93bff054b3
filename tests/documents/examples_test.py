"""Checks that the daemon does with the documents of docs/documents.md what stands there.

examples_test.py DAEMON ROOT. A run or a check has the files shown before it, up to the one before; one
that follows another without a file between them has the same ones. Where a check fails, a start must
end with the same words.
"""

import pathlib
import subprocess
import sys
import tempfile

from documents_text import Check, File, read

DAEMON = sys.argv[1]
ROOT = pathlib.Path(sys.argv[2])
DOCUMENT = ROOT / 'docs/documents.md'
sys.path.append(str(ROOT / 'tests/tools'))
from shown_output import comparable, without_headlines


def start(arguments, files, commands=''):
    """The exit status, the output and the errors of the daemon; FOLDER is a folder with the files."""
    with tempfile.TemporaryDirectory() as folder:
        for file in files:
            path = pathlib.Path(folder) / file.name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(file.text, encoding='utf-8')
        words = [folder if word == 'FOLDER' else word for word in arguments]
        result = subprocess.run([DAEMON] + words, input=commands.encode(), stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, timeout=60)
    return result.returncode, comparable(result.stdout.decode()), comparable(without_headlines(result.stderr.decode()))


def expect(piece, wanted, got):
    if got != wanted:
        sys.exit('documents.md, line %d, says (exit status %d):\n%s\n%s\n'
                 'The daemon says (exit status %d):\n%s\n%s' % (piece.line, *wanted, *got))


def check(piece, files):
    wanted = (piece.status, '', comparable(piece.reports))
    expect(piece, wanted, start(['--check', 'FOLDER'] + piece.arguments, files))
    if piece.status != 0 and not piece.arguments:
        expect(piece, wanted, start(['--config', 'FOLDER'], files, 'help\n'))


def run(piece, files):
    expect(piece, (0, comparable(piece.output), comparable(piece.reports)),
           start(['--config', 'FOLDER'] + piece.arguments, files, piece.commands.replace('\\n', '\n')))


def main():
    runs = 0
    files = []
    has_run = False
    for piece in read(DOCUMENT):
        if isinstance(piece, File):
            if has_run:
                files = []
            files.append(piece)
            has_run = False
        else:
            (check if isinstance(piece, Check) else run)(piece, files)
            has_run = True
            runs += 1
    if not has_run or runs < 4:
        sys.exit('documents.md: %d runs, and files without one' % runs)


main()
