#!/usr/bin/env bats
# The protections that compiler and linker add to the programs. Each test checks every program of the build.

setup() {
    programs=("${MORVIK_BIN_DIR:?}"/*)
    ((${#programs[@]} >= 2)) || fail "no programs in $MORVIK_BIN_DIR"
}

fail() { # TEXT
    printf '%s\n' "$1" >&2
    return 1
}

# The output of the command matches for each program. A failing command is a failure.
each() { # PATTERN COMMAND [OPTION...]
    local pattern=$1 program said
    shift
    for program in "${programs[@]}"; do
        said=$("$@" "$program") || fail "$1 failed on $program"
        grep -Eq -- "$pattern" <<<"$said" || fail "${program##*/}: nothing in $* matches $pattern"
    done
}

none() { # PATTERN COMMAND [OPTION...]
    local pattern=$1 program said
    shift
    for program in "${programs[@]}"; do
        said=$("$@" "$program") || fail "$1 failed on $program"
        [[ -n $said ]] || fail "$* says nothing of $program"
        ! grep -E -- "$pattern" <<<"$said" || fail "${program##*/}: this is in $*"
    done
}

@test "programs can be loaded at any address" {
    each 'Type: +DYN' readelf -W --file-header
    each 'FLAGS_1.* PIE' readelf -W --dynamic
}

@test "no memory is both writable and executable, including the stack" {
    none '^ +[A-Z_]+ .* RWE ' readelf -W --program-headers
    each 'GNU_STACK .* RW ' readelf -W --program-headers
}

@test "constants and headers are not executable" {
    # The first table of the program headers has the permissions, the second the sections.
    codeOnly() {
        readelf -W --program-headers "$1" | awk '
            /^ +(LOAD|[A-Z_]+) +0x/ { executable[count++] = / R E / }
            /^ +[0-9][0-9] / { if (executable[$1 + 0] && /\.(rodata|dynsym|eh_frame)/) print "mixed" }
            END { print count, "segments" }'
    }
    each '^[1-9][0-9]* segments' codeOnly
    none mixed codeOnly
}

@test "tables of the loader become read-only before the program starts" {
    each 'GNU_RELRO' readelf -W --program-headers
    each 'FLAGS_1.* NOW' readelf -W --dynamic
    none '\(RPATH\)|\(RUNPATH\)|\(TEXTREL\)' readelf -W --dynamic
}

@test "an overwritten stack is detected" {
    each ' __stack_chk_fail@' readelf -W --dyn-syms
}

@test "library functions check the size of their buffers" {
    each ' __[a-z]+_chk@' readelf -W --dyn-syms
}

@test "an index outside a container ends the program" {
    each 'glibcxx_assert_fail' readelf -W --dyn-syms
}

@test "indirect jumps lead only to the start of functions, if the processor checks it" {
    [[ $(uname -m) == x86_64 ]] || skip "only on x86-64"
    start() { objdump --disassemble=main --no-show-raw-insn "$1" | grep -A 1 '<main>:'; }
    each endbr64 start
}

@test "a large stack frame cannot skip the guard page after the stack" {
    [[ $(uname -m) == x86_64 ]] || skip "only on x86-64"
    # Client and server have buffers of many pages; each page is touched in order.
    touches() { objdump --disassemble --no-show-raw-insn "$1" | grep -E 'or[lq] +\$0x0,\(%rsp\)'; }
    each 'rsp' touches
}
