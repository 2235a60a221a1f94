#!/usr/bin/env python3
"""End-to-end tests: znhost.exe with its libraries, on real folders."""
import argparse
import pathlib
import signal
import sys
import time
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(HERE))

import support  # noqa: E402


class Result(unittest.TextTestResult):
    """Counts each test once, however many of its sub-tests failed, and tells how long the good ones took."""

    def __init__(self, *arguments, **options):
        super().__init__(*arguments, **options)
        self.passed = 0
        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, self.end_early)

    def end_early(self, *_):
        """The current test fails, so that it still cleans up: volumes are unmounted, programs ended."""
        self.shouldStop = True
        raise RuntimeError("stopped by a signal")

    def startTest(self, test):
        self.began = time.monotonic()
        super().startTest(test)

    def addSuccess(self, test):
        if self.showAll:
            self.stream.write(f"{time.monotonic() - self.began:.1f} s ")
        super().addSuccess(test)
        self.passed += 1

    @property
    def failed(self):
        return self.testsRun - self.passed - len(self.skipped)


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("bindir", type=pathlib.Path, help="folder of znhost.exe and the libraries")
    which = parser.add_mutually_exclusive_group()
    which.add_argument("--all", action="store_true", help="run also the slow tests, whose load is their point")
    which.add_argument("--slow", action="store_true", help="run the slow tests only")
    parser.add_argument("--list", action="store_true",
                        help="run nothing, BINDIR may be empty: print 'module.Class fast', '... slow' or both")
    parser.add_argument("-k", metavar="TEXT", action="append", default=[], help="tests whose name contains TEXT")
    parser.add_argument("-x", metavar="TEXT", action="append", default=[], help="leave out tests that -k would run")
    parser.add_argument("-v", action="store_true", help="name each test, and the seconds that it took")
    return parser.parse_args()


def tests_in(suite):
    for item in suite:
        if isinstance(item, unittest.TestSuite):
            yield from tests_in(item)
        else:
            yield item


def load_tests(arguments):
    def chosen(test):
        return any(text in test.id() for text in arguments.k or [""]) and not any(
            text in test.id() for text in arguments.x)

    loader = unittest.TestLoader()
    tests = tests_in(loader.discover(str(HERE), "test_*.py", top_level_dir=str(HERE)))
    if loader.errors:
        sys.exit("\n".join(loader.errors))
    return list(filter(chosen, tests))


def list_classes(tests):
    kinds = {(test.id().rpartition(".")[0], "slow" if support.is_slow(test) else "fast") for test in tests}
    for name, kind in sorted(kinds):
        print(name, kind)


def main():
    arguments = parse_arguments()
    tests = load_tests(arguments)
    if arguments.list:
        return list_classes(tests)
    support.BIN = arguments.bindir.resolve()
    if not (support.BIN / "znhost.exe").is_file():
        sys.exit(f"run.py: there is no znhost.exe in {support.BIN}")
    runner = unittest.TextTestRunner(resultclass=Result, verbosity=2 if arguments.v else 1)
    result = runner.run(unittest.TestSuite(
        test for test in tests if arguments.all or support.is_slow(test) == arguments.slow))
    print(f"{result.passed} passed, {result.failed} failed, {len(result.skipped)} skipped", flush=True)
    if result.testsRun == 0:
        sys.exit("run.py: no test ran")
    sys.exit(0 if result.failed == 0 and result.wasSuccessful() else 1)


if __name__ == "__main__":
    main()
