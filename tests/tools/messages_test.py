"""Checks that docs/operations.md knows every message of the log: messages_test.py ROOT.

The tables of the document give, of each message that the library, the software routers and the daemon
write, the level and the text as the code has it. The list of findings and complaints gives texts with
<...> for what varies; every piece of text that the daemon builds one from stands there, and no other. What the client says
stands in the part about it.
"""

import ast
import glob
import os
import re
import sys

LITERALS = r'(?:"(?:[^"\\]|\\.)*"\s*)+'
TRACE = re.compile(r'\bTRACE\(\s*(?:(\d+)\s*,\s*)?(%s)([,)])' % LITERALS)
ASSERTION = re.compile(r'\bOnAssert\(\s*(%s)' % LITERALS)
OUTCOMES = re.compile(r'constexpr OutcomeTexts \w+ = \{(.*?)\};', re.S)
LITERAL = re.compile(r'"(?:[^"\\]|\\.)*"')
CALL = re.compile(r'\b(?:Complain|report|m_report|Expected|UsageError|Explain)\(')
# What is wrong with an option is a result.
RESULT = re.compile(r'\breturn [^;{]*;')
COMPLAINING = ('device/apply', 'device/console', 'device/daemon', 'device/documents', 'device/intent',
               'device/keepers', 'device/logging', 'device/machine', 'device/ports', 'device/program',
               'device/revisions', 'device/routes', 'device/rows')
WITH_RESULTS = ('command_line.cpp', 'options.cpp')
# Here every text of several words is told to somebody, except in the declarations of members.
TELLING = ('device/documents', 'device/revisions')
DECLARATIONS = 'document_shapes.cpp'
# So it is in these.
TELLING_FILES = ('device/apply/confirmation.cpp', 'device/apply/diff_lines.cpp', 'device/apply/guard.cpp',
                 'device/apply/history.cpp', 'device/apply/job.cpp', 'device/apply/reloader.cpp',
                 'device/apply/start.cpp', 'device/console/folder_words.cpp',
                 'device/daemon/state_place.cpp')
COMMENT = re.compile(r'^\s*//.*$|\s//\s.*$|^#include.*$', re.M)
TRACED = re.compile(r'\bTRACE\(.*?\);', re.S)
ROW = re.compile(r'^\| (none|assertion|\d+) \| `([^`]*)` \| [^|]*\w[^|]* \| [^|]*\w[^|]* \|$', re.M)


def joined(literals):
    return ''.join(part[1:-1] for part in LITERAL.findall(literals))


def read(path):
    with open(path, encoding='utf-8') as file:
        return file.read()


FOLDERS = ('src/*', 'device/routers', 'device/loop', 'device/documents', 'device/intent', 'device/rows',
           'device/ports', 'device/routes', 'device/keepers', 'device/apply', 'device/console', 'device/logging',
           'device/machine', 'device/daemon')


def messages(root):
    found, answers, outcomes = set(), set(), set()
    calls = 0
    paths = [path for folder in FOLDERS for path in glob.glob(os.path.join(root, folder, '*.[ch]*'))]
    for path in sorted(paths):
        text = read(path)
        calls += len(re.findall(r'\b(?:TRACE|OnAssert)\(', text))
        for level, literals, _ in TRACE.findall(text):
            calls -= 1
            message = joined(literals)
            if message == '%s\\n':  # a complaint, which has its own list
                continue
            if message != '%s':
                found.add((level or 'none', message))
                continue
            answers.add(level)
        for table in OUTCOMES.findall(text):  # the texts of an answer's three outcomes
            outcomes.update(outcome[1:-1] for outcome in LITERAL.findall(table))
        for literals in ASSERTION.findall(text):
            calls -= 1
            found.add(('assertion', joined(literals)))
    if calls != 0:
        sys.exit('%d calls write a message that this test cannot read.' % calls)
    found.update((level, outcome) for level in answers for outcome in outcomes)
    return found


def arguments(text, begin):
    """What stands between the parenthesis at `begin` and its partner."""
    depth = 0
    for match in re.compile(r'"(?:[^"\\]|\\.)*"|[()]').finditer(text, begin):
        depth += {'(': 1, ')': -1}.get(match.group(), 0)
        if depth == 0:
            return text[begin:match.end()]
    return ''


def is_telling(path, root):
    name = os.path.relpath(path, root)
    return name in TELLING_FILES or (os.path.dirname(name) in TELLING
                                     and os.path.basename(name) != DECLARATIONS)


def complaints(root):
    """The pieces that findings and complaints are built from, and all texts of the files."""
    pieces, literals = set(), ''
    paths = [path for folder in COMPLAINING for path in glob.glob(os.path.join(root, folder, '*.cpp'))]
    for path in sorted(paths):
        text = read(path).replace("'\"'", "' '")
        told = [arguments(text, match.end() - 1) for match in CALL.finditer(text)]
        if os.path.basename(path) in WITH_RESULTS:
            told += RESULT.findall(text)
        for part in told:
            pieces.update(ast.literal_eval(literal) for literal in LITERAL.findall(part))
        if is_telling(path, root):
            texts = [ast.literal_eval('(' + match + ')')
                     for match in re.findall(LITERALS, TRACED.sub('', COMMENT.sub('', text)))]
            pieces.update(texts)
            literals += ''.join(one + '\n' for one in texts)
        literals += ''.join(ast.literal_eval(part) + '\n' for part in LITERAL.findall(text))
    return {piece.strip() for piece in pieces if len(re.findall('[a-z]', piece)) > 2
            and ' ' in piece.strip()}, literals


def texts_of_the_client(root):
    """What the client says, without its help."""
    pieces = set()
    for path in glob.glob(os.path.join(root, 'device', 'client', '*.cpp')):
        text = COMMENT.sub('', read(path)).replace("'\"'", "' '")
        text = re.sub(r'"Usage: .*?";\n', '', text, flags=re.S)
        for literal in LITERAL.findall(text):
            said = ast.literal_eval(literal).replace('vantacorectl: ', '').strip()
            pieces.update(part.strip() for part in re.split(r'%\w+', said))
    return {piece for piece in pieces if ' ' in piece and len(re.findall('[a-z]', piece)) > 2}


def main():
    root = sys.argv[1]
    document = read(os.path.join(root, 'docs', 'operations.md'))
    code = messages(root)
    rows = ROW.findall(document)
    stated = set(rows)
    errors = ['not in docs/operations.md: %s | %s' % message for message in sorted(code - stated)]
    errors += ['not in the code: %s | %s' % message for message in sorted(stated - code)]
    errors += ['stands twice: %s | %s' % row for row in sorted(stated) if rows.count(row) > 1]

    section = re.search(r'^<!-- complaints -->\n(.*?)^<!-- end of complaints -->', document,
                        re.M | re.S)
    if not section or not code:
        sys.exit('There is nothing to compare.')
    spans = [' '.join((one or two).split())
             for two, one in re.findall(r'``(.*?)``|`([^`]*)`', section.group(1), re.S)]
    pieces, literals = complaints(root)
    if not pieces or not spans:
        sys.exit('There are no complaints to compare.')
    parts = [re.split(r'<[^>]*>', span) for span in spans]
    errors += ['complaint not in docs/operations.md: %r' % piece for piece in sorted(pieces)
               if not any(piece.replace('\n', '') in span for span in spans)]
    errors += ['complaint not in the code: ' + part for span in parts for part in span
               if len(re.findall('[a-z]', part)) > 2 and part.strip() not in literals]
    client = document[document.index('### The client\n'):]
    said = texts_of_the_client(root)
    if not said:
        sys.exit('The client says nothing.')
    errors += ['text of the client not in docs/operations.md: %r' % piece for piece in sorted(said)
               if piece not in client]
    print('\n'.join(errors + ['%d messages, %d pieces of complaints, %d errors'
                              % (len(code), len(pieces), len(errors))]))
    sys.exit(1 if errors else 0)


main()
