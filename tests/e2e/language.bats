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

@test "LC_ALL and LANGUAGE are ignored" {
    keyboardFile >fru.txt
    LC_ALL=de_DE LANGUAGE=fr LC_MESSAGES=it_IT LANG=en_US runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    publishedNumbersAre en
}
