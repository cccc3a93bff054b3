"""What the tests of the examples share: an installed copy, and building beside it.

TEST.py CMAKE COMPILER BUILD_TREE SOURCE_TREE [COMPILER_FLAG...]

The build tree is installed into a scratch folder and the example is copied beside it, so that nothing
of the source tree is within reach.
"""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

CMAKE, COMPILER, BUILD_TREE, SOURCE_TREE = sys.argv[1:5]
FLAGS = ['-Wall', '-Wextra', '-Werror'] + [flag for flag in sys.argv[5:] if flag]


def run(*command, cwd=None, stdin=None, **environment):
    result = subprocess.run(command, cwd=cwd, env={**os.environ, **environment}, timeout=250,
                            input=stdin, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    if result.returncode != 0:
        raise AssertionError('%s\n%s%s' % (' '.join(command), result.stdout.decode(),
                                           result.stderr.decode()))
    return result.stdout.decode()


class InstalledExample(unittest.TestCase):
    NAME = None  # the example's folder

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp(prefix=cls.NAME + '-')
        cls.prefix = os.path.join(cls.folder, 'installed')
        cls.example = os.path.join(cls.folder, 'example')
        run(CMAKE, '--install', BUILD_TREE, '--prefix', cls.prefix)
        shutil.copytree(os.path.join(SOURCE_TREE, 'examples', cls.NAME), cls.example)
        with open(os.path.join(cls.example, 'expected.txt'), encoding='utf-8') as file:
            cls.expected = file.read()

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)

    def installed(self, name):
        """The folder of an installed file."""
        for folder, _, names in os.walk(self.prefix):
            if name in names:
                return folder
        self.fail(name + ' is not installed')

    def build_with_cmake(self, build):
        run(CMAKE, '-S', self.example, '-B', build, '-G', 'Ninja',
            '-DCMAKE_PREFIX_PATH=' + self.prefix, '-DCMAKE_CXX_COMPILER=' + COMPILER,
            '-DCMAKE_C_FLAGS=' + ' '.join(FLAGS), '-DCMAKE_CXX_FLAGS=' + ' '.join(FLAGS))
        run(CMAKE, '--build', build)

    def flags_of(self, package):
        return run('pkg-config', '--cflags', '--libs', package,
                   PKG_CONFIG_PATH=self.installed(package + '.pc')).split()


def main():
    unittest.main(argv=sys.argv[:1])
