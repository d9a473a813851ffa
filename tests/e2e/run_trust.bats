#!/usr/bin/env bats
# morvik-run accepts only known certificates of servers and good signatures of data files, with real gpg keys.

# shellcheck source-path=SCRIPTDIR source=../support/run.bash
source "$BATS_TEST_DIRNAME/../support/run.bash"

teardown() {
    stopServers
    [[ -z ${GNUPGHOME-} ]] || gpgconf --kill all
}

# --- certificates ---

makeAuthority() {
    openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 10 -subj /CN=authority \
        -keyout authority.key -out authority.pem 2>/dev/null
}

# The file NAME.pem has the certificate and its key.
makeCertificate() { # NAME SUBJECT-ALTERNATIVE-NAME [FROM TO]
    printf '[own]\nbasicConstraints=CA:FALSE\nsubjectAltName=%s\n' "$2" >extensions
    openssl req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj "/CN=$1" -keyout "$1.key" \
        -out "$1.csr" 2>/dev/null
    : >index
    openssl ca -batch -config <(printf '%s\n' '[ca]' 'default_ca=own' '[own]' 'database=index' 'rand_serial=yes' \
        'new_certs_dir=.' 'default_md=sha256' 'policy=any' '[any]' 'commonName=supplied') \
        -cert authority.pem -keyfile authority.key -in "$1.csr" -out "$1.crt" -notext -extfile extensions \
        -extensions own -startdate "${3-20250101000000Z}" -enddate "${4-20990101000000Z}" 2>/dev/null
    cat "$1.crt" "$1.key" >"$1.pem"
}

startHttps() { # CERTIFICATE [PORT]
    startServer "https$2" ready "$python" "$support/parts_http.py" --root "$files" --certificate "$1.pem" --port "$2"
}

@test "HTTPS: only a certificate of a known authority, in its time, for this server" {
    makeAuthority
    makeCertificate good IP:127.0.0.1,DNS:localhost
    makeCertificate expired IP:127.0.0.1 20200101000000Z 20210101000000Z
    makeCertificate early IP:127.0.0.1 20980101000000Z 20990101000000Z
    makeCertificate wrong DNS:other.example.com
    startMachine
    startGood
    startHttps good 8443
    startHttps expired 8444
    startHttps early 8445
    startHttps wrong 8446
    fans B 4 >"$files/1234wpk.txt"
    refused() { # PORT WORDS [SETTING...]
        runNight MORVIK_URL="https://127.0.0.1:$1" "${@:3}"
        ended 3 "cannot fetch https://127.0.0.1:$1/1234wpk.txt: $2" '4 entries stay published'
        goodStays
    }
    # Not the system's authorities.
    refused 8443 'SSL certificate problem: unable to get local issuer certificate'
    refused 8444 'SSL certificate problem: certificate has expired' MORVIK_CA=authority.pem
    refused 8445 'SSL certificate problem: certificate is not yet valid' MORVIK_CA=authority.pem
    refused 8446 'SSL: no alternative certificate subject name matches' MORVIK_CA=authority.pem
    # Trying again would not help.
    run ! grep -F 'tries)' "$err"
    runNight MORVIK_URL=https://127.0.0.1:8443 MORVIK_CA=missing.pem
    ended 1 'MORVIK_CA: error setting certificate file'
    runNight --url https://127.0.0.1:8443 --ca missing.pem
    ended 1 '--ca: error setting certificate file'
    runNight MORVIK_URL=https://127.0.0.1:8443 MORVIK_CA=authority.pem
    ended 0 'published 4 entries of https://127.0.0.1:8443/1234wpk.txt'
}

@test "HTTPS: a redirection to HTTP is not followed" {
    makeAuthority
    makeCertificate good IP:127.0.0.1
    startMachine
    startServer http ready "$python" "$support/parts_http.py" --root "$files"
    startServer https ready "$python" "$support/parts_http.py" --root "$files" --certificate good.pem \
        --port 8443 --fault fault
    fans B 4 >"$files/1234wpk.txt"
    printf 'redirect http://127.0.0.1:8080\n' >fault
    runNight MORVIK_URL=https://127.0.0.1:8443 MORVIK_CA=authority.pem
    ended 3 'it redirects to another protocol than https; the server answered: HTTP/1.0 302'
    printf 'redirect https://127.0.0.1:8443\n' >fault
    runNight MORVIK_URL=http://127.0.0.1:8080 MORVIK_CA=authority.pem
    ended 0
}

# --- signatures ---

makeKey() { # NAME [EXPIRES]
    local time=(--faked-system-time 20200101T000000)
    [[ -z ${2-} ]] || time=()
    # The agent that this starts must not hold what bats waits for. Lists can be signed since then.
    gpg --batch --quiet --passphrase '' "${time[@]}" \
        --quick-generate-key "$1" ed25519 sign "${2-never}" 2>/dev/null 3>&-
}

startKeys() {
    export GNUPGHOME=$BATS_TEST_TMPDIR/keys
    mkdir -m 700 "$GNUPGHOME"
    makeKey maker
    gpg --batch --export maker >keyring.gpg
}

# Signs the files of $files, as docs/parts-server.md shows it.
sign() { # KEY [GPG-OPTION...]
    (cd "$files" && rm -f SHA256SUMS* && sha256sum -- *wpk.txt >SHA256SUMS &&
        gpg --batch --quiet --local-user "$1" "${@:2}" --detach-sign --output SHA256SUMS.gpg SHA256SUMS)
}

runSigned() { # [OPTION...]
    runNight MORVIK_FILES="$files" MORVIK_KEYRING="$PWD/keyring.gpg" "$@"
}

refusedAs() { # WORDS
    runSigned
    ended 4 "1234wpk.txt cannot be verified: $1" '4 entries stay published'
    goodStays
}

@test "signed data files: published if the key is in the keyring, otherwise refused" {
    startKeys
    startMachine
    startGood
    fans B 4 >"$files/1234wpk.txt"
    refusedAs "$files/SHA256SUMS does not exist"
    sign maker
    rm "$files/SHA256SUMS.gpg"
    refusedAs "$files/SHA256SUMS.gpg does not exist"
    sign maker
    fans C 4 >"$files/1234wpk.txt"
    refusedAs 'the sum of 1234wpk.txt is not that in SHA256SUMS'
    sed -i 's/^./0/' "$files/SHA256SUMS"
    refusedAs 'the signature does not fit the list'
    sign maker
    head -c 40 "$files/SHA256SUMS.gpg" >half
    cp half "$files/SHA256SUMS.gpg"
    refusedAs ''
    : >"$files/SHA256SUMS.gpg"
    refusedAs ''
    makeKey other
    sign other
    refusedAs 'the key that signed is not in the keyring'
    sign maker --digest-algo SHA1
    refusedAs ''
    sign maker
    runSigned
    ended 0 'published 4 entries'
    publishedNumbersAre C1 C2 C3 C4
}

@test "a key that has expired, and a signature that has" {
    startKeys
    makeKey short seconds=2
    makeKey long
    gpg --batch --export short long >keyring.gpg
    startMachine
    startGood
    fans B 4 >"$files/1234wpk.txt"
    sign short
    sleep 3
    refusedAs 'the key that signed has expired'
    sign long --default-sig-expire seconds=1
    sleep 2
    refusedAs 'the signature has expired'
}

@test "one good signature is enough, for the time when a maker changes the key" {
    startKeys
    makeKey new
    startMachine
    fans B 4 >"$files/1234wpk.txt"
    sign maker --local-user new
    runSigned
    ended 0 'published 4 entries'
}

@test "an older signed list is refused, unless it is forced" {
    startKeys
    startMachine
    fans A 4 >"$files/1234wpk.txt"
    sign maker --faked-system-time '20240101T000000!'
    cp -r "$files" old
    sign maker --faked-system-time '20240201T000000!'
    runSigned
    ended 0
    fans B 4 >"$files/1234wpk.txt"
    sign maker --faked-system-time '20240301T000000!'
    runSigned
    ended 0 '4 added, 4 removed'
    cp old/* "$files"
    runSigned
    ended 4 'it was signed at 2024-01-01T00:00:00Z, but the last good one at 2024-03-01T00:00:00Z'
    publishedNumbersAre B1 B2 B3 B4
    # A night without signatures forgets nothing.
    fans B 4 >"$files/1234wpk.txt"
    runFiles
    ended 0
    cp old/* "$files"
    runSigned
    ended 4 'it was signed at'
    runSigned --force
    ended 0
    goodStays
    runSigned
    ended 0 'nothing has changed'
}

@test "a maker who replaces the files at this moment: a second try a little later" {
    startKeys
    startMachine
    startGood
    fans B 4 >"$files/1234wpk.txt"
    sign maker
    cp "$files/1234wpk.txt" complete
    fans C 4 >"$files/1234wpk.txt"
    (sleep 1 && mv complete "$files/1234wpk.txt") 3>&- &
    local maker=$!
    runSigned MORVIK_RETRY_PAUSE=3
    ended 0 'published 4 entries'
    publishedNumbersAre B1 B2 B3 B4
    wait "$maker"
}

@test "an unchanged file is verified again only with another keyring" {
    startKeys
    startMachine
    startServer http ready "$python" "$support/parts_http.py" --root "$files" --log requests
    fans A 4 >"$files/1234wpk.txt"
    sign maker
    runByHttp() { runNight MORVIK_URL=http://127.0.0.1:8080 MORVIK_KEYRING=keyring.gpg; }
    runByHttp
    ended 0 'published 4 entries'
    : >requests
    runByHttp
    ended 0 'nothing has changed'
    equal '304 /1234wpk.txt conditional' "$(cat requests)" 'the requests'
    makeKey other
    gpg --batch --export other >keyring.gpg
    runByHttp
    ended 4 'the key that signed is not in the keyring'
}

@test "a keyring that cannot be used: status 1" {
    startKeys
    startMachine
    fans A 4 >"$files/1234wpk.txt"
    sign maker
    runSigned --keyring missing.gpg
    ended 1 "--keyring: cannot read $PWD/missing.gpg: No such file or directory"
    gpg --batch --armor --export maker >armored.gpg
    runSigned --keyring armored.gpg
    ended 1 'is armored; convert it with gpg --dearmor'
    runNight PATH="$PWD" MORVIK_FILES="$files" MORVIK_KEYRING=keyring.gpg
    ended 1 'cannot start gpgv'
    publishedAre <<<''
}

@test "signed files by HTTPS and FTP" {
    startKeys
    makeAuthority
    makeCertificate good IP:127.0.0.1
    startMachine
    fans A 4 >"$files/1234wpk.txt"
    sign maker
    startHttps good 8443
    runNight MORVIK_URL=https://127.0.0.1:8443 MORVIK_CA=authority.pem MORVIK_KEYRING=keyring.gpg
    ended 0 'published 4 entries'
    startFtp
    fans B 4 >"$files/1234wpk.txt"
    sign maker
    cp "$files"/* "$parts/pc/dolmex/bp_server"
    runNight MORVIK_SERVER=127.0.0.1 MORVIK_KEYRING=keyring.gpg
    ended 0 '4 added, 4 removed'
}
