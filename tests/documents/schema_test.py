"""Checks the schemas of docs/schema: schema_test.py ROOT.

They take the documents of the examples, those that docs/documents.md shows, and the documents of every
scenario except the ones that refused.txt names. These, and the documents shown with mistakes, they
refuse, as they do a good document in which any one value is of another type or null, any one object has
a member more or, of VALUES, a value is wrong.
"""

import json
import pathlib
import sys

from documents_text import files_shown
from schemas import Schemas, good_documents, kind_of, scenario_documents, with_one_wrong
from values import VALUES

ROOT = pathlib.Path(sys.argv[1])
SCHEMAS = Schemas(ROOT)


def main():
    problems = []
    checked = 0

    def expect(where, kind, document, refused):
        nonlocal checked
        checked += 1
        found = SCHEMAS.mistake(kind, document)
        if refused and found is None:
            problems.append('%s: the schema takes it' % where)
        elif not refused and found is not None:
            problems.append('%s: %s' % (where, found))

    listed = (pathlib.Path(__file__).parent / 'refused.txt').read_text(encoding='utf-8').split('\n')
    refused = {line for line in listed if line and not line.startswith('#')}
    for path in scenario_documents(ROOT):
        where = '%s/%s' % (path.parent.name, path.name)
        document = json.loads(path.read_text(encoding='utf-8'))
        expect(where, kind_of(path), document, where in refused)
        refused.discard(where)
    problems += ['refused.txt: there is no %s' % where for where in sorted(refused)]
    good = list(good_documents(ROOT))
    if not any('examples' in where for where, _, _ in good):
        problems.append('there are no examples')
    for where, kind, document in good:
        expect(where, kind, document, False)
        for wrong in with_one_wrong(document):
            expect('%s, as %s' % (where, json.dumps(wrong)), kind, wrong, True)
    for shown in files_shown(ROOT / 'docs/documents.md'):
        if shown.has_mistakes:
            expect('documents.md, line %d' % shown.line, kind_of(pathlib.Path(shown.name)),
                   json.loads(shown.text), True)
    for place, right, wrong in VALUES:
        for value in (right, *wrong):
            kind, document = place(value)
            expect(json.dumps(document), kind, document, value in wrong)
    if checked < 500:
        problems.append('only %d documents were found' % checked)
    sys.exit('\n'.join(problems) if problems else 0)


main()
