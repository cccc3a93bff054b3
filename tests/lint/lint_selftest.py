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


class Repository:
    """A git repository with this project's own table, word list and format."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory()
        subprocess.run(['git', 'init', '-q', self.folder.name], check=True)
        for name in ('docs/architecture.md', 'tests/lint/words.txt', '.clang-format'):
            with open(os.path.join(ROOT, name), encoding='utf-8') as file:
                self.write(name, file.read())
        self.write('include/vantacore/good.h', GOOD)
        self.write('src/rtm/private.h', GOOD)
        self.write('device/stack/engine.h', GOOD)

    def write(self, name, text):
        path = os.path.join(self.folder.name, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, 'w', encoding='utf-8') as file:
            file.write(text)

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
        self.accepts('arrows', 'src/rtm/a.cpp',
                     '#include "private.h"\n#include "vantacore/good.h"\n#include <json/value.h>\n')

    def test_private_header_of_another_folder(self):
        self.refuses('arrows', 'src/config/a.cpp', '\n#include "src/rtm/private.h"\n',
                     'src/config/a.cpp:2: src/rtm/private.h is in src/rtm')

    def test_private_header_by_a_path_that_climbs(self):
        self.refuses('arrows', 'src/config/a.cpp', '#include "../rtm/private.h"\n',
                     'which src/config may not include')

    def test_library_never_includes_the_device(self):
        self.refuses('arrows', 'src/manager/a.cpp', '#include "device/stack/engine.h"\n',
                     'which src/manager may not include')

    def test_a_header_row_may_name_one_file(self):
        self.repository.write('platform/routers/ospf_area_cb.h', GOOD)
        self.repository.write('platform/routers/routers.h', GOOD)
        self.accepts('arrows', 'src/config/a.cpp', '#include "routers/ospf_area_cb.h"\n')
        self.refuses('arrows', 'src/config/b.cpp', '#include "routers/routers.h"\n',
                     'src/config/b.cpp:1: routers/routers.h is in platform/routers')

    def test_the_special_row_wins_over_the_general_one(self):
        self.repository.write('platform/routers/routers.h', GOOD)
        self.accepts('arrows', 'src/manager/a.cpp', '#include "routers/routers.h"\n')

    def test_outside_library_where_no_row_allows_it(self):
        self.refuses('arrows', 'device/stack/a.cpp', '#include <uv.h>\n', 'belongs to libuv')

    def test_own_header_in_angle_brackets(self):
        self.refuses('arrows', 'src/config/a.cpp', '#include <vantacore/good.h>\n',
                     'is a file of this project')

    def test_header_that_is_not_there(self):
        self.refuses('arrows', 'src/config/a.cpp', '#include "nowhere.h"\n',
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
