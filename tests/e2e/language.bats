#!/usr/bin/env bats
# Keyboard entries: the language of LANG against the value of LANGUAGE=.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() {
    enterWorkDirectory
    startMachine
}
teardown() { stopServers; }

values=(en EN En de DE fr FR it IT ja JA Ja ko KO zh ZH zh_C zh_CN ZH_CN zh_T zh_TW ZH_TW es C e '')

# One keyboard entry for each value; its FRU number is the value, or "empty".
keyboardFile() {
    local value
    for value in "${values[@]}"; do
        printf '"%s","KEYBOARD","LANGUAGE=%s","Keyboard"\n' "${value:-empty}" "$value"
    done
}

# With this LANG, these keyboard entries are published.
selects() { # LANG [VALUE...]
    local language=$1
    shift
    LANG=$language runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    publishedNumbersAre "$@"
}

@test "en: only the exact value, and the letter case of LANG is kept" {
    keyboardFile >fru.txt
    selects en en
    selects en_US en
    selects en_US.UTF-8 en
    selects EN EN
    selects EN_us EN
    selects En En
}

@test "de, fr, it, ja, ko" {
    keyboardFile >fru.txt
    selects de_DE.UTF-8 de
    selects DE_DE DE
    selects fr_FR fr
    selects FR FR
    selects it_IT@euro it
    selects IT IT
    selects ja_JP.eucJP ja
    selects Ja Ja
    selects JA JA
    selects ko_KR ko
    selects KO KO
}

@test "only the first two characters count: any longer word will do" {
    keyboardFile >fru.txt
    selects english en
    selects deXYZ de
    selects it: it
}

@test "Chinese never has a code: four characters are compared with five" {
    keyboardFile >fru.txt
    selects zh_CN empty
    selects zh_TW empty
    selects zh_TW.Big5 empty
    selects ZH_CN empty
    selects ZH_TW empty
    selects zh empty
}

@test "every other LANG gives the empty code: only an empty value is accepted" {
    keyboardFile >fru.txt
    selects C empty
    selects POSIX empty
    selects es_ES empty
    selects xx_en empty
}

@test "LANG of one character, and an empty LANG: the empty code" {
    keyboardFile >fru.txt
    selects e empty
    selects '' empty
}

@test "LANG unset: the empty code" {
    keyboardFile >fru.txt
    unset LANG
    runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    publishedNumbersAre empty
}

@test "LANG with bytes past ASCII: the empty code, or the code before them" {
    keyboardFile >fru.txt
    selects $'\xff\xfe' empty
    selects $'d\xc3\xa9' empty
    selects $'de\xff' de
    selects $'\xe6\x97\xa5\xe6\x9c\xac' empty
}

@test "LC_ALL and LANGUAGE are not looked at" {
    keyboardFile >fru.txt
    LC_ALL=de_DE LANGUAGE=fr LC_MESSAGES=it_IT LANG=en_US runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    publishedNumbersAre en
}

@test "without the token, the value is read from position 8 up to the next quote" {
    # Position 8 of each line is marked by the text that begins there:
    #  01234567
    # "A234567en","KEYBOARD",...
    cat >fru.txt <<'END'
"A234567en","KEYBOARD","","value en"
"B234567de","KEYBOARD","","value de"
"C234567","KEYBOARD","","value is empty: the quote itself is at 8"
"D23456","KEYBOARD","","position 8 is the comma"
"E1","KEYBOARD","","position 8 is within the category"
END
    # The value from position 8 of the last two lines is "," and "YBOARD".
    selects en_US A234567en
    selects de_DE B234567de
    selects C C234567
}

@test "the token may stand anywhere in the line: the first one counts" {
    cat >fru.txt <<'END'
"A1","KEYBOARD","KB LANGUAGE=en","tail of the field"
"A2","KEYBOARD","","described as LANGUAGE=en"
"A3","KEYBOARD","LANGUAGE=de","but LANGUAGE=en"
"A4LANGUAGE=en","KEYBOARD","LANGUAGE=de","in the number"
END
    selects en_US A1 A2 A4LANGUAGE=en
    selects de_DE A3
}

@test "blanks and endings are not trimmed" {
    cat >fru.txt <<'END'
"A1","KEYBOARD","LANGUAGE= en","x"
"A2","KEYBOARD","LANGUAGE=en ","x"
"A3","KEYBOARD","LANGUAGE=en_US","x"
"A4","KEYBOARD","LANGUAGE=e","x"
"A5","KEYBOARD","language=en","x"
END
    selects en_US
}

@test "a value without a closing quote runs to the end of the line" {
    # The line has no fields beside it: what is published of it is not settled, that it is selected is.
    printf 'x,"KEYBOARD",LANGUAGE=en\ny,"KEYBOARD",LANGUAGE=de\n' >fru.txt
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    equal 1 "$(published | wc -l)" 'the number of published instances'
}
