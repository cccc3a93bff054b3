"""The slips themselves: which small changes a text allows, and those that are named in a file."""

import collections
import re

EXCHANGES = {'==': '!=', '!=': '==', '&&': '||', '||': '&&', '<': '<=', '<=': '<', '>': '>=',
             '>=': '>', '+': '-', '-': '+', '+=': '-=', '-=': '+='}
# A statement by itself on its line: a call, an assignment, a step or a jump.
STATEMENT = re.compile(r'(?m)^ +((?:[\w.>\[\]*()-]+ [+|&^-]?= [^{}\n]*|(?!return\b)[\w.:>*\[\]-]+\([^{}\n]*\)'
                       r'|(?:\+\+|--)\w+|delete [^;\n]*|continue|return|break|throw));$')

# `line` and `slip` are the line before and after, without its indentation; `text` stands in the place
# of what is between `start` and `end` in the file.
Slip = collections.namedtuple('Slip', 'area file start end text line slip')


def identity(slip):
    return slip.file, slip.line, slip.slip


def mask(text):
    """The text with comments, literals and preprocessor lines blanked, at the same offsets."""
    pattern = r'//[^\n]*|"(?:[^"\\\n]|\\.)*"|\'(?:[^\'\\\n]|\\.)*\'|^#[^\n]*'
    return re.sub(pattern, lambda match: '\x01' * len(match.group()), text, flags=re.M)


def closing(code, start):
    """The place of the bracket that closes the one at `start`; -1 without one."""
    depth = 0
    for i in range(start, len(code)):
        depth += (code[i] in '([{') - (code[i] in ')]}')
        if depth == 0:
            return i
    return -1


def value_of(number):
    """Of a literal of C++, in which a leading 0 makes an octal one."""
    return int(number, 8 if re.fullmatch('0[0-7]+', number) else 0)


def arguments_of(code, start, end):
    places, depth, begin = [], 0, start
    for i in range(start, end):
        depth += (code[i] in '([{<') - (code[i] in ')]}>' and code[i - 1] != '-')
        if code[i] == ',' and depth == 0:
            places.append((begin, i))
            begin = i + 1
    return places + [(begin, end)]


def changes(text):
    """(start, end, new text) of every slip."""
    code = mask(text)
    for match in re.finditer(r'\b(?:if|while) \(', code):
        end = closing(code, match.end() - 1)
        yield match.end(), end, '!(' + text[match.end():end] + ')'
    for match in re.finditer(r'(?<= )(==|!=|&&|\|\||<=|>=|<|>|\+=|-=|\+|-)(?=[ \n])', code):
        yield match.start(), match.end(), EXCHANGES[match.group()]
    for match in re.finditer(r'(?<![\w.\x01])(0x[0-9A-Fa-f]+|\d+)(?=[uU]?\b)', code):
        yield match.start(), match.end(), str(value_of(match.group()) + 1)
    for match in STATEMENT.finditer(code):
        yield match.start(1), match.end(1), ''
    for match in re.finditer(r'(?<=\w)(?<!std::min|std::max)\(', code):
        end = closing(code, match.start())
        places = arguments_of(code, match.end(), end) if end > 0 else []
        if len(places) == 2 and '\n' not in code[match.start():end] and code[end:end + 3] != ') {':
            first, second = (text[a:b].strip() for a, b in places)
            yield match.end(), end, f'{second}, {first}'


def slips_of(area, file, text):
    found, seen = [], collections.Counter()
    for start, end, new in sorted(set(changes(text))):
        if new == text[start:end]:
            continue  # equal arguments
        begin = text.rfind('\n', 0, start) + 1
        after = text.find('\n', end)
        line = ' '.join(text[begin:after].split())
        slip = ' '.join((text[begin:start] + new + text[end:after]).split())
        seen[line, slip] += 1
        if seen[line, slip] > 1:
            line += f' [{seen[line, slip]}]'  # the same slip in the same text further down
        found.append(Slip(area, file, start, end, new, line, slip))
    return found


def replaced_line(area, file, text, line, slip):
    """The slip that writes `slip` where `line` stands. The line is there once, or "[2]" behind it says
    that the second of several is meant; else None."""
    asked = re.fullmatch(r'(.*\S) \[(\d+)\]', line)
    wanted = asked.group(1) if asked else line
    places = [match for match in re.finditer(r'(?m)^ *(\S.*)$', text) if match.group(1) == wanted]
    number = int(asked.group(2)) if asked else 1
    if number > len(places) or not asked and len(places) > 1:
        return None
    place = places[number - 1]
    return Slip(area, file, place.start(1), place.end(1), slip, line, slip)


def read_entries(path, fields):
    """The blocks of a file of slips, each a dictionary with these fields."""
    with open(path, encoding='utf-8') as file:
        blocks = re.split(r'\n\s*\n', re.sub(r'(?m)^#.*\n?', '', file.read()))
    entries = []
    for block in filter(str.strip, blocks):
        entry = dict(line.split(': ', 1) for line in block.strip().splitlines())
        if list(entry) != fields:
            raise SystemExit(f'{path}: an entry has {", ".join(fields)}:\n{block}')
        entries.append(entry)
    return entries
