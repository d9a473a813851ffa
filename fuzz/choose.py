#!/usr/bin/env python3
"""Chooses the inputs that reach the most together, from the control file of a libFuzzer merge with
-set_cover_merge=1 -use_counters=0: its features are the edges that each input reaches.

usage: choose.py CONTROL-FILE COUNT    prints the names of at most so many files, the best first
"""
import sys


def read_control(path):
    """The names of the files, their sizes, and the edges that each one reaches."""
    with open(path, encoding="utf-8") as control:
        lines = control.read().splitlines()
    count = int(lines[0])
    names = lines[2 : 2 + count]
    sizes, edges = {}, {}
    for line in lines[2 + count :]:
        kind, number, *values = line.split()
        if kind == "STARTED":
            sizes[int(number)] = int(values[0])
        elif kind == "FT":
            edges[int(number)] = set(values)
    return names, sizes, edges


def choose(sizes, edges, most):
    """Greedy: next is always the file with the most edges that no chosen one has, of equal ones the
    smallest."""
    chosen, reached = [], set()
    while edges and len(chosen) < most:
        best = max(edges, key=lambda number: (len(edges[number] - reached), -sizes[number]))
        if not edges[best] - reached:
            break
        chosen.append(best)
        reached |= edges.pop(best)
    return chosen


def main():
    names, sizes, edges = read_control(sys.argv[1])
    for number in choose(sizes, edges, int(sys.argv[2])):
        print(names[number])


main()
