#!/usr/bin/env bats
# The programs on an OpenPegasus server, with the DMTF schema and schema/kvaxdt-dmtf.mof.

# shellcheck source-path=SCRIPTDIR source=../support/show.bash
source "$BATS_TEST_DIRNAME/../support/show.bash"

import() {
    LANG=de_DE runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
}

@test "every entry that fits is published, and replaced by the next run" {
    startPegasusMachine
    cp "$samples/parts/1234wpk.txt" fru.txt
    import
    local first
    first=$(published)
    publishedAre <<'END'
A110003|PROCESSOR|Processor 2.4 GHz, 512 KiB cache|KVAHalvoranFru1|KVA|1.0
A120002|MEMORY|512 MB registered ECC DIMM|KVAHalvoranFru1|KVA|1.0
A120003|MEMORY|512 MB registered ECC DIMM, low profile (<30 mm)|KVAHalvoranFru2|KVA|1.0
A130003|KEYBOARD|Tastatur, Deutsch, für Rackschublade|KVAHalvoranFru1|KVA|1.0
A140001|PLANAR|System board, two memory channels|KVAHalvoranFru1|KVA|1.0
A150001|CDROM|24x CD-ROM drive, slim|KVAHalvoranFru1|KVA|1.0
A160001|FLOPPY|1.44 MB diskette drive, slim|KVAHalvoranFru1|KVA|1.0
A170001|OPTIONSP|Service processor with Ethernet & serial port|KVAHalvoranFru1|KVA|1.0
A180001|FAN|Fan, 60 mm, system zone|KVAHalvoranFru1|KVA|1.0
A180002|FAN|Fan, 60 mm, drive zone|KVAHalvoranFru2|KVA|1.0
A180003|FAN|Blower, power supply <hot swap>|KVAHalvoranFru3|KVA|1.0
A190001|BACKPLANE|SCSI backplane, 4 bays, Ultra 320|KVAHalvoranFru1|KVA|1.0
END
    createAs Other X1 1
    import
    equal "$first" "$(published | grep -v '^X1|')" 'the second set of published instances'
    publishedNumbersAre A110003 A120002 A120003 A130003 A140001 A150001 A160001 A170001 A180001 \
        A180002 A180003 A190001 X1
}

@test "the file of this machine's type is fetched and imported" {
    startPegasusMachine
    startFtp
    echo '"F1","FAN","","x"' | putOnParts 1234wpk.txt
    runMorvik -s 127.0.0.1 -d /pc/dolmex/bp_server
    succeeded
    publishedNumbersAre F1
}

@test "morvik-show lists what is published and shows the machine" {
    startPegasusMachine
    importLines <<'END'
"A5","FAN","","Lüfter"
"A2","PROCESSOR","SPEED=2400","2.4 GHz"
END
    runShow
    ends 0
    wrote 'CATEGORY   FRU NUMBER  DESCRIPTION  IDENTIFYING NUMBER
PROCESSOR  A2          2.4 GHz      KVAHalvoranFru1
FAN        A5          Lüfter       KVAHalvoranFru1'
    runShow --machine --json
    ends 0
    equal "('Server 123 -[1234ABX]-', '1234', [('0', 2400, '2400')], [('1', 512, '512')])" "$(jsonOf '(lambda m: (
        m["model"], m["machineType"], [(p["place"], p["clockMHz"], p["comparedAs"]) for p in m["processors"]],
        [(p["place"], p["sizeMiB"], p["comparedAs"]) for p in m["memoryModules"]]))(it["machine"])')" json
}

@test "blanks at the ends of texts and control characters are shown as they are, and harmlessly" {
    writeMachine --dmtf >machine.mof
    cat >>machine.mof <<'END'
instance of KVAXDT_FRU { FRUNumber = " K "; IdentifyingNumber = "KVAHalvoranFru1"; Vendor = "KVA";
    Name = "FAN"; Description = " a\x0001\x001Bb  "; };
END
    startPegasus "$schema/kvaxdt-dmtf.mof" "$PWD/machine.mof"
    runShow --json
    ends 0
    equal "[(' K ', ' a\x01\x1bb  ')]" \
        "$(jsonOf '[(e["fruNumber"], e["description"]) for e in it["entries"]]')" 'the entry'
    runShow
    ends 0
    equal 'FAN        K           a��b        KVAHalvoranFru1' "$(tail -n 1 "$out")" 'the line'
}
