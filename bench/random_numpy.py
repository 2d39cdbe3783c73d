#!/usr/bin/env python3
"""The rows of random_bench for numpy's Generator (Debian package python3-numpy), over MT19937 and its default.

A row is the best of several turns; run random_bench right before or after, on an otherwise idle machine.
"""
import time

import numpy

COUNT = 100000


def best_seconds(function):
    best = float("inf")
    for _ in range(7):
        start = time.perf_counter()
        for _ in range(10):
            function()
        best = min(best, (time.perf_counter() - start) / 10)
    return best


def main():
    weights = (numpy.arange(1000) * 7919 % 1000 + 1).astype(float)
    weights /= weights.sum()
    for name, g in (("numpy_mt19937", numpy.random.Generator(numpy.random.MT19937(1))),
                    ("numpy_default", numpy.random.default_rng(1))):
        rows = [("reals", COUNT, lambda: g.random(COUNT)),
                *((f"integers_0_{high}", COUNT, lambda high=high: g.integers(0, high + 1, COUNT))
                  for high in (255, 6, 1000000000)),
                ("choices_of_1000", COUNT, lambda: g.choice(1000, COUNT)),
                ("weighted_choices_of_1000", COUNT, lambda: g.choice(1000, COUNT, p=weights)),
                *(("samples_of_200000", k, lambda k=k: g.choice(200000, k, replace=False))
                  for k in (1000, 20000, 200000)),
                ("permutations", 200000, lambda: g.permutation(200000)),
                *(("weighted_samples_of_1000", k, lambda k=k: g.choice(1000, k, replace=False, p=weights))
                  for k in (50, 500))]
        for row, count, function in rows:
            print(f"{row}/{name}/{count}  items_per_second={count / best_seconds(function) / 1e6:.1f}M/s", flush=True)


main()
