#!/usr/bin/env bats
# A CIM server whose answer to one operation is wrong or unusual as HTTP. What each outcome means for
# each operation, and why, is in fault_table.bash; here stands which fault has which outcome.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"
# shellcheck source=../support/fault_table.bash
source "$BATS_TEST_DIRNAME/../support/fault_table.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# --- statuses: only 200 is an answer; nothing is repeated, followed or logged in to ---

@test "400: Bad Request" { everywhere 'status 400' failed new; }

@test "401: a challenge is not taken up, there is no user to log in" { everywhere 'status 401' failed new; }

@test "403: Forbidden" { everywhere 'status 403' failed new; }

@test "404: Not Found" { everywhere 'status 404' failed new; }

@test "407: a proxy's challenge" { everywhere 'status 407' failed new; }

@test "413: Too Large" { everywhere 'status 413' failed new; }

@test "500 with a CIMError" { everywhere 'status 500' failed new; }

@test "501: Not Implemented" { everywhere 'status 501' failed new; }

@test "503 that asks to try again at once" { everywhere 'status 503' failed new; }

@test "301 to another server is not followed" { everywhere 'status 301' failed new; }

@test "302 to another server is not followed" { everywhere 'status 302' failed new; }

@test "303 to another server is not followed" { everywhere 'status 303' failed new; }

@test "307 to the same server is not followed" { everywhere 'status 307' failed new; }

@test "308 to another server is not followed" { everywhere 'status 308' failed new; }

@test "101: another protocol, for which nobody asked" { everywhere 'status 101' failed new; }

@test "202, with a good answer" { everywhere 'status 202' lost new; }

@test "204, with a good answer" { everywhere 'status 204' lost new; }

@test "206, with a good answer" { everywhere 'status 206' lost new; }

@test "999" { everywhere 'status 999' failed new; }

# --- headers ---

@test "no CIMOperation" { everywhere missing-header lost new; }

@test "another CIMOperation than MethodResponse" { everywhere wrong-header lost new; }

@test "a type other than XML" { everywhere 'content-type text/html' lost new; }

@test "a type of many parts" { everywhere 'content-type multipart/mixed;boundary=x' lost new; }

@test "a byte that no header may have" { everywhere bad-header lost new; }

@test "a version of HTTP that is not 1" { everywhere http-2 lost new; }

@test "a status line without a status" { everywhere status-line-without-number lost new; }

# --- lengths and chunks ---

@test "a length that cuts the body" { everywhere length-of-less lost new; }

@test "a length past the body, which then ends" { everywhere length-of-more lost new; }

@test "a length past every limit" { everywhere length-of-too-much lost new; }

@test "a length past any number" { everywhere length-past-any-number lost new; }

@test "a negative length" { everywhere negative-length lost new; }

@test "a length that is no number" { everywhere length-without-number lost new; }

@test "two lengths that differ" { everywhere two-lengths lost new; }

@test "chunks and a length" { everywhere chunked-with-length lost new; }

@test "a chunk size that is no number" { everywhere bad-chunk-size lost new; }

@test "a chunk size past any number" { everywhere overflowing-chunk-size lost new; }

@test "a chunk that is shorter than its size" { everywhere wrong-chunk-size lost new; }

@test "a trailer with an error: it makes a failure of the answer, but not of the connection" {
    everywhere error-in-trailer failed same
}

@test "a trailer with an error that is no number" { everywhere bad-trailer lost new; }

# --- too much: refused where it passes the limit, with memory for no more than that ---

@test "a body of 70 MiB" { everywhere huge failed new; }

@test "a body of 70 MiB in chunks" { MORVIK_MEMORY=large everywhere huge-chunked failed new; }

@test "2 MiB of headers" { everywhere many-headers failed new; }

@test "a header of 2 MB" { everywhere long-header failed new; }

@test "a status line of 2 MB" { everywhere long-status-line failed new; }

@test "a hundred thousand interim answers" { everywhere many-interim failed new; }

@test "a chunk extension of 2 MB" { everywhere long-extension failed new; }

@test "a hundred thousand trailers" { everywhere many-trailers lost new; }

# --- codings that nobody asked for: never unpacked ---

@test "a body packed with gzip" { everywhere gzip lost new; }

@test "a body of 100 MiB packed with gzip" { everywhere gzip-bomb lost new; }

@test "a body packed with gzip, which the header does not tell" { everywhere gzip-unsaid lost new; }

@test "a transfer packed with gzip" { everywhere transfer-gzip lost new; }

# --- unusual, and good ---

@test "chunks" { everywhere chunked good same; }

@test "trailers without an error" { everywhere trailers good same; }

@test "no length: the end of the connection is the end of the answer" { everywhere no-length good new; }

@test "HTTP/1.0, which ends with the connection" { everywhere http-1.0 good new; }

@test "padded lengths, lower-case names, text/xml, extra headers" { everywhere unusual-headers good same; }

@test "an interim answer first" { everywhere interim good same; }
