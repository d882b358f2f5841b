"""Ratios of times measured in turn, and their bounds.

A benchmark is a file of this folder with a function measure() that yields Ratios. run.py runs it on
a release build; the system tests' server.py lays the device root and runs the web server.
"""

import statistics
import sys
import time
from dataclasses import dataclass
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests/system"))


@dataclass
class Ratio:
    """`measured` seconds of ours to `reference` seconds of something else."""

    name: str
    measured: float
    reference: float
    bound: float
    at_least: bool = False  # of speeds, where more is better: pass speeds, not seconds

    @property
    def value(self):
        return self.measured / self.reference

    @property
    def met(self):
        return self.value >= self.bound if self.at_least else self.value <= self.bound

    def __str__(self):
        sign = ">=" if self.at_least else "<="
        verdict = "" if self.met else "   MISSED"
        return f"{self.name:<68} {self.value:6.2f}  {sign} {self.bound:<5g}{verdict}"


def seconds(work):
    start = time.perf_counter()
    work()
    return time.perf_counter() - start


def medians(rounds, *works):
    """The median seconds of each of the works, run in turn so many times."""
    times = [[] for _ in works]
    for _ in range(rounds):
        for work, found in zip(works, times):
            found.append(seconds(work))
    return [statistics.median(found) for found in times]
