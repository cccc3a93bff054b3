"""Checks where the pages point: links_test.py ROOT.

A link to a file of the project finds it, and the heading in it, if it names one. A file that docs/architecture.md or
a decision names is there. Each decision stands in the table of docs/decisions/README.md.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1]).resolve()
PAGES = sorted([ROOT / 'README.md', *ROOT.glob('docs/**/*.md'), *ROOT.glob('examples/**/*.md')])
LINK = re.compile(r'\]\(([^)#\s]*)(#[^)\s]*)?\)')
NAMED = re.compile(r'`((?:device|src|include|platform|tests|tools|bench|fuzz|docs)/[\w./-]+)`')

problems = []


def without_code(text):
    return re.sub(r'^```.*?^```$', '', text, flags=re.M | re.S)


def anchors(page):
    """The names of the headings, as a browser of such pages makes them."""
    found = set()
    for heading in re.findall(r'^#+ (.*)$', without_code(page.read_text(encoding='utf-8')), re.M):
        name = re.sub(r'[^\w\- ]', '', heading.lower()).replace(' ', '-')
        if name in found:
            problems.append('%s has two headings "%s"' % (page.relative_to(ROOT), heading))
        found.add(name)
    return found


def main():
    headings = {page: anchors(page) for page in PAGES}
    links = names = 0
    for page in PAGES:
        text = without_code(page.read_text(encoding='utf-8'))
        for path, anchor in LINK.findall(text):
            if '://' in path:
                continue
            links += 1
            to = (page.parent / path).resolve() if path else page
            if not to.exists():
                problems.append('%s: no such file: %s' % (page.relative_to(ROOT), path))
            elif anchor and anchor[1:] not in headings.get(to, set()):
                problems.append('%s: no such heading: %s%s' % (page.relative_to(ROOT), path, anchor))
        if page.name == 'architecture.md' or page.parent.name == 'decisions':
            for name in NAMED.findall(text):
                names += 1
                if not (ROOT / name).exists():
                    problems.append('%s: no such file: %s' % (page.relative_to(ROOT), name))
    table = (ROOT / 'docs/decisions/README.md').read_text(encoding='utf-8')
    listed = sorted(path for path, _ in LINK.findall(table))
    there = sorted(path.name for path in ROOT.glob('docs/decisions/*.md') if path.name != 'README.md')
    if listed != there:
        problems.append('docs/decisions/README.md lists %s instead of %s' % (listed, there))
    print('\n'.join(problems + ['%d links, %d names, %d problems' % (links, names, len(problems))]))
    sys.exit(1 if problems or not links or not names else 0)


main()
