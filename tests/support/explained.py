#!/usr/bin/python3
"""Helps to compare what morvik-show --explain says with what morvik does.

explained.py published FILE    the entries that the JSON in FILE says would be published, as
                               cim_client.py list writes published ones
explained.py lines SEED COUNT  a FRU data file of COUNT lines, most of them broken in some way; the
                               same for the same seed
"""

import json
import random
import sys

from cim_client import visible

CATEGORIES = ("PROCESSOR", "MEMORY", "KEYBOARD", "PLANAR", "CDROM", "FLOPPY", "OPTIONSP", "FAN")
CATEGORIES += ("BACKPLANE", "fan", "FANS", "")
QUALIFIERS = ("", "SPEED=2400", "SPEED=1800", "SPEED=", "SIZE=512", "SIZE=256", "SIZE=", "LANGUAGE=")
QUALIFIERS += ("LANGUAGE=en", "LANGUAGE=de", "LANGUAGE=EN", "speed=2400", "SPEED= 2400")
TEXTS = ("x", "", "Fan, left", "Lüfter", "日本", "a#b", "a\tb", "a\x01b", "L\udcfcfter", "\ufffe", "a\0b")
PIECES = ('"', ",", '","', "", " ", "\0", "\r", "=", "SIZE=512", "[", "\udcff", "x" * 230)


def published(path):
    with open(path, encoding="utf-8") as file:
        lines = json.load(file)["lines"]
    keys = ("fruNumber", "name", "description", "identifyingNumber")
    chosen = [line for line in lines if line["result"] == "published"]
    for text in sorted("|".join([*(visible(line[k]) for k in keys), "KVA", "1.0"]) for line in chosen):
        print(text)


def broken(chance, line):
    place = chance.randrange(len(line) + 1)
    if chance.random() < 0.5:
        return line[:place] + chance.choice(PIECES) + line[place:]
    return line[:place] + line[place + chance.randrange(1, 4) :]


def lines(seed, count):
    chance = random.Random(seed)
    for _ in range(count):
        number = f"F{chance.randrange(count // 2)}"
        fields = (number, chance.choice(CATEGORIES), chance.choice(QUALIFIERS), chance.choice(TEXTS))
        line = ",".join(f'"{field}"' for field in fields)
        for _ in range(chance.choice((0, 0, 1, 2))):
            line = broken(chance, line)
        sys.stdout.buffer.write(line.encode("utf-8", "surrogateescape") + b"\n")


if __name__ == "__main__":
    if sys.argv[1] == "published":
        published(sys.argv[2])
    else:
        lines(int(sys.argv[2]), int(sys.argv[3]))
