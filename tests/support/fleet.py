#!/usr/bin/python3
"""Writes inventories as morvik-show --json does, of machines that do not exist.

fleet.py DIRECTORY COUNT [NOW]    host-0001.json and so on; the same for the same arguments. NOW is in
                                  seconds since 1970; the ages are up to ten days before
"""

import datetime
import json
import pathlib
import random
import sys
import time

SPEEDS = (1800, 2000, 2400, 2800)
SIZES = (512, 1024, 2048, 16384)
PARTS = {
    "PLANAR": ("A140001", "System board, two memory channels"),
    "CDROM": ("A150001", "24x CD-ROM drive, slim"),
    "FLOPPY": ("A160001", "1.44 MB diskette drive, slim"),
    "OPTIONSP": ("A170001", "Service processor with Ethernet & serial port"),
    "BACKPLANE": ("A190001", "SCSI backplane, 4 bays, Ultra 320"),
}


def part(place, **members):
    common = {"place": place, "manufacturer": None, "partNumber": None, "serialNumber": None}
    return common | members


def entry(category, number, description, counter=1):
    return {
        "category": category,
        "fruNumber": number,
        "description": description,
        "identifyingNumber": f"KVAHalvoranFru{counter}",
        "vendor": "KVA",
        "revisionLevel": "1.0",
        "publishedByMorvik": True,
        "problem": None,
    }


def inventory(chance, number, now):
    kind = chance.choice(("1234", "2345", "3456", "4567"))
    speed, size = chance.choice(SPEEDS), chance.choice(SIZES)
    moment = datetime.datetime.fromtimestamp(now - chance.randrange(864000), datetime.timezone.utc)
    written = moment.strftime("%Y-%m-%dT%H:%M:%SZ")
    entries = [
        entry("PROCESSOR", f"A11{speed}", f"Processor {speed / 1000} GHz, 512 KiB cache"),
        entry("MEMORY", f"A12{size:05}", f"{size} MB registered ECC DIMM"),
        entry("KEYBOARD", "A130001", "Keyboard, US English, 104 keys"),
        *(entry(category, *words) for category, words in PARTS.items()),
        *(entry("FAN", f"A18000{i}", f"Fan {i}, 60 mm", i) for i in (1, 2, 3)),
    ]
    processors = [
        part(f"CPU{i}", name=f"Processor {speed / 1000} GHz", clockMHz=speed, comparedAs=str(speed),
             maxClockMHz=speed, cores=8)
        for i in range(chance.choice((1, 2, 4)))
    ]
    modules = [
        part(f"Memory {i}", locator=f"DIMM {i}", bank=f"Bank {i // 2}", type="DDR4", sizeMiB=size,
             sizeBytes=size << 20, comparedAs=str(size), speedMHz=2666) | {"serialNumber": f"S{number:04}{i:02}"}
        for i in range(chance.choice((2, 4, 8)))
    ]
    return {
        "format": 2,
        "program": "morvik-show",
        "version": "0.1.0",
        "time": written,
        "lastGoodRun": written,
        "machine": {
            "hostName": f"host-{number:04}",
            "manufacturer": "KVA",
            "model": f"Server {kind[:3]} -[{kind}ABX]-",
            "machineType": kind,
            "serialNumber": f"KV{number:05}",
            "languageCode": "en",
            "lang": "en_US.UTF-8",
            "processors": processors,
            "memoryModules": modules,
        },
        "entries": entries,
    }


def main():
    directory, count = pathlib.Path(sys.argv[1]), int(sys.argv[2])
    now = int(sys.argv[3]) if len(sys.argv) > 3 else int(time.time())
    chance = random.Random(7)
    directory.mkdir(exist_ok=True)
    for number in range(1, count + 1):
        file = directory / f"host-{number:04}.json"
        file.write_text(json.dumps(inventory(chance, number, now)), encoding="utf-8")


if __name__ == "__main__":
    main()
