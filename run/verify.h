// Whether a data file is one that the keys of a keyring have signed: by a list of SHA-256 sums,
// SHA256SUMS, and its detached signature, SHA256SUMS.gpg.
#pragma once

#include <cstdint>
#include <string>

#include "outcome.h"
#include "settings.h"

namespace run {

// The sum of these bytes in 64 lower-case hexadecimal digits.
std::string sha256(const std::string& text);

// Throws Failure(refused) if the list does not have this sum, in either case, under this name.
void checkSum(const std::string& sums, const std::string& name, const std::string& text);

// When the list was signed, by the status lines of gpgv. Throws Failure(refused) unless one
// signature is good, by a key that is neither expired nor revoked, and none is bad. Times are
// seconds since 1970; gpgv cannot check a key that is younger than `now`.
std::int64_t readStatus(const std::string& statusLines, std::int64_t now);

// Throws Failure(refused) if a list was signed before the last good one, whose time is 0 if there
// is none, or after `now`: later lists, which the maker signs by a clock that is right, would be
// older.
void checkAge(std::int64_t signedAt, std::int64_t lastGood, std::int64_t now);

// The sum of the keyring itself. Throws Failure(badUse) if it cannot be used.
std::string keyringSum(const Setting& keyring);

// Has gpgv check the signature against the keyring, and returns when it was made. Both files are
// written into the directory. Throws Failure: refused, or badUse if gpgv or the keyring cannot be
// used.
std::int64_t checkSignature(const std::string& sums, const std::string& signature,
                            const std::string& keyring, const std::string& directory,
                            const Deadline& deadline);

}  // namespace run
