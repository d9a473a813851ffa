// Sends recorded requests over one connection and reads each answer to its end, without looking at
// it: what a server and the loopback take for exactly these requests. The measure for a client.
//
//     replay HOST PORT FILE
//
// FILE holds the requests one after the other, each after a line with its length in bytes. Prints
// the number of requests.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace {

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "replay: %s\n", what);
  std::exit(1);
}

std::vector<std::string> readRequests(const char* name) {
  std::ifstream file(name, std::ios::binary);
  std::vector<std::string> requests;
  std::size_t length = 0;
  while (file >> length) {
    file.ignore(1);
    std::string& request = requests.emplace_back(length, '\0');
    if (!file.read(request.data(), static_cast<std::streamsize>(length))) {
      fail("the file of requests is cut short");
    }
  }
  return requests;
}

class Connection {
 public:
  Connection(const char* host, const char* port) {
    address_.sin_family = AF_INET;
    address_.sin_port = htons(static_cast<std::uint16_t>(std::strtoul(port, nullptr, 10)));
    if (inet_pton(AF_INET, host, &address_.sin_addr) != 1) {
      fail("HOST is not an IPv4 address");
    }
    open();
  }
  ~Connection() { close(socket_); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void exchange(std::string_view request) {
    if (send(socket_, request.data(), request.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request.size())) {
      fail("cannot send");
    }
    answer_.clear();
    std::size_t header = std::string::npos;
    while ((header = answer_.find("\r\n\r\n")) == std::string::npos) {
      receive();
    }
    const std::size_t size = header + 4 + number("\r\ncontent-length:", header);
    while (answer_.size() < size) {
      receive();
    }
    if (find("\r\nconnection: close", header) != nullptr) {
      close(socket_);
      open();
    }
  }

 private:
  void open() {
    socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (connect(socket_, reinterpret_cast<const sockaddr*>(&address_), sizeof address_) != 0) {
      fail("cannot connect");
    }
  }

  void receive() {
    const ssize_t count = recv(socket_, buffer_.data(), buffer_.size(), 0);
    if (count <= 0) {
      fail("the connection ended before the answer did");
    }
    answer_.append(buffer_.data(), static_cast<std::size_t>(count));
  }

  // In the header, whatever the letter case.
  const char* find(const char* field, std::size_t header) {
    answer_[header] = '\0';
    const char* found = strcasestr(answer_.c_str(), field);
    answer_[header] = '\r';
    return found;
  }

  std::size_t number(const char* field, std::size_t header) {
    const char* found = find(field, header);
    return found == nullptr ? 0 : std::strtoul(found + std::strlen(field), nullptr, 10);
  }

  sockaddr_in address_{};
  int socket_ = -1;
  std::array<char, 65536> buffer_{};
  std::string answer_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    fail("usage: replay HOST PORT FILE");
  }
  const std::vector<std::string> requests = readRequests(argv[3]);
  Connection connection(argv[1], argv[2]);
  for (const std::string& request : requests) {
    connection.exchange(request);
  }
  std::printf("%zu\n", requests.size());
  return 0;
}
