#include "verify.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "file.h"
#include "process.h"
#include "text.h"
#include "text/ascii.h"

namespace run {

namespace {

// gpgv takes a fraction of a second.
constexpr std::chrono::seconds gpgvLimit{30};
constexpr std::size_t sumDigits = 64;

std::vector<std::string> wordsIn(const std::string& line) {
  std::istringstream text(line);
  std::vector<std::string> words;
  for (std::string word; text >> word;) {
    words.push_back(word);
  }
  return words;
}

// "SUM  NAME", or "SUM *NAME" for what sha256sum calls binary; a name may begin with "./".
std::optional<std::string> sumIn(const std::string& line, const std::string& name) {
  if (line.size() < sumDigits + 3 || line[sumDigits] != ' ' ||
      (line[sumDigits + 1] != ' ' && line[sumDigits + 1] != '*')) {
    return std::nullopt;
  }
  std::string_view own = std::string_view(line).substr(sumDigits + 2);
  own.remove_prefix(own.starts_with("./") ? 2 : 0);
  own.remove_suffix(own.ends_with('\r') ? 1 : 0);
  if (own != name) {
    return std::nullopt;
  }
  std::string sum = line.substr(0, sumDigits);
  std::transform(sum.begin(), sum.end(), sum.begin(), Pegasus::text::lowered<char>);
  return sum;
}

std::string timeWords(std::int64_t seconds) {
  return show::timeText(std::chrono::system_clock::time_point(std::chrono::seconds(seconds)));
}

// Clocks differ, and so do time zones in which they are set.
bool isAfter(std::int64_t time, std::int64_t now) {
  constexpr std::int64_t day = 86400;
  return time > now + day;
}

std::string futureWords(std::int64_t signedAt, std::int64_t now) {
  return "it was signed at " + timeWords(signedAt) + ", but the clock of this machine is at " +
         timeWords(now);
}

std::optional<std::int64_t> numberIn(const std::string& text) {
  std::int64_t number = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
  return parsed.ec == std::errc() ? std::optional(number) : std::nullopt;
}

// The fault of a signature, by the keyword of its status line.
const char* faultOf(const std::string& keyword) {
  constexpr std::array<std::array<const char*, 2>, 7> faults{
      {{"BADSIG", "the signature does not fit the list"},
       {"EXPKEYSIG", "the key that signed has expired"},
       {"EXPSIG", "the signature has expired"},
       {"REVKEYSIG", "the key that signed is revoked"},
       {"NO_PUBKEY", "the key that signed is not in the keyring"},
       {"ERRSIG", "the signature cannot be checked"},
       {"NODATA", "there is no signature in SHA256SUMS.gpg"}}};
  for (const auto& [word, fault] : faults) {
    if (keyword == word) {
      return fault;
    }
  }
  return nullptr;
}

}  // namespace

std::string sha256(const std::string& text) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> sum{};
  unsigned size = 0;
  if (EVP_Digest(text.data(), text.size(), sum.data(), &size, EVP_sha256(), nullptr) != 1) {
    throw std::runtime_error("cannot compute SHA-256");
  }
  std::string digits;
  for (unsigned i = 0; i < size; ++i) {
    constexpr std::string_view all = "0123456789abcdef";
    digits += all[sum.at(i) >> 4U];
    digits += all[sum.at(i) & 0xFU];
  }
  return digits;
}

std::string keyringSum(const Setting& keyring) {
  constexpr std::size_t mostKeyringBytes = 16777216;
  const auto refuseKeyring = [&](const std::string& words) {
    throw Failure(Status::badUse, std::string(keyring.name) + ": " + words);
  };
  std::string text;
  try {
    text = show::readFile(keyring.text, mostKeyringBytes);
  } catch (const std::system_error& error) {
    refuseKeyring("cannot read " + harmless(keyring.text) + ": " + error.code().message());
  }
  if (text.starts_with("-----BEGIN")) {
    refuseKeyring(harmless(keyring.text) + " is armored; convert it with gpg --dearmor");
  }
  return sha256(text);
}

void checkSum(const std::string& sums, const std::string& name, const std::string& text) {
  std::istringstream lines(sums);
  std::optional<std::string> wanted;
  for (std::string line; std::getline(lines, line);) {
    const auto sum = sumIn(line, name);
    if (sum && wanted && *sum != *wanted) {
      refuse("SHA256SUMS has two sums for " + harmless(name));
    }
    wanted = sum ? sum : wanted;
  }
  if (!wanted) {
    refuse("SHA256SUMS has no sum for " + harmless(name));
  }
  if (sha256(text) != *wanted) {
    refuse("the sum of " + harmless(name) + " is not that in SHA256SUMS");
  }
}

std::int64_t readStatus(const std::string& statusLines, std::int64_t now) {
  std::istringstream lines(statusLines);
  bool isGood = false;  // the signature that the lines are about
  std::optional<std::int64_t> newest;
  std::string fault;
  for (std::string line; std::getline(lines, line);) {
    const std::vector<std::string> words = wordsIn(line);
    if (words.size() < 2 || words[0] != "[GNUPG:]") {
      continue;
    }
    if (words[1] == "NEWSIG") {
      isGood = false;
    } else if (words[1] == "GOODSIG") {
      isGood = true;
    } else if (words[1] == "VALIDSIG" && isGood && words.size() > 4) {
      // Fingerprint, date, time.
      const auto time = numberIn(words[4]);
      newest = time ? std::max(newest.value_or(*time), *time) : newest;
    } else if (const char* own = faultOf(words[1])) {
      if (words[1] == "BADSIG") {
        refuse(own);
      }
      // The first names the cause; ERRSIG follows with NO_PUBKEY.
      fault = fault.empty() || words[1] == "NO_PUBKEY" ? own : fault;
      // Key, algorithms, class, time.
      const auto time =
          words[1] == "ERRSIG" && words.size() > 6 ? numberIn(words[6]) : std::nullopt;
      if (time && isAfter(*time, now)) {
        fault = futureWords(*time, now);
      }
    }
  }
  if (!newest) {
    refuse(fault.empty() ? "gpgv does not accept the signature" : fault);
  }
  return *newest;
}

void checkAge(std::int64_t signedAt, std::int64_t lastGood, std::int64_t now) {
  constexpr const char* force = "; use --force if that is right";
  if (signedAt < lastGood) {
    refuse("it was signed at " + timeWords(signedAt) + ", but the last good one at " +
           timeWords(lastGood) + force);
  }
  if (isAfter(signedAt, now)) {
    refuse(futureWords(signedAt, now) + force);
  }
}

std::int64_t checkSignature(const std::string& sums, const std::string& signature,
                            const std::string& keyring, const std::string& directory,
                            const Deadline& deadline) {
  const std::filesystem::path place = directory;
  writeFile(place / "SHA256SUMS", sums);
  writeFile(place / "SHA256SUMS.gpg", signature);
  Ended ended;
  try {
    ended =
        runProgram({.words = {"gpgv", "--homedir", directory, "--status-fd", "1", "--weak-digest",
                              "SHA1", "--keyring", keyring, "SHA256SUMS.gpg", "SHA256SUMS"},
                    .directory = directory,
                    .limit = std::min<std::chrono::milliseconds>(deadline.left(), gpgvLimit)});
  } catch (const std::system_error& error) {
    throw Failure(Status::badUse, std::string(error.what()) + " (is the package gpgv installed?)");
  }
  return readStatus(ended.output, std::time(nullptr));
}

}  // namespace run
