#!/usr/bin/env python3
"""bench_compare_test.py TOOL: what tools/bench-compare makes of better, worse and incomplete results."""

import copy
import json
import os
import subprocess
import sys
import tempfile
import unittest

TOOL = sys.argv.pop(1)
RESULT = {
    "left_out": [],
    "bars": [
        {"name": "a route", "kind": "time", "ratio": 0.4, "ratio_bar": 1.1},
        {"name": "memory", "kind": "bytes", "ratio": 0.9, "ratio_bar": 1},
        {"name": "start-up", "kind": "absolute", "ratio": 0.4, "ratio_bar": 1},
    ],
}


class BenchCompare(unittest.TestCase):
    def compare(self, new, *options, old=None):
        with tempfile.TemporaryDirectory() as folder:
            paths = []
            for name, content in (("old", old or RESULT), ("new", new)):
                paths.append(os.path.join(folder, name))
                with open(paths[-1], "w", encoding="utf-8") as file:
                    file.write(content if isinstance(content, str) else json.dumps(content))
            run = subprocess.run([sys.executable, TOOL, *options, *paths], capture_output=True,
                                 stdin=subprocess.DEVNULL, text=True)
            return run.returncode, run.stdout + run.stderr

    def changed(self, index, ratio):
        result = copy.deepcopy(RESULT)
        result["bars"][index]["ratio"] = ratio
        return result

    def test_equal_results_pass(self):
        status, text = self.compare(RESULT)
        self.assertEqual(status, 0, text)
        for bar in RESULT["bars"]:
            self.assertIn(bar["name"], text)

    def test_what_stays_within_the_threshold_passes(self):
        self.assertEqual(self.compare(self.changed(0, 0.6))[0], 0)
        self.assertEqual(self.compare(self.changed(0, 0.04))[0], 0)

    def test_a_slower_figure_fails(self):
        status, text = self.compare(self.changed(0, 0.9))
        self.assertEqual(status, 1)
        self.assertRegex(text, r"a route .*2\.25.*FAILED")

    def test_the_threshold_is_an_option(self):
        self.assertEqual(self.compare(self.changed(0, 0.9), "--threshold", "3")[0], 0)
        self.assertEqual(self.compare(self.changed(0, 0.6), "--threshold", "1.2")[0], 1)

    def test_memory_has_a_threshold_of_its_own(self):
        self.assertEqual(self.compare(self.changed(1, 0.95))[0], 1)
        self.assertEqual(self.compare(self.changed(1, 0.95), "--bytes-threshold", "1.1")[0], 0)

    def test_an_absolute_figure_is_held_against_its_bar_only(self):
        self.assertEqual(self.compare(self.changed(2, 0.95))[0], 0)
        self.assertEqual(self.compare(self.changed(2, 1.05))[0], 1)

    def test_a_figure_that_was_not_measured_fails_unless_it_was_left_out(self):
        result = copy.deepcopy(RESULT)
        del result["bars"][0]
        self.assertEqual(self.compare(result)[0], 1)
        result["left_out"] = ["a route"]
        self.assertEqual(self.compare(result)[0], 0)

    def test_a_new_figure_passes(self):
        old = copy.deepcopy(RESULT)
        del old["bars"][0]
        self.assertEqual(self.compare(RESULT, old=old)[0], 0)

    def test_what_is_no_result_is_told(self):
        for content in ("", "[]", "{}", json.dumps({"bars": [{}], "left_out": []}),
                        json.dumps(self.changed(0, 0))):
            self.assertEqual(self.compare(content)[0], 2, content)


if __name__ == "__main__":
    unittest.main()
