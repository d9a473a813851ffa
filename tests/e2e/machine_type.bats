#!/usr/bin/env bats
# The machine type, from the answer of the CIM server to the name of the file that is asked for.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# The download asks for this file. A machine type with shell characters would do more than that; these
# have none.
asksFor() { # FILE-NAME
    equal 0 "$status" status
    equal "echo get $1 >> fruscript.scr" "$(sed -n 5p "$commands")" 'the get command'
}

# No script is written, no ftp is run, and the failure is reported as every failed download.
asksForNothing() {
    foundNothing
    fileIs "$commands" ''
    filesAre
}

runWithModel() { # MODEL
    startMachine --model "$1"
    runRecorded -s host -d dir
    stopServers
}

# The instances of KVAXDT_ComputerSystemDetails as JSON: a list of lists of [name, type, value].
runWithSystems() { # JSON
    startDescribed "{\"KVAXDT_ComputerSystemDetails\": $1}"
    runRecorded -s host -d dir
    stopServers
}

name='["name", "string", "box"]'

@test "the text between the brackets, cut to four characters" {
    runWithModel 'Server 123 -[1234ABX]-'
    asksFor 1234wpk.txt
    runWithModel '[12345678]'
    asksFor 1234wpk.txt
    runWithModel '[1234]'
    asksFor 1234wpk.txt
}

@test "blanks are not trimmed" {
    runWithModel '[12 34]'
    asksFor '12 3wpk.txt'
    runWithModel '[ 123]'
    asksFor ' 123wpk.txt'
    runWithModel '  12345'
    asksFor '  12wpk.txt'
    runWithModel '[1   ]'
    asksFor '1   wpk.txt'
}

@test "an empty model: the machine type is empty" {
    runWithModel ''
    asksFor wpk.txt
}

@test "a real server without any instance: the machine type is empty" {
    startCimd "$schema/kvaxdt.mof"
    runRecorded -s host -d dir
    asksFor wpk.txt
}

@test "no model property: failure, no script and no ftp run" {
    runWithSystems "[[$name]]"
    asksForNothing
    runWithSystems '[[]]'
    asksForNothing
}

@test "the model is the first property of the instance: it is ignored, which is not a failure" {
    runWithSystems "[[[\"model\", \"string\", \"[1234]\"], $name]]"
    asksFor wpk.txt
    foundNothing
    runWithSystems '[[["model", "string", "[1234]"]]]'
    asksFor wpk.txt
}

@test "the property name is found in any letter case" {
    runWithSystems "[[$name, [\"MODEL\", \"string\", \"[1234]\"]]]"
    asksFor 1234wpk.txt
}

@test "a model that is a number: its digits" {
    runWithSystems "[[$name, [\"model\", \"uint32\", \"1234567\"]]]"
    asksFor 1234wpk.txt
}

@test "a model with an array value: the run ends well" {
    runWithSystems "[[$name, [\"model\", \"string\", [\"[1234]\", \"[5678]\"]]]]"
    foundNothing
}

@test "characters past 8 bits within the cut text: failure" {
    runWithSystems "[[$name, [\"model\", \"string\", \"[12\\u65e5\\u672c]\"]]]"
    asksForNothing
    # The whole cut text is converted before it is truncated.
    runWithSystems "[[$name, [\"model\", \"string\", \"[1234\\u0100]\"]]]"
    asksForNothing
}

@test "an 8-bit character is one byte in the file name" {
    runWithSystems "[[$name, [\"model\", \"string\", \"[\\u00e9234]\"]]]"
    equal 0 "$status" status
    equal "echo get "$'\xe9'"234wpk.txt >> fruscript.scr" "$(LC_ALL=C sed -n 5p "$commands")" 'the get command'
}

@test "the text of the model arrives unescaped" {
    runWithSystems "[[$name, [\"model\", \"string\", \"<[12.3]>\"]]]"
    asksFor 12.3wpk.txt
}

@test "unknown class or namespace: failure, nothing printed about it" {
    startPeer
    printf 'EnumerateInstances 1 error 3\n' >"$faults"
    runRecorded -s host -d dir
    asksForNothing
    printf 'EnumerateInstances 1 error 5\n' >"$faults"
    runRecorded -s host -d dir
    asksForNothing
}
