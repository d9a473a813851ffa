#include "bring.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <random>
#include <string_view>
#include <system_error>
#include <thread>

#include "explainer.h"
#include "file.h"
#include "text/ascii.h"

namespace run {

namespace {

constexpr std::size_t mostBytes = show::mostFileBytes;
// A server in the same country answers within a second, a busy one within some.
constexpr long connectSeconds = 15;
// 1 MiB at 140 kbit/s.
constexpr long transferSeconds = 60;
constexpr int mostTries = 3;
constexpr int pauseGrowth = 4;
// If a server asks to wait for longer, the next night is soon enough.
constexpr std::chrono::seconds longestPause{60};
constexpr long mostRedirects = 5;

}  // namespace

// A URL in parts.
class Url {
 public:
  Url() : handle_(curl_url(), curl_url_cleanup) {}
  bool set(CURLUPart part, const std::string& text, unsigned flags = 0) {
    return curl_url_set(handle_.get(), part, text.empty() ? nullptr : text.c_str(), flags) ==
           CURLUE_OK;
  }
  std::string get(CURLUPart part, unsigned flags = 0) const {
    char* text = nullptr;
    if (curl_url_get(handle_.get(), part, &text, flags) != CURLUE_OK) {
      return "";
    }
    const std::unique_ptr<char, decltype(&curl_free)> owner(text, curl_free);
    return text;
  }

 private:
  std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> handle_;
};

namespace {

// The FTP server of the settings, as a URL. A path that begins with a slash begins with two in a
// URL: without it, it would be below the directory of the login.
Url urlOfFtpServer(const Settings& settings) {
  const std::string& server = settings.ftpServer.text;
  const std::size_t blank = server.find(' ');
  const std::string host = server.substr(0, blank);
  const std::string port = blank == std::string::npos ? "" : server.substr(blank + 1);
  const bool isHost = isOfLettersDigitsAnd(".-_:[]%", host);
  const bool isPort = port.size() <= 5 && port.find_first_not_of("0123456789") == std::string::npos;
  Url url;
  if (host.empty() || !isHost || !isPort || !url.set(CURLUPART_URL, "ftp://" + host + "/") ||
      (!port.empty() && !url.set(CURLUPART_PORT, port))) {
    refuseSetting(settings.ftpServer, server,
                  "is not a host name, perhaps with a blank and a port");
  }
  if (!url.set(CURLUPART_PATH, "/" + settings.ftpDirectory.text, CURLU_URLENCODE)) {
    refuseSetting(settings.ftpDirectory, settings.ftpDirectory.text, "is not a directory");
  }
  return url;
}

Url urlOf(const Settings& settings) {
  if (settings.url.text.empty()) {
    return urlOfFtpServer(settings);
  }
  constexpr std::array<const char*, 5> schemes{"https", "http", "ftps", "ftp", "file"};
  Url url;
  // The value may hold a password, and is not shown.
  if (!url.set(CURLUPART_URL, settings.url.text)) {
    throw Failure(Status::badUse, std::string(settings.url.name) +
                                      " is not a URL, such as https://parts.example.com/fru");
  }
  const std::string scheme = url.get(CURLUPART_SCHEME);
  if (std::find(schemes.begin(), schemes.end(), scheme) == schemes.end()) {
    refuseSetting(settings.url, scheme, "is not one of https, http, ftps, ftp and file");
  }
  url.set(CURLUPART_FRAGMENT, "");
  return url;
}

bool isRetriable(CURLcode code) {
  switch (code) {
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_FTP_ACCEPT_TIMEOUT:
    case CURLE_FTP_CANT_GET_HOST:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
      return true;
    default:
      return false;
  }
}

// libcurl repeats the address of a proxy that it cannot use in quotes, as it was given: all that
// may be a password is cut out.
std::string withoutUser(const std::string& words) {
  const std::size_t end = words.rfind('@');
  return end == std::string::npos ? words
                                  : words.substr(0, words.find('\'') + 1) + words.substr(end + 1);
}

}  // namespace

std::chrono::milliseconds withJitter(std::chrono::milliseconds pause) {
  static std::minstd_rand random{std::random_device()()};
  return std::chrono::milliseconds(std::uniform_int_distribution<std::int64_t>(
      pause.count() / 2, pause.count() * 3 / 2)(random));
}

// --- servers ---

// One connection to a server, and what one try of one file gave.
class Bringer::Transfer {
 public:
  Transfer(const Settings& settings, Url url)
      : url_(std::move(url)),
        isHttp_(url_.get(CURLUPART_SCHEME).starts_with("http")),
        isSecure_(url_.get(CURLUPART_SCHEME) == "https"),
        retryPause_(settings.retryPause),
        certificates_(settings.certificates.name),
        handle_(curl_easy_init(), curl_easy_cleanup) {
    if (handle_ == nullptr) {
      throw Failure(Status::badUse, "libcurl cannot be used");
    }
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_USERAGENT, "morvik-run/" MORVIK_VERSION);
    set(CURLOPT_ERRORBUFFER, error_.data());
    set(CURLOPT_CONNECTTIMEOUT, connectSeconds);
    set(CURLOPT_PROTOCOLS_STR, "https,http,ftps,ftp");
    // Never from a protected connection to one that is not.
    set(CURLOPT_REDIR_PROTOCOLS_STR, isSecure_ ? "https" : "https,http");
    set(CURLOPT_FOLLOWLOCATION, 1L);
    set(CURLOPT_MAXREDIRS, mostRedirects);
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    if (!settings.certificates.text.empty()) {
      set(CURLOPT_CAINFO, settings.certificates.text.c_str());
    }
    // One CWD with the whole directory, as an FTP client does it.
    set(CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_SINGLECWD));
    set(CURLOPT_FTP_RESPONSE_TIMEOUT, connectSeconds);
    if (!isHttp_ && url_.get(CURLUPART_USER).empty()) {
      set(CURLOPT_USERPWD, "anonymous:anonymous");
    }
    set(
        CURLOPT_WRITEFUNCTION, +[](char* bytes, std::size_t, std::size_t count, void* self) {
          return static_cast<Transfer*>(self)->takeText({bytes, count});
        });
    set(CURLOPT_WRITEDATA, static_cast<void*>(this));
    set(
        CURLOPT_HEADERFUNCTION, +[](char* bytes, std::size_t, std::size_t count, void* self) {
          static_cast<Transfer*>(self)->takeLine({bytes, count});
          return count;
        });
    set(CURLOPT_HEADERDATA, static_cast<void*>(this));
  }

  std::string addressOf(const std::string& name) const {
    Url url = urlFor(name);
    // A password is secret, and a query may be; a user name is not.
    url.set(CURLUPART_PASSWORD, "");
    url.set(CURLUPART_QUERY, "");
    return harmless(url.get(CURLUPART_URL));
  }

  Brought bring(const std::string& name, const std::optional<Version>& known,
                const Deadline& deadline) {
    const std::string address = urlFor(name).get(CURLUPART_URL);
    std::chrono::milliseconds pause = retryPause_;
    for (int tries = 1;; ++tries) {
      const auto limit = std::min<std::chrono::milliseconds>(deadline.left(),
                                                             std::chrono::seconds(transferSeconds));
      const Result result = attempt(address, known, std::max(limit, std::chrono::milliseconds(1)));
      if (result == Result::there || result == Result::unchanged) {
        brought_.isUnchanged = result == Result::unchanged;
        return brought_;
      }
      if (code_ == CURLE_SSL_CACERT_BADFILE) {
        throw Failure(Status::badUse, certificates_ + ": " + words());
      }
      if (result == Result::missing) {
        throw Failure(Status::noFile, addressOf(name) + ": " + words());
      }
      if (result == Result::tooLarge) {
        throw Failure(Status::refused, addressOf(name) + " has more than 1 MiB");
      }
      curl_off_t asked = 0;
      curl_easy_getinfo(handle_.get(), CURLINFO_RETRY_AFTER, &asked);
      const bool isTooLong = asked > longestPause.count();
      const std::chrono::seconds after(isTooLong ? 0 : asked);
      const auto wait = std::max<std::chrono::milliseconds>(withJitter(pause), after);
      if (result == Result::failed || isTooLong || tries == mostTries || deadline.left() <= wait) {
        throw Failure(
            Status::notReached,
            "cannot fetch " + addressOf(name) + ": " + words() +
                (isTooLong ? "; it asks to wait " + std::to_string(asked) + " seconds" : "") +
                (tries > 1 ? " (" + std::to_string(tries) + " tries)" : ""));
      }
      std::this_thread::sleep_for(wait);
      pause *= pauseGrowth;
    }
  }

 private:
  Url urlFor(const std::string& name) const {
    Url url;
    url.set(CURLUPART_URL, url_.get(CURLUPART_URL));
    const std::string path = url.get(CURLUPART_PATH);
    url.set(CURLUPART_PATH, path + (path.ends_with('/') ? "" : "/") + name);
    return url;
  }

  enum class Result { there, unchanged, missing, failed, failedForNow, tooLarge };

  Result attempt(const std::string& address, const std::optional<Version>& known,
                 std::chrono::milliseconds limit) {
    brought_ = {};
    isTooLarge_ = false;
    serverWords_.clear();
    error_.fill('\0');
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers(nullptr,
                                                                        curl_slist_free_all);
    const auto addHeader = [&](const char* name, const std::string& value) {
      if (!value.empty()) {
        headers.reset(curl_slist_append(headers.release(), (name + value).c_str()));
      }
    };
    if (isHttp_ && known) {
      addHeader("If-None-Match: ", known->etag);
      addHeader("If-Modified-Since: ", known->lastModified);
    }
    set(CURLOPT_HTTPHEADER, headers.get());
    set(CURLOPT_URL, address.c_str());
    set(CURLOPT_TIMEOUT_MS, static_cast<long>(limit.count()));
    code_ = curl_easy_perform(handle_.get());
    set(CURLOPT_HTTPHEADER, static_cast<curl_slist*>(nullptr));
    const Result result = judgeReply(code_);
    // An answer to a question that was not asked.
    return result == Result::unchanged && headers == nullptr ? Result::failed : result;
  }

  Result judgeReply(CURLcode code) {
    long reply = 0;
    curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &reply);
    if (isHttp_ && reply >= 400) {
      const bool isBusy = reply == 408 || reply == 425 || reply == 429 || reply >= 500;
      return reply == 404 || reply == 410 ? Result::missing
             : isBusy                     ? Result::failedForNow
                                          : Result::failed;
    }
    if (isTooLarge_) {
      return Result::tooLarge;
    }
    if (code == CURLE_REMOTE_FILE_NOT_FOUND) {
      return Result::missing;
    }
    if (code != CURLE_OK) {
      const bool isFtpBusy = !isHttp_ && serverWords_.starts_with('4');
      return isFtpBusy || isRetriable(code) ? Result::failedForNow : Result::failed;
    }
    if (isHttp_ && reply == 304) {
      return Result::unchanged;
    }
    return !isHttp_ || reply == 200 ? Result::there : Result::failed;
  }

  // Returns how much it has taken; less than there was ends the transfer.
  std::size_t takeText(std::string_view text) {
    isTooLarge_ = brought_.text.size() + text.size() > mostBytes;
    brought_.text += isTooLarge_ ? "" : text;
    return isTooLarge_ ? 0 : text.size();
  }

  void takeLine(std::string_view line) {
    while (line.ends_with('\n') || line.ends_with('\r')) {
      line.remove_suffix(1);
    }
    if (!isHttp_) {
      // 4 and 5 are failures; 421 may come at any time.
      if (line.starts_with('4') || line.starts_with('5')) {
        serverWords_ = line;
      }
      return;
    }
    if (line.starts_with("HTTP/")) {  // of each answer in a row of redirections
      serverWords_ = line;
      brought_.version = {};
      return;
    }
    const std::size_t colon = std::min(line.find(':'), line.size());
    const auto value = Pegasus::text::trimmed(line.substr(std::min(colon + 1, line.size())));
    const auto isHeader = [&](const char* name) {
      return Pegasus::text::equalNoCase(line.substr(0, colon), name);
    };
    // The values are remembered, so they must be small.
    constexpr std::size_t longest = 200;
    if (isHeader("etag") && value.size() <= longest) {
      brought_.version.etag = value;
    } else if (isHeader("last-modified") && value.size() <= longest) {
      brought_.version.lastModified = value;
    }
  }

  // Both what libcurl says and what the server says, because either may be the better one.
  std::string words() const {
    const std::string server = serverWords_.empty() ? "" : "the server answered: " + serverWords_;
    std::string own;
    if (code_ == CURLE_UNSUPPORTED_PROTOCOL && !server.empty()) {
      own = std::string("it redirects to another protocol than ") +
            (isSecure_ ? "https" : "http and https");
    } else if (error_[0] != '\0') {
      own = withoutUser(error_.data());
    } else if (code_ != CURLE_OK && server.empty()) {  // only the name of the error
      own = curl_easy_strerror(code_);
    }
    return harmless(own) + (own.empty() || server.empty() ? "" : "; ") + harmless(server);
  }

  template <typename Value>
  void set(CURLoption option, Value value) {
    if (curl_easy_setopt(handle_.get(), option, value) != CURLE_OK) {
      throw Failure(Status::badUse, "the installed libcurl lacks a feature that is needed");
    }
  }

  Url url_;
  bool isHttp_;
  bool isSecure_;
  std::chrono::milliseconds retryPause_;
  // The name of the setting, for messages.
  std::string certificates_;
  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle_;
  // The result of the last try.
  CURLcode code_ = CURLE_OK;
  std::array<char, CURL_ERROR_SIZE> error_{};
  Brought brought_;
  bool isTooLarge_ = false;
  // The status line of HTTP, or the last line of FTP that reports a failure.
  std::string serverWords_;
};

// --- any place ---

Bringer::Bringer(const Settings& settings, const Deadline& deadline)
    : settings_(settings), deadline_(deadline) {
  if (!settings.file.text.empty()) {
    directory_ = std::filesystem::path(settings.file.text).parent_path();
    return;
  }
  if (!settings.files.text.empty()) {
    directory_ = settings.files.text;
    return;
  }
  Url url = urlOf(settings);
  if (url.get(CURLUPART_SCHEME) == "file") {
    directory_ = url.get(CURLUPART_PATH, CURLU_URLDECODE);
    return;
  }
  curl_global_init(CURL_GLOBAL_DEFAULT);
  transfer_ = std::make_unique<Transfer>(settings, std::move(url));
}

Bringer::~Bringer() = default;

bool Bringer::isByType() const {
  return settings_.file.text.empty();
}

std::string Bringer::nameFor(const std::string& machineType) const {
  return isByType() ? machineType + "wpk.txt"
                    : std::filesystem::path(settings_.file.text).filename().string();
}

std::string Bringer::addressOf(const std::string& name) const {
  return transfer_ ? transfer_->addressOf(name)
                   : harmless((std::filesystem::path(directory_) / name).string());
}

Brought Bringer::bring(const std::string& name, const std::optional<Version>& known) {
  return transfer_ ? transfer_->bring(name, known, deadline_)
                   : readHere(std::filesystem::path(directory_) / name);
}

Brought Bringer::readHere(const std::string& path) const {
  try {
    return {.text = show::readFile(path, mostBytes)};
  } catch (const std::system_error& error) {
    const int number = error.code().value();
    if (number == EFBIG) {
      throw Failure(Status::refused, harmless(path) + " has more than 1 MiB");
    }
    std::error_code ignored;
    const bool isMissing =
        number == ENOENT && isByType() && std::filesystem::is_directory(directory_, ignored);
    throw Failure(isMissing ? Status::noFile : Status::notReached,
                  isMissing ? harmless(path) + " does not exist"
                            : "cannot read " + harmless(path) + ": " +
                                  (number == EINVAL ? "not a file" : error.code().message()));
  }
}

}  // namespace run
