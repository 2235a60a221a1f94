#!/usr/bin/env python3
"""End-to-end tests: znhost.exe with its libraries, on real folders.

Use: python3 tests/e2e/run.py BINDIR [-k TEXT]... [-x TEXT]... [-v]
BINDIR holds znhost.exe and the libraries. -k runs the tests whose name contains one of the texts, -x all others.
A Wine server that stays up makes the tests much faster: tools/wine-server run python3 tests/e2e/run.py ...
"""
import argparse
import pathlib
import signal
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))

import support  # noqa: E402


class Result(unittest.TextTestResult):
    """Counts each test once, however many of its sub-tests failed."""

    def __init__(self, *arguments, **options):
        super().__init__(*arguments, **options)
        self.passed = 0
        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, self.end_early)

    def end_early(self, *_):
        """The current test fails, so that it still cleans up: volumes are unmounted, programs ended."""
        self.shouldStop = True
        raise RuntimeError("stopped by a signal")

    def addSuccess(self, test):
        super().addSuccess(test)
        self.passed += 1

    @property
    def failed(self):
        return self.testsRun - self.passed - len(self.skipped)


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("bindir", type=pathlib.Path, help="folder of znhost.exe and the libraries")
    parser.add_argument("-k", metavar="TEXT", action="append", default=[],
                        help="run the tests whose name contains TEXT")
    parser.add_argument("-x", metavar="TEXT", action="append", default=[],
                        help="leave out the tests whose name contains TEXT")
    parser.add_argument("-v", action="store_true", help="name each test")
    return parser.parse_args()


def tests_in(suite):
    for item in suite:
        if isinstance(item, unittest.TestSuite):
            yield from tests_in(item)
        else:
            yield item


def load_tests(wanted, unwanted):
    def chosen(test):
        named = [text in test.id() for text in wanted]
        return (any(named) or not wanted) and not any(text in test.id() for text in unwanted)

    tests = unittest.TestLoader().discover(str(HERE), "test_*.py", top_level_dir=str(HERE))
    return unittest.TestSuite(filter(chosen, tests_in(tests)))


def main():
    arguments = parse_arguments()
    support.BIN = arguments.bindir.resolve()
    if not (support.BIN / "znhost.exe").is_file():
        sys.exit(f"run.py: there is no znhost.exe in {support.BIN}")
    runner = unittest.TextTestRunner(resultclass=Result, verbosity=2 if arguments.v else 1)
    result = runner.run(load_tests(arguments.k, arguments.x))
    print(f"{result.passed} passed, {result.failed} failed, {len(result.skipped)} skipped", flush=True)
    if result.testsRun == 0:
        sys.exit("run.py: no test ran")
    sys.exit(0 if result.failed == 0 and result.wasSuccessful() else 1)


if __name__ == "__main__":
    main()
