#!/usr/bin/env python3
"""Lets cycles of znhost meet faults, each at one call, and checks that no packet is lost.

A random slice, or everything with --all. The table at the end counts runs and findings; every finding is followed by
the command that shows it again.
"""
import argparse
import collections
import concurrent.futures
import pathlib
import random
import shutil
import sys
import threading
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.dont_write_bytecode = True
sys.path[:0] = [str(HERE), str(HERE.parent / "e2e")]

from cases import Fault, Mode, faults_of  # noqa: E402
from stage import FINDINGS, REST, SCENARIOS, SIDES, Stage, prepare  # noqa: E402

WORKERS = 2
RUNS_OF_A_SLICE = 6  # for each scenario and side: its preparation takes as long as some runs


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n\n")[0])
    parser.add_argument("build", type=pathlib.Path, help="folder of the build, such as build/win64")
    parser.add_argument("--all", action="store_true", help="every fault at every call")
    parser.add_argument("--runs", type=int, default=24, help="runs of a random slice (default: 24)")
    parser.add_argument("--seed", type=int, help="of the random slice (default: another one each time)")
    parser.add_argument("--scenario", action="append", choices=SCENARIOS, help="this one only")
    parser.add_argument("--side", action="append", choices=SIDES, help="this one only")
    parser.add_argument("--mode", action="append", choices=[mode.word for mode in Mode], help="this one only")
    parser.add_argument("--at", metavar="TEXT", default="", help="calls whose function or path contains TEXT")
    parser.add_argument("--workers", type=int, default=WORKERS, help=f"cycles at a time (default: {WORKERS})")
    parser.add_argument("--states", action="store_true", help="also calls that only ask for the state of a file")
    parser.add_argument("--case", help="one run, as a finding names it")
    parser.add_argument("--keep", type=pathlib.Path, help="folder for the folders of runs with findings")
    return parser.parse_args()


class Sweep:
    def __init__(self, arguments):
        self.arguments = arguments
        self.launcher = arguments.build.resolve() / "tests" / "faults.exe"
        self.rows = {}
        self.failed = False
        self.stopped = False
        self.printing = threading.Lock()

    def slices(self):
        """(scenario, side, number of runs) to be swept; None for all of them."""
        arguments = self.arguments
        stages = [(SCENARIOS[name], side) for name in arguments.scenario or SCENARIOS
                  for side in SCENARIOS[name].sides if side in (arguments.side or SIDES)]
        if arguments.all:
            return [(*stage, None) for stage in stages]
        count = min(len(stages), max(1, arguments.runs // RUNS_OF_A_SLICE))
        return [(*stage, -(-arguments.runs // count)) for stage in self.random.sample(stages, count)]

    def run(self):
        seed = self.arguments.seed if self.arguments.seed is not None else random.randrange(1 << 32)
        self.random = random.Random(seed)
        if self.arguments.case:
            name, side, *fault, order, states = self.arguments.case.split(".")
            self.arguments.states = states == "states"
            self.sweep_stage(SCENARIOS[name], side, lambda _: [(Fault.parse(*fault), order == "other")])
            return
        if not self.arguments.all:
            print(f"seed {seed}", flush=True)
        with concurrent.futures.ThreadPoolExecutor(self.arguments.workers) as pool:
            tasks = [pool.submit(self.sweep_stage, scenario, side, self.chooser(runs, self.random.random()))
                     for scenario, side, runs in self.slices()]
            for task in concurrent.futures.as_completed(tasks):
                task.result()

    def chooser(self, runs, seed):
        """A function that chooses among the calls of a cycle: [(fault, whether the other side acts first)]."""
        def choose(calls):
            modes = self.arguments.mode or [mode.word for mode in Mode]
            meant = [call for call in calls if self.arguments.at in str(call).replace("\\", "/")]
            every = [fault for call in meant for fault in faults_of(call) if fault.mode.word in modes]
            chosen = every if runs is None else random.Random(seed).sample(every, min(runs, len(every)))
            return [(fault, (fault.number + fault.error) % 2 == 1) for fault in chosen]
        return choose

    def sweep_stage(self, scenario, side, choose):
        if self.stopped:
            return
        row = self.rows[scenario.name, side] = collections.Counter()
        try:
            stage = Stage(scenario, side, self.launcher, self.arguments.states)
        except unittest.SkipTest as reason:
            row["skipped"] = 1
            return self.say(f"{scenario.name} {side}: skipped: {reason}")
        try:
            row["calls"] = len(stage.calls)
            for fault, other_first in choose(stage.calls):
                if self.stopped:
                    break
                findings = stage.run(fault, other_first)
                row["runs"] += 1
                row.update(findings.keys())
                if findings:
                    self.tell(stage, scenario, side, fault, other_first, findings)
        finally:
            stage.close()
        counts = ", ".join(f"{row[finding]} {finding}" for finding in FINDINGS if row[finding]) or "no findings"
        self.say(f"{scenario.name} {side}: {row['runs']} runs, {counts}")

    def tell(self, stage, scenario, side, fault, other_first, findings):
        if set(findings) != {REST}:
            self.failed = True
        elif not self.arguments.case:
            return  # counted; it is told of in docs/limits.md
        states = "states" if self.arguments.states else "no-states"
        case = f"{scenario.name}.{side}.{fault}.{'other' if other_first else 'same'}.{states}"
        lines = [f"{case}: at {stage.calls[fault.number - 1]}"]
        for finding, details in findings.items():
            lines += [f"    {finding}: {what} {when}".rstrip() for what, when in details.items()]
        if self.arguments.case:
            lines += [f"--- {who}\n{''.join(said)}" for who, said in stage.story]
            lines += [f"--- {side.name}.log\n{side.log}" for side in (stage.pair.field, stage.pair.enterprise)]
        lines.append(f"    again: tests/faults/sweep.py {self.arguments.build} --case {case} --keep FOLDER")
        if self.arguments.keep:
            shutil.copytree(stage.pair.scratch, self.arguments.keep / case, dirs_exist_ok=True)
        self.say("\n".join(lines))

    def say(self, text):
        with self.printing:
            print(text, flush=True)

    def table(self):
        columns = ("calls", "runs", *FINDINGS)
        yield "  ".join(("scenario".ljust(14), "side".ljust(7), "bits", *columns))
        for (scenario, side), row in self.rows.items():
            cells = [str(row[column]).rjust(len(column)) for column in columns]
            yield "  ".join((scenario.ljust(14), side.ljust(7), bits(self.arguments.build).rjust(4), *cells))
        total = [str(sum(row[column] for row in self.rows.values())).rjust(len(column)) for column in columns]
        yield "  ".join(("all".ljust(14), "".ljust(7), "".ljust(4), *total))


def bits(build):
    return "32" if "32" in build.name else "64"


def main():
    arguments = parse_arguments()
    sweep = Sweep(arguments)
    prepare(sweep, arguments.build)
    try:
        sweep.run()
    finally:
        print("\n".join(sweep.table()), flush=True)
    sys.exit(1 if sweep.failed else 0)


if __name__ == "__main__":
    main()
