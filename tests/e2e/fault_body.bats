#!/usr/bin/env bats
# A CIM server whose answer to one operation has a wrong or unusual body. What each outcome means for
# each operation, and why, is in fault_table.bash; here stands which fault has which outcome.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"
# shellcheck source=../support/fault_table.bash
source "$BATS_TEST_DIRNAME/../support/fault_table.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

# --- not well-formed: no part of it counts ---

@test "an empty body" { everywhere empty-body lost new; }

@test "a body that is not XML" { everywhere not-xml lost new; }

@test "a web page" { everywhere html lost new; }

@test "a document cut short" { everywhere cut-xml lost new; }

@test "an element that ends by another name" { everywhere mismatched-end lost new; }

@test "a second root" { everywhere two-roots lost new; }

@test "text behind the root" { everywhere text-behind lost new; }

@test "an attribute twice" { everywhere duplicate-attribute lost new; }

@test "bytes that are not UTF-8" { everywhere bad-utf8 lost new; }

@test "a character in more bytes of UTF-8 than it needs" { everywhere overlong-utf8 lost new; }

@test "half a surrogate pair in UTF-8" { everywhere surrogate-utf8 lost new; }

@test "UTF-16" { everywhere utf-16 lost new; }

@test "a NUL byte" { everywhere nul lost new; }

@test "a control character" { everywhere control-character lost new; }

@test "a reference to a character that XML does not have" { everywhere bad-reference lost new; }

# --- document types and entities: refused as such, nothing is expanded, opened or fetched ---

@test "entities that multiply" { everywhere entities lost new; }

@test "an entity that names a file" { everywhere file-entity lost new; }

@test "an entity that names a server" { everywhere network-entity lost new; }

@test "a parameter entity that names a server" { everywhere parameter-entity lost new; }

@test "a document type that names a server" { everywhere document-type lost new; }

@test "an entity that nobody has declared" { everywhere undefined-entity lost new; }

# --- too deep, too many, too long ---

@test "200000 elements within one another" { everywhere deep lost new; }

@test "100000 attributes of one element" { everywhere many-attributes lost new; }

@test "9000000 elements" { MORVIK_MEMORY=large everywhere many-elements lost new; }

@test "an element with a name of 2 MB" { everywhere long-name lost new; }

# --- well-formed, and not the answer ---

@test "another message ID" { everywhere wrong-id lost new; }

@test "no message ID" { everywhere missing-id lost new; }

@test "the answer to another operation" { everywhere wrong-operation lost new; }

@test "no response element" { everywhere no-response-element lost new; }

@test "a request" { everywhere request lost new; }

@test "two answers in one message" { everywhere two-answers lost new; }

@test "two messages" { everywhere two-messages lost new; }

@test "an element that no answer has" { everywhere unknown-element lost new; }

@test "a result that no operation has; that of a deletion is not looked at" {
    everywhere foreign-result lost new deletion=good/same
}

# --- errors: the server has answered, so the connection may stay ---

@test "a CIM error" { everywhere 'error 1' failed same; }

@test "a CIM error with a code that does not exist" { everywhere 'error 4711' failed same; }

@test "a CIM error for every creation, and for every operation" {
    everyOperation='creations all' everywhere 'error 1' failed same
}

@test "a CIM error behind a result" { everywhere error-behind-result lost same; }

@test "a CIM error without a code" { everywhere error-without-code failed new; }

@test "a CIM error whose code is no number" { everywhere error-without-number lost new; }

@test "a CIM error with the code of success" { everywhere error-of-success lost new; }

@test "a CIM error with a code past any number" { everywhere error-past-any-number lost new; }

# --- unusual, and good ---

@test "a byte order mark" { everywhere byte-order-mark good same; }

@test "comments and processing instructions outside the root" { everywhere instructions good same; }

@test "a comment of 20 MB" { MORVIK_MEMORY=large everywhere long-comment good same; }
