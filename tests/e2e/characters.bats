#!/usr/bin/env bats
# The characters of the FRU data file arrive on the server as the same characters.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() {
    enterWorkDirectory
    startMachine
}
teardown() { stopServers; }

# A description of these bytes (a printf format) is published as this text; \n and the like stand for
# themselves, as cim_client.py shows them.
arrivesAs() { # FORMAT TEXT
    # shellcheck disable=SC2059 # the text is a format on purpose
    { printf '"F1","FAN","","'; printf "$1"; printf '"\n'; } >fru.txt
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    publishedAre <<<"F1|FAN|$2|KVAHalvoranFru1|KVA|1.0"
}

@test "ASCII" {
    arrivesAs ' !$%%&()*+,-./09:;<=>?@AZ[]^_`az{}~' ' !$%&()*+,-./09:;<=>?@AZ[]^_`az{}~'
    arrivesAs 'a\\b|c' 'a\\b|c'
}

@test "characters that XML escapes" {
    arrivesAs "& < > '" "& < > '"
    arrivesAs '&amp; &lt; ]]>' '&amp; &lt; ]]>'
    arrivesAs '<VALUE>x</VALUE>' '<VALUE>x</VALUE>'
    arrivesAs '<!-- x --> <![CDATA[x]]>' '<!-- x --> <![CDATA[x]]>'
}

@test "UTF-8 of two, three and four bytes" {
    arrivesAs 'caf\xc3\xa9 \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x98\x80' 'café 日本 😀'
    arrivesAs '\xc3\xa9' 'é'
    arrivesAs '\xef\xbf\xbd' '�'
}

@test "text that is not UTF-8 is taken for ISO 8859-1" {
    arrivesAs 'caf\xe9' 'café'
    arrivesAs 'Stra\xdfe, T\xfcr, \xa3 5' 'Straße, Tür, £ 5'
    arrivesAs 'caf\xe9 \xc3\xa9' 'café Ã©'
    arrivesAs '\x80 \x9f \xa0' '\x80 \x9f \xa0'
}

@test "tab and carriage return within a field" {
    arrivesAs 'a\tb' 'a\tb'
    arrivesAs 'a\rb' 'a\rb'
    arrivesAs '\t' '\t'
}

@test "characters past ASCII in the FRU number" {
    printf '"F\xc3\xa9\xe6\x97\xa5 & <1>","FAN","","x"\n' >fru.txt
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    publishedAre <<<'Fé日 & <1>|FAN|x|KVAHalvoranFru1|KVA|1.0'
    # And it can be deleted again by that key.
    : >fru.txt
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    publishedNumbersAre
}

@test "characters that XML cannot carry: that entry is dropped, its number is a gap, the run goes on" {
    printf '"F1","FAN","","a\x01b"\n"F2","FAN","","x"\n"F3","FAN","","a\x1bb"\n"F4","FAN","","x"\n"F5","FAN","","\xef\xbf\xbe"\n' >fru.txt
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    publishedAre <<'END'
F2|FAN|x|KVAHalvoranFru2|KVA|1.0
F4|FAN|x|KVAHalvoranFru4|KVA|1.0
END
}

@test "an independent client reads the same characters" {
    printf '"F1","FAN","","caf\xe9 & <5>"\n' >fru.txt
    LANG=en_US runMorvik -s 127.0.0.1 -d dir
    usedLocalCopy
    run -0 wbemcli ei -nl http://127.0.0.1:5988/root/kvasd:KVAXDT_FRU
    grep -qF 'Description="café & <5>"' <<<"$output"
}
