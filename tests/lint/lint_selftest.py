"""Proves that each check of lint.py finds what it is there for, on small repositories made for it."""

import os
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
LINT = os.path.join(HERE, 'lint.py')
GOOD = 'int Answer() { return 42; }\n'
# A small project with the same kinds of rows as this one.
DOCUMENT = """\
<!-- arrows -->
    include       -> platform/tarsel, platform/routers/ospf_area_cb.h
    src/lists     -> src/values, include/vantacore/export.h, platform/tarsel, platform/routers/ospf_area_cb.h, jsoncpp
    src/values    -> include/vantacore/export.h, platform/tarsel
    src/manager   -> src/lists, src/values, platform
    platform/*    ->
    device/*      -> include
    device/stack  -> platform/tarsel
    device/stack/levers.cpp -> include/vantacore/list.h
<!-- end of arrows -->
<!-- headers -->
    src/lists     -> list.h
    src/values    -> value.h
    src/manager   -> manager.h
<!-- end of headers -->
"""


class Repository:
    """A git repository with tables of its own and this project's word list and format."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory()
        subprocess.run(['git', 'init', '-q', self.folder.name], check=True)
        self.write('docs/architecture.md', DOCUMENT)
        for name in ('tests/lint/words.txt', '.clang-format'):
            with open(os.path.join(ROOT, name), encoding='utf-8') as file:
                self.write(name, file.read())
        for name in ('export', 'list', 'manager', 'value'):
            self.write('include/vantacore/%s.h' % name, GOOD)
        self.write('src/lists/private.h', GOOD)
        self.write('src/values/private.h', GOOD)
        self.write('device/stack/engine.h', GOOD)

    def write(self, name, text):
        path = os.path.join(self.folder.name, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, 'w', encoding='utf-8') as file:
            file.write(text)

    def remove(self, name):
        os.remove(os.path.join(self.folder.name, name))

    def lint(self, check):
        result = subprocess.run([sys.executable, LINT, check, self.folder.name],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return result.returncode, result.stdout.decode()


class LintTest(unittest.TestCase):
    def setUp(self):
        self.repository = Repository()
        self.addCleanup(self.repository.folder.cleanup)

    def accepts(self, check, name, text):
        self.repository.write(name, text)
        code, output = self.repository.lint(check)
        self.assertEqual((code, output), (0, check + ': 0 errors\n'))

    def refuses(self, check, name, text, expected):
        self.repository.write(name, text)
        code, output = self.repository.lint(check)
        self.assertEqual(code, 1, output)
        self.assertIn(expected, output)
        self.assertIn(check + ': 1 errors\n', output)


class Arrows(LintTest):
    def test_allowed_headers_pass(self):
        self.accepts('arrows', 'src/lists/a.cpp',
                     '#include "private.h"\n#include "src/values/private.h"\n'
                     '#include "vantacore/export.h"\n#include <json/value.h>\n')

    def test_private_header_of_another_folder(self):
        self.refuses('arrows', 'src/values/a.cpp', '\n#include "src/lists/private.h"\n',
                     'src/values/a.cpp:2: src/lists/private.h is in src/lists')

    def test_private_header_by_a_path_that_climbs(self):
        self.refuses('arrows', 'src/values/a.cpp', '#include "../lists/private.h"\n',
                     'which src/values may not include')

    def test_a_public_header_is_a_file_of_the_folder_that_implements_it(self):
        self.accepts('arrows', 'src/lists/a.cpp',
                     '#include "vantacore/list.h"\n#include "vantacore/value.h"\n')
        self.refuses('arrows', 'src/values/a.cpp', '#include "vantacore/list.h"\n',
                     'src/values/a.cpp:1: vantacore/list.h is in src/lists')

    def test_elsewhere_public_headers_are_public(self):
        self.accepts('arrows', 'device/base/a.cpp', '#include "vantacore/list.h"\n')

    def test_a_public_header_without_a_folder(self):
        self.refuses('arrows', 'include/vantacore/other.h', GOOD,
                     'include/vantacore/other.h: the table of headers does not say')

    def test_a_public_header_that_is_not_there(self):
        self.repository.remove('include/vantacore/manager.h')
        self.refuses('arrows', 'src/values/a.cpp', GOOD, 'include/vantacore/manager.h: docs/')

    def test_arrows_that_go_round(self):
        self.refuses('arrows', 'docs/architecture.md',
                     DOCUMENT.replace('-> include/vantacore/export.h', '-> src/manager, include/vantacore/export.h'),
                     'the arrows go round: src/lists -> src/values -> src/manager -> src/lists')

    def test_library_never_includes_the_device(self):
        self.refuses('arrows', 'src/manager/a.cpp', '#include "device/stack/engine.h"\n',
                     'which src/manager may not include')

    def test_a_header_row_may_name_one_file(self):
        self.repository.write('platform/routers/ospf_area_cb.h', GOOD)
        self.repository.write('platform/routers/routers.h', GOOD)
        self.accepts('arrows', 'src/lists/a.cpp', '#include "routers/ospf_area_cb.h"\n')
        self.refuses('arrows', 'src/lists/b.cpp', '#include "routers/routers.h"\n',
                     'src/lists/b.cpp:1: routers/routers.h is in platform/routers')

    def test_the_special_row_wins_over_the_general_one(self):
        self.refuses('arrows', 'device/stack/a.cpp', '#include "vantacore/list.h"\n',
                     'which device/stack may not include')

    def test_a_row_for_one_file_adds_to_its_folders_row(self):
        self.repository.write('platform/tarsel/base.h', GOOD)
        self.accepts('arrows', 'device/stack/levers.cpp',
                     '#include "tarsel/base.h"\n#include "vantacore/list.h"\n')
        self.refuses('arrows', 'device/stack/levers.h', '#include "vantacore/list.h"\n',
                     'which device/stack may not include')

    def test_outside_library_where_no_row_allows_it(self):
        self.refuses('arrows', 'device/stack/a.cpp', '#include <uv.h>\n', 'belongs to libuv')

    def test_own_header_in_angle_brackets(self):
        self.refuses('arrows', 'src/lists/a.cpp', '#include <vantacore/list.h>\n',
                     'is a file of this project')

    def test_header_that_is_not_there(self):
        self.refuses('arrows', 'src/lists/a.cpp', '#include "nowhere.h"\n',
                     'is not a file of this project')

    def test_source_file_outside_of_all_rows(self):
        self.refuses('arrows', 'elsewhere/a.cpp', GOOD, 'no row of docs/architecture.md')

    def test_document_without_a_table(self):
        self.repository.write('docs/architecture.md', 'no arrows here\n')
        code, output = self.repository.lint('arrows')
        self.assertEqual((code, output), (1, 'docs/architecture.md: no table of arrows\n'))


class Format(LintTest):
    def test_formatted_file_passes(self):
        self.accepts('format', 'src/rtm/a.cpp', GOOD)

    def test_unformatted_file(self):
        self.refuses('format', 'src/rtm/a.cpp', 'int  Answer() { return 42; }\n',
                     'src/rtm/a.cpp:1:4: error')

    def test_ignored_files_are_not_looked_at(self):
        self.repository.write('.gitignore', '/build/\n')
        self.accepts('format', 'build/a.cpp', 'int  Answer() { return 42; }\n')


class Words(LintTest):
    def test_each_forbidden_wording(self):
        vendor = 'Meta' + 'switch'
        for text in ('as the sp' + 'ec says', 'Spe' + 'cification', 'see Part' + ' 3.1',
                     'the append' + 'ix', 'gap A' + '-43', 'issue' + ' 2', 'in /wo' + 'rk/main',
                     'in /ro' + 'ot/x', 'at "/fa' + 'rm/x"', '/tmp' + '/vc/build', 'TO' + 'DO later',
                     'FIX' + 'ME', 'XX' + 'X', 'DISABLED' + '_Test', 'GTEST' + '_SKIP()', vendor,
                     '"quoted" ' + vendor + ' "again"'):
            with self.subTest(text):
                self.refuses('words', 'README.md', 'fine\n%s\n' % text,
                             'README.md:2: forbidden wording')

    def test_file_names_are_looked_at(self):
        self.refuses('words', 'docs/sp' + 'ec.md', 'fine\n', 'forbidden wording')

    def test_similar_wording_passes(self):
        self.accepts('words', 'README.md',
                     'a special part, inspected; partition 3.1; CA-12345; homework/root\n')

    def test_vendor_in_quotes_passes(self):
        vendor = 'Meta' + 'switch'
        self.accepts('words', 'a.cpp', 'Print("the %s stack \\" %s");  // `%s`\n'
                     % (vendor, vendor, vendor))

    def test_word_list_itself_is_skipped_by_exact_path_only(self):
        with open(os.path.join(ROOT, 'tests/lint/words.txt'), encoding='utf-8') as file:
            text = file.read()
        self.repository.write('docs/words.txt', text)
        code, output = self.repository.lint('words')
        self.assertEqual(code, 1)
        self.assertIn('docs/words.txt:', output)
        self.assertNotIn('tests/lint/words.txt:', output)


if __name__ == '__main__':
    program = unittest.main(exit=False)
    bad = len(program.result.failures) + len(program.result.errors)
    print('%d passed, %d failed' % (max(program.result.testsRun - bad, 0), bad))
    sys.exit(1 if bad or program.result.testsRun == 0 else 0)
