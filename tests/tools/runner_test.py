"""Tests the runner of isolated suites and the script that sums tests up.

runner_test.py MISBEHAVING_SUITE SUM_TESTS_SCRIPT [sanitized]
"""

import os
import subprocess
import sys
import tempfile
import time
import unittest

SUITE, SUM = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
SANITIZED = sys.argv[3:] == ['sanitized']


def run(*arguments, **environment):
    result = subprocess.run([SUITE, *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, env={**os.environ, **environment})
    return result.returncode, result.stdout.decode()


class Runner(unittest.TestCase):
    def test_each_test_starts_in_a_fresh_process(self):
        code, output = run('--gtest_filter=Fresh.*')
        self.assertEqual(code, 0, output)
        self.assertTrue(output.endswith('2 passed, 0 failed\n'), output)

    def test_output_of_passing_tests_is_shown_only_on_demand(self):
        wanted = 'output of a passing test'
        self.assertNotIn(wanted, run('--gtest_filter=Fresh.*:Quiet.*')[1])
        self.assertIn(wanted, run('--gtest_filter=Fresh.*:Quiet.*', '-v')[1])
        self.assertIn(wanted, run('--gtest_filter=Fresh.*:Quiet.*', VANTACORE_TEST_VERBOSE='1')[1])

    def refuses(self, name, *expected):
        code, output = run('--gtest_filter=Fresh.First:' + name, VANTACORE_TEST_TIMEOUT='1')
        self.assertEqual(code, 1, output)
        self.assertTrue(output.endswith('failed: %s\n1 passed, 1 failed\n' % name), output)
        for text in expected:
            self.assertIn(text, output)

    def test_failure_shows_output_and_counts(self):
        self.refuses('Bad.Fails', 'output of a failing test', 'FAILED Bad.Fails')

    def test_fail_fast_ends_with_the_first_failure(self):
        chosen = '--gtest_filter=Fresh.First:Bad.Fails:Bad.FailsAtExit'
        self.assertTrue(run(chosen)[1].endswith('1 passed, 2 failed\n'))
        code, output = run(chosen, '--gtest_fail_fast')
        self.assertEqual(code, 1, output)
        self.assertTrue(output.endswith('failed: Bad.Fails\n1 passed, 1 failed\n'), output)

    def test_crash_is_a_failure_with_its_signal(self):
        self.refuses('Bad.Crashes', 'output before the crash', 'Bad.Crashes (', 'killed by signal')

    def test_ending_early_is_a_failure(self):
        self.refuses('Bad.EndsEarly', 'its process ended before the test did, with exit status 0')

    def test_failing_at_exit_is_a_failure(self):
        self.refuses('Bad.FailsAtExit', 'exit status 23')

    if SANITIZED:
        def test_leak_is_a_failure(self):
            self.refuses('Bad.Leaks', 'detected memory leaks', 'exit status')

    def test_hanging_test_is_killed(self):
        start = time.monotonic()
        self.refuses('Bad.Hangs', 'killed after the time limit of 1 seconds')
        self.assertLess(time.monotonic() - start, 30)

    def test_selecting_nothing_is_a_failure(self):
        code, output = run('--gtest_filter=No.Such')
        self.assertEqual((code, output), (1, '0 passed, 0 failed\n'))

    def test_one_test_runs_in_the_process_itself(self):
        code, output = run('--gtest_filter=Bad.EndsEarly')
        self.assertEqual(code, 0, output)
        self.assertIn('[ RUN      ] Bad.EndsEarly', output)

    def test_parameterised_tests_are_found(self):
        code, output = run('--gtest_filter=Few/*')
        self.assertEqual(code, 0, output)
        self.assertIn('ok     Few/Numbers.ArePositive/2 ', output)
        self.assertTrue(output.endswith('3 passed, 0 failed\n'), output)

    def test_list(self):
        code, output = run('--gtest_list_tests', '--gtest_filter=Fresh.*')
        self.assertEqual(code, 0)
        self.assertIn('Fresh.\n  First\n  Second\n', output)
        self.assertNotIn('passed', output)


ENTRY = '''1/1 Testing: x
1/1 Test: x
Command: "x"
"x" start time: Jan 01 00:00 UTC
Output:
----------------------------------------------------------
%s<end of output>
Test time =   0.01 sec
----------------------------------------------------------
Test %s.
"x" end time: Jan 01 00:00 UTC
'''


class Sum(unittest.TestCase):
    def says(self, *entries):
        with tempfile.NamedTemporaryFile('w', suffix='.log') as log:
            log.write(''.join(ENTRY % entry for entry in entries))
            log.flush()
            result = subprocess.run([sys.executable, SUM, log.name], stdout=subprocess.PIPE)
        return result.stdout.decode().splitlines()

    def adds_up_to(self, expected, *entries):
        self.assertEqual(self.says(*entries)[-1], expected)

    def test_isolated_suites(self):
        self.adds_up_to('7 passed, 1 failed', ('3 passed, 0 failed\n', 'Passed'),
                        ('4 passed, 1 failed\n', 'Failed'))

    def test_googletest_suites(self):
        self.adds_up_to('12 passed, 2 failed', ('[  PASSED  ] 1 test.\n', 'Passed'),
                        ('[  PASSED  ] 11 tests.\n[  FAILED  ] 2 tests, listed below:\n', 'Failed'))

    def test_checks_that_do_not_count(self):
        self.adds_up_to('1 passed, 1 failed', ('words: 0 errors\n', 'Passed'),
                        ('words: 2 errors\n', 'Failed'))

    def test_suite_that_crashed_counts_as_one_failure(self):
        self.adds_up_to('0 passed, 1 failed', ('[ RUN      ] A.B\n', 'Failed'))

    def test_failure_after_the_last_test_is_not_lost(self):
        self.adds_up_to('5 passed, 1 failed', ('[  PASSED  ] 5 tests.\n', 'Failed'))

    def test_what_passes_is_not_shown(self):
        self.assertEqual(self.says(('[ RUN      ] A.B\n[       OK ] A.B (1 ms)\n'
                                    '[  PASSED  ] 1 test.\n', 'Passed')),
                         ['1 passed, 0 failed'])

    def test_of_an_isolated_suite_too(self):
        self.assertEqual(self.says(('[ RUN      ] A.Bad\nwhy\n[  FAILED  ] A.Bad (2 ms)\n'
                                    'ok     A.Good (2 ms)\nfailed: A.Bad\n'
                                    '1 passed, 1 failed\n', 'Failed')),
                         ['--- x', '[ RUN      ] A.Bad', 'why', '[  FAILED  ] A.Bad (2 ms)',
                          'failed: A.Bad', '1 passed, 1 failed', '---',
                          '1 passed, 1 failed'])

    def test_of_a_suite_that_failed_those_tests_are_shown_that_did(self):
        self.assertEqual(
            self.says(('[==========] Running 4 tests from 1 test suite.\n'
                       '[----------] 4 tests from A\n'
                       '[ RUN      ] A.Before\nsaid\n[       OK ] A.Before (1 ms)\n'
                       '[ RUN      ] A.Bad\nwhy\n\n[----------] its own\n'
                       '[  FAILED  ] A.Bad (2 ms)\n'
                       '[ RUN      ] A.After\n[       OK ] A.After (0 ms)\n'
                       '[ RUN      ] A.Crashes\nlast words\n', 'Exception')),
            ['--- x', '[ RUN      ] A.Bad', 'why', '', '[----------] its own',
             '[  FAILED  ] A.Bad (2 ms)', '[ RUN      ] A.Crashes', 'last words', '---',
             '0 passed, 1 failed'])


if __name__ == '__main__':
    program = unittest.main(argv=sys.argv[:1], exit=False)
    bad = len(program.result.failures) + len(program.result.errors)
    print('%d passed, %d failed' % (max(program.result.testsRun - bad, 0), bad))
    sys.exit(1 if bad or program.result.testsRun == 0 else 0)
