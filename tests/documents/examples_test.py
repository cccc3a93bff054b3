"""Checks that the daemon does with the documents of docs/documents.md what stands there.

examples_test.py DAEMON ROOT. A run has the files shown before it, up to the run before; a run that
follows another without a file between them has the same ones.
"""

import pathlib
import subprocess
import sys
import tempfile

from documents_text import File, read

DAEMON = sys.argv[1]
ROOT = pathlib.Path(sys.argv[2])
DOCUMENT = ROOT / 'docs/documents.md'
sys.path.append(str(ROOT / 'tests/tools'))
from shown_output import comparable


def run(piece, files):
    with tempfile.TemporaryDirectory() as folder:
        for file in files:
            path = pathlib.Path(folder) / file.name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(file.text, encoding='utf-8')
        result = subprocess.run([DAEMON, '--config', folder],
                                input=piece.commands.replace('\\n', '\n').encode(),
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60)
    for wanted, got in ((piece.output, result.stdout.decode()),
                        (piece.reports, result.stderr.decode())):
        if result.returncode != 0 or comparable(got) != comparable(wanted):
            sys.exit('documents.md, line %d, says:\n%s\nThe daemon (exit status %d) says:\n%s'
                     % (piece.line, wanted, result.returncode, got))


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
            run(piece, files)
            has_run = True
            runs += 1
    if not has_run or runs < 3:
        sys.exit('documents.md: %d runs, and files without one' % runs)


main()
