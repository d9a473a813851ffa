#!/usr/bin/env bats
# An installation: all files in their places, units that systemd accepts, the nightly run, completions, and
# the same version everywhere.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() {
    enterWorkDirectory
    build=$(cd "$MORVIK_BIN_DIR/.." && pwd)
    tree=$BATS_TEST_TMPDIR/tree
    prefix=$(cached CMAKE_INSTALL_PREFIX)
    etc=$prefix/etc
    [[ $prefix != /usr ]] || etc=/etc
}

teardown() { stopServers; }

cached() { # NAME
    sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"
}

installTree() { # [COMPONENT]
    DESTDIR=$tree cmake --install "$build" ${1+--component "$1"} >"$BATS_TEST_TMPDIR/install.log"
}

# The installed files: those below the prefix without it, those in /etc with it.
installed() {
    (cd "$tree" && find . -type f -printf '/%P\n') | sed "s|^$etc/|etc/|; s|^$prefix/||" | LC_ALL=C sort
}

documents() {
    printf 'share/doc/morvik/%s\n' CHANGELOG.md CONTRIBUTING.md LICENSE README.md SECURITY.md
    (cd "$project" && printf 'share/doc/morvik/%s\n' docs/*.{md,json,png} docs/dev/*)
}

toolFiles() {
    cat <<'END'
bin/morvik-lint
bin/morvik-show
etc/default/morvik
lib/systemd/system/morvik.service
lib/systemd/system/morvik.timer
lib/sysusers.d/morvik.conf
lib/tmpfiles.d/morvik.conf
sbin/morvik
sbin/morvik-run
share/bash-completion/completions/morvik
share/bash-completion/completions/morvik-lint
share/bash-completion/completions/morvik-run
share/bash-completion/completions/morvik-show
share/fish/vendor_completions.d/morvik-lint.fish
share/fish/vendor_completions.d/morvik-run.fish
share/fish/vendor_completions.d/morvik-show.fish
share/fish/vendor_completions.d/morvik.fish
share/man/man1/morvik-lint.1
share/man/man1/morvik-show.1
share/man/man5/fru.txt.5
share/man/man8/morvik-run.8
share/man/man8/morvik.8
share/morvik/schema/kvaxdt-dmtf.mof
share/morvik/schema/kvaxdt.mof
share/morvik/schema/qualifiers.mof
share/morvik/schema/samples/parts/1234wpk.txt
share/morvik/schema/samples/parts/2345wpk.txt
share/morvik/schema/samples/parts/3456wpk.txt
share/morvik/schema/samples/parts/4567wpk.txt
share/morvik/schema/samples/rack-4567.mof
share/morvik/schema/samples/server-1234.mof
share/morvik/schema/samples/server-2345.mof
share/morvik/schema/samples/workstation-3456.mof
share/zsh/site-functions/_morvik
END
    documents
}

serverFiles() {
    cat <<'END'
etc/default/morvik-cimd
lib/systemd/system/morvik-cimd.service
lib/systemd/system/morvik-cimd.socket
lib/sysusers.d/morvik-cimd.conf
sbin/morvik-cimd
share/bash-completion/completions/morvik-cimd
share/fish/vendor_completions.d/morvik-cimd.fish
share/man/man8/morvik-cimd.8
share/zsh/site-functions/_morvik-cimd
END
}

@test "each component installs its files, and both together nothing else" {
    installTree tool
    equal "$(toolFiles | LC_ALL=C sort)" "$(installed)" 'the files of the tool'
    installTree server
    equal "$({ toolFiles; serverFiles; } | LC_ALL=C sort)" "$(installed)" 'the files of both'
    rm -r "$tree"
    installTree
    equal "$({ toolFiles; serverFiles; } | LC_ALL=C sort)" "$(installed)" 'all files'
}

@test "files named in units, settings and manual pages exist" {
    installTree
    local file names
    names=$(cd "$tree" && grep -rhoE "($prefix|$etc)/[A-Za-z0-9_./-]*[A-Za-z0-9_]" \
        ".$prefix/lib" ".$etc" ".$prefix/share/man" | sort -u)
    [[ $names == *"$prefix/sbin/morvik-cimd"* && $names == *"$etc/default/morvik"* ]]
    for file in $names; do
        [[ -e $tree$file || $file == /etc/redhat-release || $file == /etc/morvik/* ]] ||
            { printf '%s does not exist\n' "$file" >&2; return 1; }
    done
}

@test "existing settings are not changed" {
    installTree
    echo mine >"$tree$etc/default/morvik"
    installTree
    equal mine "$(cat "$tree$etc/default/morvik")" 'the settings of the tool'
    rm "$tree$etc/default/morvik"
    installTree
    grep -q MORVIK_SERVER "$tree$etc/default/morvik"
}

@test "systemd accepts the units" {
    command -v systemd-analyze >/dev/null || skip 'no systemd here'
    installTree
    mkdir units
    local unit
    for unit in "$tree$prefix"/lib/systemd/system/*; do
        sed -E "s#^(Exec[A-Za-z]+=[!-]?)$prefix/#\1$tree$prefix/#" "$unit" >"units/$(basename "$unit")"
    done
    systemd-analyze verify --man=no units/* 2>findings || { cat findings >&2; return 1; }
    equal '' "$(grep -F "$PWD/units" findings || true)" 'what systemd finds'
}

# --- the nightly run ---

@test "the service runs the installed morvik-run, which finds the installed morvik" {
    installTree tool
    equal "ExecStart=$prefix/sbin/morvik-run" "$(grep ^ExecStart= "$tree$prefix/lib/systemd/system/morvik.service")" \
        'the command of the service'
    startMachine
    printf '"A1","FAN","","Fan"\n' >mine
    runInstead env -i STATE_DIRECTORY="$PWD/state" MORVIK_FILE="$PWD/mine" "$tree$prefix/sbin/morvik-run"
    said "published 1 entry of $PWD/mine: 1 added, 0 removed\n"
    publishedNumbersAre A1
}

@test "the settings file names every variable that morvik-run reads, and no other" {
    installTree tool
    equal "$("$MORVIK_BIN_DIR/morvik-run" --help | grep -oE 'MORVIK_[A-Z_]+' | sort)" \
        "$(grep -oE '^#MORVIK_[A-Z_]+' "$tree$etc/default/morvik" | tr -d '#' | sort)" 'the variables'
}

# --- completions: scripts/test-packages tries them in each shell ---

# The long options in a text.
optionsIn() { # (the text comes from standard input)
    grep -oE -- '--[a-z][a-z-]+' | sort -u | paste -sd ' '
}

# What bash offers a program for an option.
offered() { # PROGRAM
    # shellcheck disable=SC2016 # expanded by the shell inside
    bash -c 'source "$1" && _morvik "$2" -- && printf "%s\n" "${COMPREPLY[@]}"' bash "$completions/morvik.bash" "$1"
}

@test "the completions have all options of the programs, all categories, and nothing else" {
    local program options all='' completions=$project/packaging/completions shell
    for program in morvik-cimd morvik-lint morvik-run morvik-show; do
        options=$("$MORVIK_BIN_DIR/$program" --help | optionsIn)
        all+=" $options"
        equal "$options" "$(offered "$program" | optionsIn)" "bash, $program"
        equal "$options" "$(sed -n "/^local common=/p; /^$program)/,/;;/p" "$completions/morvik.zsh" | optionsIn)" \
            "zsh, $program"
        equal "$options" "$(sed -n "/^case $program\$/,/^case\|^end/p; /^if /,/^end/p" "$completions/morvik.fish" |
            sed -n 's/.* -l \([a-z-]*\).*/--\1/p' | optionsIn)" "fish, $program"
    done
    equal "$(optionsIn <<<"$all")" "$(optionsIn <"$completions/morvik.bash")" 'all options that bash knows'
    for shell in bash zsh fish; do
        equal 'PROCESSOR MEMORY KEYBOARD PLANAR CDROM FLOPPY OPTIONSP FAN BACKPLANE' \
            "$(grep -oE '\<([A-Z]+ ){8}[A-Z]+\>' "$completions/morvik.$shell")" "$shell, categories"
    done
}

# Types COMMAND TEXT in an interactive bash, inserts all completions, and prints the arguments.
completed() { # COMMAND TEXT
    printf '%s\n' 'PS1= PS2=' "source '$project/packaging/completions/morvik.bash'" \
        "$1() { printf '%s\n' \"\$@\" >completions; }" "$1 $2"$'\e*' exit >typed
    rm -f completions
    TERM=dumb timeout "$patience" script -qec 'bash --norc --noprofile -i' /dev/null <typed >/dev/null 2>&1
    paste -sd ' ' completions
}

@test "bash completes options, words and files" {
    mkdir files
    touch files/a.mof files/b.txt
    equal '-d -s' "$(completed morvik '-')" 'options of morvik'
    equal '--log-level debug error info warning' "$(completed morvik-cimd '--log-level ')" levels
    equal 'files/a.mof' "$(completed morvik-cimd 'files/')" 'MOF files'
    equal '--store files/a.mof files/b.txt' "$(completed morvik-cimd '--store files/')" 'files of a store'
    equal 'files/a.mof files/b.txt' "$(completed morvik-lint 'files/')" 'data files of morvik-lint'
    equal '--missing ok' "$(completed morvik-run '--missing o')" 'words of morvik-run'
    equal '--category FAN FLOPPY' "$(completed morvik-show '--category F')" categories
    equal '--explain files/a.mof files/b.txt' "$(completed morvik-show '--explain files/')" 'data files'
}

# --- the version ---

@test "programs and manual pages have the version of the project" {
    local version page
    version=$(sed -n 's/^project(morvik VERSION \([0-9.]*\).*/\1/p' "$project/CMakeLists.txt")
    [[ -n $version ]]
    equal "morvik-cimd $version" "$("$cimd" --version)" 'the version of morvik-cimd'
    equal "morvik-run $version" "$("$MORVIK_BIN_DIR/morvik-run" --version)" 'the version of morvik-run'
    equal "morvik-lint $version" "$("$MORVIK_BIN_DIR/morvik-lint" --version)" 'the version of morvik-lint'
    [[ ! -x $MORVIK_BIN_DIR/morvik-show ]] ||
        equal "morvik-show $version" "$("$MORVIK_BIN_DIR/morvik-show" --version)" 'the version of morvik-show'
    installTree
    for page in "$tree$prefix"/share/man/man*/*; do
        mandoc "$page" | tail -n 1 | grep -qF "morvik $version" ||
            { printf '%s does not have the version\n' "$page" >&2; return 1; }
    done
}

@test "the change log has an entry for the version, or for unreleased changes" {
    local version
    version=$(cached CMAKE_PROJECT_VERSION)
    [[ -n $version ]]
    grep -qE "^## \[(Unreleased|${version//./\\.})\]" "$project/CHANGELOG.md"
}

@test "the sources of Debian's and Fedora's packages have the version, and install all programs" {
    local version program
    version=$(cached CMAKE_PROJECT_VERSION)
    equal "morvik ($version)" "$(sed -n '1s/ unstable;.*//p' "$project/debian/changelog")" 'debian/changelog'
    equal "$version" "$(sed -n 's/^Version: *//p' "$project/packaging/morvik.spec")" 'the version in morvik.spec'
    equal "morvik-$version.tar.gz" "$(grep -oE 'morvik-[0-9.]+\.tar\.gz' "$project/docs/install.md")" 'docs/install.md'
    installTree
    for program in "$tree$prefix"/sbin/*; do
        grep -qx "%{_sbindir}/${program##*/}" "$project/packaging/morvik.spec"
    done
}

# --- a release ---

# A repository with the files of this one, ready for a release.
startRepository() {
    local version
    version=$(cached CMAKE_PROJECT_VERSION)
    mkdir repository
    # As git knows them, or all of an unpacked archive.
    if ! git -C "$project" ls-files -z >names 2>/dev/null || [[ ! -s names ]]; then
        (cd "$project" && find . -path ./build -prune -o -type f -print0) >names
    fi
    tar -c -C "$project" --null --files-from=names | tar -x -C repository
    cd repository || return
    sed -i "0,/^## \[Unreleased\]/s//## [$version] - 2026-11-22/" CHANGELOG.md
    git init -q .
    git config user.name tester
    git config user.email tester@example.com
    commit
}

commit() {
    git add -A
    GIT_AUTHOR_DATE='2026-11-22T12:00:00Z' GIT_COMMITTER_DATE='2026-11-22T12:00:00Z' git commit -q -m "$(date +%N)"
}

@test "a release: the same commit makes the same files, with sums and a bill of materials" {
    command -v dpkg-parsechangelog >/dev/null || skip 'not a Debian system'
    startRepository
    scripts/release --output ../one >../said
    grep -q 'files of the commit$' ../said
    git clone -q . ../elsewhere
    (umask 077 && cd ../elsewhere && TZ=Asia/Tokyo scripts/release --output ../two >/dev/null)
    (cd ../one && sha256sum --quiet --check SHA256SUMS)
    diff -r ../one ../two
    # It is whole: what git has, and the bill of materials of exactly that.
    tar -x -f ../one/morvik-*.tar.gz -C ..
    diff -r --exclude .git . ../morvik-*/
    equal "$(git ls-files | LC_ALL=C sort)" "$(jq -r '.files[].fileName' ../one/*.json | sed 's#^./##' | LC_ALL=C sort)" \
        'the files of the bill of materials'
    scripts/sbom.py --check ../one/*.json --tree ../morvik-*/
    echo >>../morvik-*/LICENSE
    run ! scripts/sbom.py --check ../one/*.json --tree ../morvik-*/
}

@test "no release of what is not committed, nor of versions that differ" {
    command -v dpkg-parsechangelog >/dev/null || skip 'not a Debian system'
    startRepository
    refused() { # WORDS
        if scripts/release --output ../files >../said 2>&1; then return 1; fi
        grep -qF "$1" ../said
        [[ -z $(ls -A ../files) ]]
    }
    echo >>README.md
    refused 'there are changes that are not committed'
    git checkout -q README.md
    local file
    for file in debian/changelog packaging/morvik.spec CHANGELOG.md; do
        sed -i 's/0\.1\.0/0.1.1/' "$file"
        commit
        refused "$file"
        sed -i 's/0\.1\.1/0.1.0/' "$file"
        commit
    done
}
