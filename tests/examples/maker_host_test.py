"""Builds and runs the host that has the daemon's rooms, as a device maker would."""

import os
import re
import shutil
import signal
import subprocess

from installed import COMPILER, FLAGS, SOURCE_TREE, InstalledExample, main, run


class MakerHost(InstalledExample):
    NAME = 'maker-host'

    def play(self, program, **environment):
        configuration = os.path.join(self.folder, 'configuration')
        shutil.rmtree(configuration, ignore_errors=True)
        shutil.copytree(os.path.join(self.example, 'folder'), configuration)
        document = os.path.join(configuration, 'vlans.json')
        with subprocess.Popen([program, configuration], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, env={**os.environ, **environment}) as host:
            try:
                self.assertEqual(self.read_to_settled(host), self.expected)
                self.change(document, r'"first": \{', '"first": {"metric": 7, ', host)
                self.assertEqual(self.read_to_settled(host), self.expected)
                self.change(document, r',\s*"third": \{[^}]*\}', '', host)
                self.assertEqual(self.read_to_settled(host), 'settled\n')
                self.change(document, '"vid": 10', '"vid": -1', host)
                self.assertEqual(self.read_to_settled(host),
                                 'the folder has errors, and nothing of it is applied\nsettled\n')
            finally:
                host.send_signal(signal.SIGTERM)
                log = host.communicate(timeout=60)[1].decode()
        self.assertEqual(host.returncode, 0, log)
        row = 'VLAN 10: route 10.9.0.0/16 via 10.1.2.1 on interface 3 eth0 '
        self.assertRegex(log, row + 'is missing in the stack(?s:.*)' + row + 'is as wanted now\n')
        self.assertIn('vlans.json:4:14: ', log)

    def change(self, document, pattern, new, host):
        with open(document, encoding='utf-8') as file:
            text, count = re.subn(pattern, new, file.read())
        self.assertEqual(count, 1, pattern)
        with open(document + '.new', 'w', encoding='utf-8') as file:
            file.write(text)
        os.rename(document + '.new', document)
        host.send_signal(signal.SIGHUP)

    @staticmethod
    def read_to_settled(host):
        text = ''
        for line in host.stdout:
            text += line.decode()
            if line.startswith(b'settled'):
                break
        return text

    def build_as_the_guide_says(self, home):
        os.mkdir(home)
        os.symlink(self.prefix, os.path.join(home, 'vantacore'))
        with open(os.path.join(SOURCE_TREE, 'docs', 'embedding.md'), encoding='utf-8') as file:
            commands = re.search(r'```sh\n(cp -r examples/maker-host .*?)```', file.read(), re.S)[1]
        start = ' && build/maker-host folder\n'
        self.assertTrue(commands.endswith(start), commands)
        run('bash', '-euc', commands[:-len(start)], cwd=SOURCE_TREE, HOME=home, CXX=COMPILER,
            CXXFLAGS=' '.join(FLAGS))
        return os.path.join(home, 'maker-host', 'build', 'maker-host')

    def test_as_the_guide_says(self):
        self.play(self.build_as_the_guide_says(os.path.join(self.folder, 'home')))

    def test_with_pkg_config(self):
        program = os.path.join(self.folder, 'maker-host')
        flags = [flag for package in ('vantacore-host', 'vantacore-device')
                 for flag in self.flags_of(package)]
        run(COMPILER, '-std=c++17', *FLAGS, 'main.cpp', *flags, '-o', program, cwd=self.example)
        self.play(program, LD_LIBRARY_PATH=self.installed('libvantacore.so'))

    def test_a_folder_with_errors_ends_the_start(self):
        build = os.path.join(self.folder, 'build-for-errors')
        self.build_with_cmake(build)
        bad = os.path.join(self.folder, 'bad')
        os.mkdir(bad)
        with open(os.path.join(bad, 'vlans.json'), 'w', encoding='utf-8') as file:
            file.write('{')
        self.assertEqual(run(os.path.join(build, 'maker-host'), bad),
                         'the folder has errors, and nothing of it is applied\n')


if __name__ == '__main__':
    main()
