#!/usr/bin/env bats
# What the compiler and the linker put into the programs so that a mistake in them is hard to make
# use of. Each test looks at every program that the build has made.

setup() {
    programs=("${MORVIK_BIN_DIR:?}"/*)
    ((${#programs[@]} >= 2)) || fail "no programs in $MORVIK_BIN_DIR"
}

fail() { # TEXT
    printf '%s\n' "$1" >&2
    return 1
}

# The text in what the command says about each program. A command that is missing is no proof.
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

@test "no memory is both writable and executable, the stack neither" {
    none '^ +[A-Z_]+ .* RWE ' readelf -W --program-headers
    each 'GNU_STACK .* RW ' readelf -W --program-headers
}

@test "constants and headers are no code" {
    # Of the program headers, the first table tells the rights, the second the sections of each.
    codeOnly() {
        readelf -W --program-headers "$1" | awk '
            /^ +(LOAD|[A-Z_]+) +0x/ { executable[count++] = / R E / }
            /^ +[0-9][0-9] / { if (executable[$1 + 0] && /\.(rodata|dynsym|eh_frame)/) print "mixed" }
            END { print count, "segments" }'
    }
    each '^[1-9][0-9]* segments' codeOnly
    none mixed codeOnly
}

@test "tables of the loader become read-only before the program runs" {
    each 'GNU_RELRO' readelf -W --program-headers
    each 'FLAGS_1.* NOW' readelf -W --dynamic
    none '\(RPATH\)|\(RUNPATH\)|\(TEXTREL\)' readelf -W --dynamic
}

@test "a stack that has been written over is noticed" {
    each ' __stack_chk_fail@' readelf -W --dyn-syms
}

@test "library functions know the size of what they write to" {
    each ' __[a-z]+_chk@' readelf -W --dyn-syms
}

@test "an index outside a container ends the program" {
    each 'glibcxx_assert_fail' readelf -W --dyn-syms
}

@test "jumps end only where a function begins, where the processor checks it" {
    [[ $(uname -m) == x86_64 ]] || skip "other processors have other means"
    start() { objdump --disassemble=main --no-show-raw-insn "$1" | grep -A 1 '<main>:'; }
    each endbr64 start
}

@test "a large stack frame cannot jump over the guard behind the stack" {
    [[ $(uname -m) == x86_64 ]] || skip "other processors have other means"
    # The client and the server read into buffers of many pages: each page is touched in turn.
    touches() { objdump --disassemble --no-show-raw-insn "$1" | grep -E 'or[lq] +\$0x0,\(%rsp\)'; }
    each 'rsp' touches
}
