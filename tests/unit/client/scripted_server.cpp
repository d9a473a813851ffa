#include "scripted_server.h"

#include <linux/tcp.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

using namespace Pegasus;  // NOLINT: a test's helpers

namespace {

constexpr int patienceMilliseconds = 20'000;

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error(what);
}

// The value of Content-Length; the client writes it in one way only.
std::size_t bodySize(const std::string& header) {
  const std::string name = "\r\nContent-Length: ";
  const std::size_t position = header.find(name);
  return position == std::string::npos ? 0 : std::stoul(header.substr(position + name.size()));
}

std::string messageId(const std::string& request) {
  const std::string name = "<MESSAGE ID=\"";
  const std::size_t begin = request.find(name);
  if (begin == std::string::npos) {
    return "";
  }
  return request.substr(begin + name.size(),
                        request.find('"', begin + name.size()) - begin - name.size());
}

using Addresses = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

Addresses numericAddress(const char* host) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  if (getaddrinfo(host, "0", &hints, &found) != 0) {
    fail(std::string("not an address: ") + host);
  }
  return {found, freeaddrinfo};
}

std::string boundAddress(int socket) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  std::array<char, NI_MAXHOST> host{};
  std::array<char, NI_MAXSERV> port{};
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  if (getsockname(socket, generic, &size) != 0 ||
      getnameinfo(generic, size, host.data(), host.size(), port.data(), port.size(),
                  NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
    fail("the listening socket has no address");
  }
  const bool isIpv6 = address.ss_family == AF_INET6;
  return (isIpv6 ? "[" : "") + std::string(host.data()) + (isIpv6 ? "]:" : ":") + port.data();
}

std::string recording(const std::string& fileName) {
  std::ifstream file(MORVIK_TEST_DATA_DIR "/traffic/" + fileName, std::ios::binary);
  if (!file) {
    throw std::runtime_error("no such recording: " + fileName);
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

Peer::~Peer() {
  close(socket_);
}

// False at the end of what the client sends, and when the test stops the server.
bool Peer::receive() {
  std::array<pollfd, 2> waiting{{{socket_, POLLIN, 0}, {stopEvent_, POLLIN, 0}}};
  if (poll(waiting.data(), waiting.size(), patienceMilliseconds) <= 0) {
    fail("the client neither sent nor closed");
  }
  if (waiting[0].revents == 0) {
    return false;
  }
  std::array<char, 65536> buffer{};
  const ssize_t count = recv(socket_, buffer.data(), buffer.size(), 0);
  received_.append(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  return count > 0;
}

void Peer::readBytes(std::size_t count) {
  while (received_.size() < count) {
    if (!receive()) {
      fail("the client closed instead of sending");
    }
  }
}

void Peer::readRequest() {
  std::size_t headerEnd = 0;
  while ((headerEnd = received_.find("\r\n\r\n")) == std::string::npos) {
    readBytes(received_.size() + 1);
  }
  const std::size_t size = headerEnd + 4 + bodySize(received_.substr(0, headerEnd));
  readBytes(size);
  requests_.push_back(received_.substr(0, size));
  received_.erase(0, size);
}

bool Peer::send(std::string text) const {
  const std::string id = requests_.empty() ? "" : messageId(requests_.back());
  for (std::size_t at = 0; (at = text.find("@ID@", at)) != std::string::npos; at += id.size()) {
    text.replace(at, 4, id);
  }
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t sent = ::send(socket_, text.data() + done, text.size() - done, MSG_NOSIGNAL);
    if (sent < 0) {
      return false;
    }
    done += static_cast<std::size_t>(sent);
  }
  return true;
}

void Peer::awaitClose() {
  while (receive()) {
  }
  if (!received_.empty()) {
    fail("the client sent more than was expected: " + received_);
  }
}

void Peer::endSending() const {
  shutdown(socket_, SHUT_WR);
}

void Peer::resetAtEnd() const {
  const linger abort{1, 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
}

std::size_t Peer::segments() const {
  tcp_info info{};
  socklen_t size = sizeof info;
  if (getsockopt(socket_, IPPROTO_TCP, TCP_INFO, &info, &size) != 0) {
    fail("the connection tells nothing about its segments");
  }
  return info.tcpi_data_segs_in;
}

ScriptedServer::ScriptedServer(std::vector<Script> scripts, const char* host)
    : scripts_(std::move(scripts)) {
  const Addresses address = numericAddress(host);
  listener_ = socket(address->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  stopEvent_ = eventfd(0, EFD_CLOEXEC);
  if (bind(listener_, address->ai_addr, address->ai_addrlen) != 0 || listen(listener_, 16) != 0) {
    close(listener_);
    close(stopEvent_);
    fail(std::string("cannot listen on ") + host);
  }
  address_ = boundAddress(listener_);
  thread_ = std::thread([this] { run(); });
}

ScriptedServer::~ScriptedServer() {
  stop();
  close(listener_);
  close(stopEvent_);
}

// Signals are for the thread under test.
void ScriptedServer::run() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
  std::array<pollfd, 2> waiting{{{listener_, POLLIN, 0}, {stopEvent_, POLLIN, 0}}};
  for (;;) {
    poll(waiting.data(), waiting.size(), -1);
    const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket >= 0) {
      serve(socket);
    } else if (waiting[1].revents != 0) {
      return;
    }
  }
}

void ScriptedServer::serve(int socket) {
  std::string problem;
  std::vector<std::string> requests;
  {
    Peer peer(socket, stopEvent_);
    try {
      if (closed_ < scripts_.size()) {
        scripts_[closed_](peer);
      }
    } catch (const std::exception& error) {
      problem = std::string(error.what()) + "\n";
    }
    requests = peer.requests();
  }
  const std::lock_guard lock(mutex_);
  closed_++;
  problems_ += problem;
  requests_.insert(requests_.end(), requests.begin(), requests.end());
  changed_.notify_all();
}

void ScriptedServer::awaitClosed(std::size_t count) {
  std::unique_lock lock(mutex_);
  if (!changed_.wait_for(lock, std::chrono::milliseconds(patienceMilliseconds),
                         [&] { return closed_ >= count; })) {
    fail("the connections were not closed");
  }
}

void ScriptedServer::stop() {
  if (thread_.joinable()) {
    eventfd_write(stopEvent_, 1);
    thread_.join();
  }
}

std::vector<std::string> ScriptedServer::requests() {
  stop();
  return requests_;
}

std::size_t ScriptedServer::connections() {
  stop();
  return closed_;
}

std::string ScriptedServer::problems() {
  stop();
  return problems_;
}

std::string recordedAnswer(const std::string& name) {
  std::string text = recording(name + ".response.http");
  const std::string id = "ID=\"1001\"";
  const std::size_t position = text.find(id);
  return position == std::string::npos ? text : text.replace(position, id.size(), "ID=\"@ID@\"");
}

std::string recordedRequest(const std::string& name) {
  return recording(name + ".request.http");
}

std::string bodyOf(const std::string& message) {
  return message.substr(message.find("\r\n\r\n") + 4);
}

std::string httpAnswer(const std::string& body, const std::string& fields,
                       const std::string& status) {
  return "HTTP/1.1 " + status + "\r\nContent-Type: application/xml; charset=\"utf-8\"\r\n" +
         fields + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string propertyBody(const std::string& value) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
         "<MESSAGE ID=\"@ID@\" PROTOCOLVERSION=\"1.0\"><SIMPLERSP>"
         "<IMETHODRESPONSE NAME=\"GetProperty\"><IRETURNVALUE><VALUE>" +
         value + "</VALUE></IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>";
}

std::string chunked(const std::string& body, std::size_t size, const std::string& trailers) {
  std::ostringstream out;
  for (std::size_t at = 0; at < body.size(); at += size) {
    const std::string part = body.substr(at, size);
    out << std::hex << part.size() << "\r\n" << part << "\r\n";
  }
  out << "0\r\n" << trailers << "\r\n";
  return out.str();
}

CIMObjectPath fruName(const char* fruNumber) {
  Array<CIMKeyBinding> keys;
  keys.append(CIMKeyBinding("FRUNumber", fruNumber, CIMKeyBinding::STRING));
  keys.append(CIMKeyBinding("IdentifyingNumber", "KVAHalvoranFru1", CIMKeyBinding::STRING));
  keys.append(CIMKeyBinding("Vendor", "KVA", CIMKeyBinding::STRING));
  return {String(), String(), "KVAXDT_FRU", keys};
}

std::string askProperty(CIMClient& client) {
  return client.getProperty("root/kvasd", fruName(), "IdentifyingNumber").toString().toUtf8();
}

std::string valueOf(const CIMInstance& instance, const char* name) {
  return instance.getProperty(instance.findProperty(name)).getValue().toString().toUtf8();
}
