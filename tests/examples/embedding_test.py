"""Builds and runs the embedding example as a device maker would, and follows the guide's commands."""

import os
import re
import socket
import subprocess
import time

from installed import BUILD_TREE, COMPILER, FLAGS, SOURCE_TREE, InstalledExample, main, run


class Embedding(InstalledExample):
    NAME = 'embedding'

    def play(self, program, **environment):
        with open(os.path.join(self.example, 'commands.txt'), 'rb') as file:
            commands = file.read()
        return run(program, os.path.join(self.example, 'vlans.json'),
                   os.path.join(self.folder, 'socket'), stdin=commands, **environment)

    def test_with_the_cmake_package(self):
        build = os.path.join(self.folder, 'build')
        self.build_with_cmake(build)
        program = os.path.join(build, 'embedding')
        self.assertEqual(self.play(program), self.expected)
        self.assert_answers_at_its_socket(program)
        self.assert_says_what_is_wrong_with_a_document(program)
        self.assert_takes_the_socket_of_a_killed_host_only(program)

    def assert_answers_at_its_socket(self, program):
        path = os.path.join(self.folder, 'socket')
        with subprocess.Popen([program, os.path.join(self.example, 'vlans.json'), path],
                              stdin=subprocess.PIPE, stdout=subprocess.DEVNULL) as host:
            for _ in range(200):
                if os.path.exists(path):
                    break
                time.sleep(0.05)
            with socket.socket(socket.AF_UNIX) as client:
                client.settimeout(60)
                client.connect(path)
                client.sendall(b'wait 500\nrib\nquit\n')
                text = b''
                while piece := client.recv(4096):
                    text += piece
            host.stdin.write(b'quit\n')
            host.stdin.close()
            self.assertEqual(host.wait(60), 0)
        table = self.expected[self.expected.index('\n VLAN '):]
        table = table[:table.index('End of table\n') + len('End of table\n')]
        self.assertEqual(text.decode(), table)
        self.assertFalse(os.path.exists(path))

    def assert_says_what_is_wrong_with_a_document(self, program):
        bad = os.path.join(self.folder, 'bad.json')
        with open(bad, 'w', encoding='utf-8') as file:
            file.write('{"VLAN_CONFIGURATIONS": ')
        with self.assertRaisesRegex(AssertionError, 'bad.json: .*Line 1, Column'):
            run(program, bad, os.path.join(self.folder, 'socket-of-bad'))
        with self.assertRaisesRegex(AssertionError, 'none.json: No such file or directory'):
            run(program, os.path.join(self.folder, 'none.json'), os.path.join(self.folder, 'other'))

    def assert_takes_the_socket_of_a_killed_host_only(self, program):
        path = os.path.join(self.folder, 'left')
        start = (program, os.path.join(self.example, 'vlans.json'), path)
        with socket.socket(socket.AF_UNIX) as listener:
            listener.bind(path)
            listener.listen()
            with self.assertRaisesRegex(AssertionError, 'left: Address already in use'):
                run(*start, stdin=b'quit\n')
        run(*start, stdin=b'quit\n')
        self.assertFalse(os.path.exists(path))
        with open(path, 'w', encoding='utf-8'):
            with self.assertRaisesRegex(AssertionError, 'left: Address already in use'):
                run(*start, stdin=b'quit\n')

    def test_with_pkg_config(self):
        program = os.path.join(self.folder, 'host')
        flags = self.flags_of('vantacore-platform')
        run(COMPILER, '-x', 'c', '-c', *FLAGS, *[flag for flag in flags if flag.startswith('-I')],
            'stub_stack.c', cwd=self.example)
        run(COMPILER, '-std=c++17', *FLAGS, 'main.cpp', 'console.cpp', 'stub_stack.o', *flags, '-o',
            program, cwd=self.example)
        self.assertEqual(self.play(program, LD_LIBRARY_PATH=self.installed('libvantacore.so')),
                         self.expected)

    def test_the_guide_leads_to_the_running_example(self):
        with open(os.path.join(SOURCE_TREE, 'docs', 'embedding.md'), encoding='utf-8') as file:
            guide = file.read()
        set_up, commands, printed = re.search(
            r'```sh\n(.*?)```.*?```sh\n(.*?)```.*?```\n(.*?)```', guide, re.S).groups()
        # The release build is a stage of its own; here what has been built stands in for it.
        self.assertEqual(set_up, 'tools/setup && tools/build release\n')
        commands = commands.replace('build/release', BUILD_TREE)
        home = os.path.join(self.folder, 'home')
        os.mkdir(home)
        result = run('bash', '-euc', commands, cwd=SOURCE_TREE, HOME=home,
                     CXXFLAGS=' '.join(FLAGS), CFLAGS=' '.join(FLAGS))
        self.assertEqual(result[-len(printed):], printed)


if __name__ == '__main__':
    main()
