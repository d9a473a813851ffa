// Sends the bytes of one connection through the server: HTTP, checks, operations.
//
// The first byte of the input is the number of bytes after it that are the sizes of the pieces in
// which the rest arrives.
#include <sys/socket.h>
#include <unistd.h>
#include "http/cim_handler.h"
#include "http/http_server.h"
#include "http/http_session.h"
#include "model/name_space.h"
#include "mof/loader.h"
#include "xml/decoder.h"
#include "xml/document.h"
#include "xml/encoder.h"
#include "xml/response.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <memory>
#include <string>

#include "support/check.h"

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using fuzz::require;

// Records whether a client has changed anything.
class Witness : public cimd::Journal {
 public:
  void put(const Pegasus::String& /*nameSpace*/, const cimd::InstanceKey& /*key*/,
           const Pegasus::String& /*className*/, std::string_view instanceXml) override {
    hasSeenChange = true;
    const Pegasus::xml::XmlDocument document{std::string(instanceXml)};
    std::string again;
    Pegasus::xml::appendInstance(again, Pegasus::xml::decodeInstance(document.root()));
    require(again == instanceXml, "what is stored can be restored");
  }
  void remove(const Pegasus::String& /*nameSpace*/, const cimd::InstanceKey& /*key*/) override {
    hasSeenChange = true;
  }

  bool hasSeenChange = false;
};

// The kernel has no account for the sockets used here.
class AsRoot : public cimd::RequestHandler {
 public:
  explicit AsRoot(const std::unique_ptr<cimd::CimHandler>& handler) : handler_(handler) {}

  std::variant<cimd::CimRequest, cimd::HttpAnswer> check(
      const cimd::RequestHeader& header) override {
    return handler_->check(header);
  }
  std::optional<cimd::BegunAnswer> answer(const cimd::CimRequest& request, std::string body,
                                          cimd::Caller& /*caller*/, cimd::Length length) override {
    return handler_->answer(request, std::move(body), root_, length);
  }

 private:
  const std::unique_ptr<cimd::CimHandler>& handler_;
  cimd::Caller root_{[] { return uid_t{0}; }};
};

// A server without a port, with the machine of the recorded exchanges and some more classes.
class Fixture {
 public:
  Fixture() : log_(cimd::LogLevel::error) { reset(); }

  // Every input begins with the same instances.
  void reset() {
    handler_.reset();
    repository_ = std::make_unique<cimd::Repository>();
    cimd::mof::loadMof({MORVIK_SCHEMA_DIR "/qualifiers.mof",
                        MORVIK_TEST_DATA_DIR "/fru/recorded.mof", MORVIK_FUZZ_DIR "/server.mof"},
                       *repository_);
    repository_->setJournal(&witness);
    handler_ = std::make_unique<cimd::CimHandler>(*repository_, access_, log_);
    witness.hasSeenChange = false;
  }

  cimd::RequestHandler& handler() { return asRoot_; }

  Witness witness;

 private:
  cimd::Log log_;
  cimd::Access access_{cimd::Writers(), log_};
  std::unique_ptr<cimd::Repository> repository_;
  std::unique_ptr<cimd::CimHandler> handler_;
  AsRoot asRoot_{handler_};
};

// The client's side of a connection to a session that runs in this thread.
class Connection {
 public:
  explicit Connection(cimd::RequestHandler& handler) {
    int pair[2];
    require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, pair) == 0,
            "there are sockets");
    client_ = pair[0];
    asio::ip::tcp::socket socket(io_);
    socket.assign(asio::ip::tcp::v4(), pair[1]);
    cimd::HttpLimits limits;
    limits.bodyBytes = 8192;
    limits.headerBytes = 2048;
    // The longest answers do not fit.
    limits.heldBytes = std::size_t{64} << 10U;
    std::make_shared<cimd::HttpSession>(
        std::move(socket), std::nullopt, handler, limits,
        std::make_shared<cimd::MemoryBudget>(limits.heldBytes, limits.smallBytes),
        cimd::HttpSession::Events{
            .begun = {},
            .ready = [this](cimd::Turn /*turn*/,
                            cimd::Turns::Job job) { asio::post(io_, std::move(job)); },
            .served = [this] { ++answers_; },
            .ended = [this] { hasEnded_ = true; }})
        ->start();
    run();
  }
  ~Connection() { close(client_); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void send(std::string_view bytes) {
    while (!bytes.empty() && !hasEnded_) {
      const ssize_t sent = ::send(client_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      bytes.remove_prefix(sent > 0 ? static_cast<std::size_t>(sent) : 0);
      run();
    }
  }
  void finish() {
    shutdown(client_, SHUT_WR);
    run();
    require(hasEnded_, "a connection is over when its client is done");
  }
  const std::string& received() const { return received_; }
  std::size_t answers() const { return answers_; }

 private:
  // Runs until the session waits for more and all that it sent has been received.
  void run() {
    char bytes[65536];
    for (;;) {
      io_.restart();
      const std::size_t handlers = io_.poll();
      const ssize_t count = recv(client_, bytes, sizeof bytes, 0);
      received_.append(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
      if (handlers == 0 && count <= 0) {
        return;
      }
    }
  }

  asio::io_context io_{1};
  int client_ = -1;
  std::string received_;
  std::size_t answers_ = 0;
  bool hasEnded_ = false;
};

void checkBody(unsigned status, const std::string& body) {
  if (status != 200) {
    require(body.empty(), "a refusal has no body");
    return;
  }
  const Pegasus::xml::XmlDocument document(body);
  require(document.root().name() == "CIM", "an answer is CIM-XML");
  // Without a store, no request can make the server fail.
  require(body.find("<ERROR CODE=\"1\"") == std::string::npos, "no request makes the server fail");
}

// Removes the first answer and returns its status.
unsigned takeAnswer(std::string_view& bytes) {
  http::response_parser<http::string_body> parser;
  parser.eager(true);
  boost::system::error_code error;
  bytes.remove_prefix(parser.put(asio::buffer(bytes.data(), bytes.size()), error));
  require(!error && parser.is_done(), "an answer is HTTP");
  const unsigned status = parser.get().result_int();
  constexpr unsigned known[] = {100, 200, 400, 403, 413, 415, 417, 431, 501, 503, 505, 510};
  require(std::find(std::begin(known), std::end(known), status) != std::end(known),
          "the status is one that the server means to give");
  if (status != 100) {
    checkBody(status, parser.get().body());
  }
  return status;
}

void checkAnswers(std::string_view bytes, std::size_t count) {
  while (!bytes.empty()) {
    count -= takeAnswer(bytes) == 100 ? 0 : 1;
  }
  require(count == 0, "each answer arrives");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Fixture server;
  std::string_view input = fuzz::asText(data, size);
  const std::size_t pieces = fuzz::takeByte(input);
  {
    Connection connection(server.handler());
    {
      // An answer may have the whole repository, and a few bytes may be enough for a request.
      fuzz::ResourceLimit limit({std::size_t{4} << 20U, 512}, {100'000, 150}, size);
      std::string_view sizes = input.substr(0, std::min(pieces, input.size()));
      input.remove_prefix(sizes.size());
      while (!sizes.empty()) {
        const std::size_t piece = std::min<std::size_t>(fuzz::takeByte(sizes), input.size());
        connection.send(input.substr(0, piece));
        input.remove_prefix(piece);
      }
      connection.send(input);
      connection.finish();
      limit.allowStepsFor(connection.received().size());
    }
    checkAnswers(connection.received(), connection.answers());
  }
  if (server.witness.hasSeenChange) {
    server.reset();
  }
  return 0;
}
