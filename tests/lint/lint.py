"""Checks the repository's own rules: lint.py {arrows|format|words} [ROOT].

arrows  every #include follows the tables of docs/architecture.md, and these have no circle
format  every C and C++ file is as clang-format would write it
words   no file holds wording of tests/lint/words.txt, which is the one file not looked at
"""

import os
import re
import subprocess
import sys

SOURCES = ('.c', '.cpp', '.h')
WORDS = 'tests/lint/words.txt'
TABLE = 'docs/architecture.md'
INCLUDE_DIRS = ('include', 'platform', '')
OUTSIDE = (
    ('json/', 'jsoncpp'), ('uv.h', 'libuv'), ('uv/', 'libuv'), ('libtecla.h', 'tecla'), ('libmnl/', 'libmnl'),
    ('rapidjson/', 'rapidjson'), ('xxhash.h', 'xxhash'),
    ('gtest/', 'googletest'), ('gmock/', 'googletest'), ('benchmark/', 'benchmark'),
)
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.M)
QUOTED = re.compile(r'"(?:[^"\\]|\\.)*"|`[^`]*`')


def repository_files(root):
    listing = subprocess.run(
        ['git', '-c', 'safe.directory=*', 'ls-files', '-z', '--cached', '--others',
         '--exclude-standard'], cwd=root, check=True, stdout=subprocess.PIPE)
    names = {name for name in listing.stdout.decode().split('\0') if name}
    if not names:
        raise SystemExit(root + ': git names no files here')
    return sorted(name for name in names if os.path.isfile(os.path.join(root, name)))


def read(root, name):
    with open(os.path.join(root, name), encoding='utf-8', errors='replace') as file:
        return file.read()


def source_files(root):
    return [name for name in repository_files(root) if name.endswith(SOURCES)]


# --- arrows ---------------------------------------------------------------------------------------

def read_table(root, name):
    """The rows of one of the document's tables: what stands left of the arrow, and the list right of it."""
    text = read(root, TABLE)
    match = re.search(r'<!-- %s -->\n(.*?)<!-- end of %s -->' % (name, name), text, re.S)
    if not match:
        raise SystemExit('%s: no table of %s' % (TABLE, name))
    table = {}
    for line in match.group(1).splitlines():
        if line.strip():
            folder, targets = line.split('->')
            table[folder.strip()] = [t.strip() for t in targets.split(',') if t.strip()]
    return table


def read_owners(root):
    """The folder of src/ that implements a public header, by the header's path."""
    return {'include/vantacore/' + header: folder
            for folder, headers in read_table(root, 'headers').items() for header in headers}


def is_below(name, prefix):
    return name == prefix or name.startswith(prefix + '/')


def folder_of(name, table):
    """The row that covers a file: the folder itself (with '*' filled in) and what it may include.

    A row that names the file adds to that of its folder."""
    best = None
    for row, targets in table.items():
        parts = row.split('/')
        folder = '/'.join(name.split('/')[:len(parts)])
        matches = all(p in ('*', f) for p, f in zip(parts, folder.split('/')))
        if matches and is_below(os.path.dirname(name), folder):
            rank = (len(parts), '*' not in row)
            if best is None or rank > best[0]:
                best = (rank, folder, targets)
    return best and (best[1], best[2] + table.get(name, []))


def resolve(root, name, included):
    """The project's file that a quoted include names, found the way the compiler finds it."""
    for base in (os.path.dirname(name),) + INCLUDE_DIRS:
        path = os.path.normpath(os.path.join(base, included))
        if os.path.isfile(os.path.join(root, path)):
            return path
    return None


def check_include(root, name, row, owners, bracket, included):
    folder, targets = row
    if bracket == '"':
        path = resolve(root, name, included)
        if path is None:
            return 'is not a file of this project; use <> for an outside library'
        if is_below(name, 'src') and path in owners:
            path = os.path.join(owners[path], os.path.basename(path))
        if is_below(path, folder) or any(is_below(path, target) for target in targets):
            return None
        return 'is in %s, which %s may not include' % (os.path.dirname(path), folder)
    if any(os.path.isfile(os.path.join(root, base, included)) for base in INCLUDE_DIRS):
        return 'is a file of this project; use "" for it'
    for prefix, library in OUTSIDE:
        if included.startswith(prefix) and library not in targets:
            return 'belongs to %s, which %s may not include' % (library, folder)
    return None


def find_circle(table):
    """Folders of the table that lead back to the first of them; none if there is no circle."""
    done = set()

    def follow(folder, way):
        if folder in way:
            return way[way.index(folder):] + [folder]
        if folder in done or folder not in table:
            return None
        for target in table[folder]:
            circle = follow(target, way + [folder])
            if circle:
                return circle
        done.add(folder)
        return None

    return next(filter(None, (follow(folder, []) for folder in table)), None)


def check_owners(root, owners):
    for name in source_files(root):
        if is_below(name, 'include') and name not in owners and name != 'include/vantacore/export.h':
            yield '%s: the table of headers does not say which folder implements it' % name
    for name in sorted(owners):
        if not os.path.isfile(os.path.join(root, name)):
            yield '%s: %s names it, and it is not there' % (name, TABLE)


def check_arrows(root):
    table = read_table(root, 'arrows')
    owners = read_owners(root)
    errors = list(check_owners(root, owners))
    circle = find_circle(table)
    if circle:
        errors.append('%s: the arrows go round: %s' % (TABLE, ' -> '.join(circle)))
    for name in source_files(root):
        row = folder_of(name, table)
        if row is None:
            errors.append('%s: no row of %s covers this file' % (name, TABLE))
            continue
        text = read(root, name)
        for match in INCLUDE.finditer(text):
            problem = check_include(root, name, row, owners, *match.groups())
            if problem:
                line = text.count('\n', 0, match.start(2)) + 1
                errors.append('%s:%d: %s %s' % (name, line, match.group(2), problem))
    return errors


# --- format ---------------------------------------------------------------------------------------

def check_format(root):
    names = source_files(root)
    errors = []
    for start in range(0, len(names), 50):
        result = subprocess.run(
            ['clang-format', '--dry-run', '-Werror', '--style=file'] + names[start:start + 50],
            cwd=root, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        output = result.stdout.decode(errors='replace')
        found = [line for line in output.splitlines() if ' error: ' in line]
        if result.returncode != 0 and not found:
            found = output.splitlines() or ['clang-format failed']
        errors += found
    return errors


# --- words ----------------------------------------------------------------------------------------

def read_words(root):
    words = []
    for line in read(root, WORDS).splitlines():
        if line and not line.startswith('#'):
            unquoted = line.startswith('unquoted ')
            pattern = line[len('unquoted '):] if unquoted else line
            words.append((re.compile(pattern, re.I), unquoted))
    if not words:
        raise SystemExit(WORDS + ': no words')
    return words


def check_text(where, text, words):
    bare = QUOTED.sub('""', text)
    for pattern, unquoted in words:
        match = pattern.search(bare if unquoted else text)
        if match:
            yield '%s: forbidden wording: %s' % (where, match.group(0).strip())


def check_words(root):
    words = read_words(root)
    errors = []
    for name in repository_files(root):
        if name == WORDS:
            continue
        errors += check_text(name, name, words)
        for number, line in enumerate(read(root, name).splitlines(), 1):
            errors += check_text('%s:%d' % (name, number), line, words)
    return errors


CHECKS = {'arrows': check_arrows, 'format': check_format, 'words': check_words}


def main():
    if len(sys.argv) not in (2, 3) or sys.argv[1] not in CHECKS:
        raise SystemExit(__doc__)
    root = sys.argv[2] if len(sys.argv) == 3 else '.'
    errors = CHECKS[sys.argv[1]](root)
    print('\n'.join(errors + ['%s: %d errors' % (sys.argv[1], len(errors))]))
    sys.exit(1 if errors else 0)


if __name__ == '__main__':
    main()
