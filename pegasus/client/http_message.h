// One HTTP exchange as bytes: the request of a CIM operation (DMTF DSP0200, encapsulation in HTTP)
// and the parser of its answer. The only place that knows the HTTP library.
#pragma once

#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Common/String.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace Pegasus {

// Header and body in one piece, ready to be sent.
std::string makeHttpRequest(std::string_view host, std::string_view method, const String& nameSpace,
                            std::string_view body);

// Parses the bytes of one answer as they arrive.
class HttpAnswer {
 public:
  static constexpr std::size_t maxHeaderSize = 64U << 10;
  static constexpr std::size_t maxBodySize = 64U << 20;

  HttpAnswer();
  ~HttpAnswer();
  HttpAnswer(const HttpAnswer&) = delete;
  HttpAnswer& operator=(const HttpAnswer&) = delete;
  HttpAnswer(HttpAnswer&&) = delete;
  HttpAnswer& operator=(HttpAnswer&&) = delete;

  // Where the next bytes are to be put, and how many; then how many came. Throws
  // CIMClientMalformedHTTPException when they are no HTTP or exceed a limit.
  std::pair<char*, std::size_t> prepare();
  void commit(std::size_t count);
  // The server has closed the connection. Throws CIMClientMalformedHTTPException when the answer
  // was not complete.
  void end();

  // Whether nothing more is to be read: the answer is complete, or it is an error of which the
  // header says everything.
  bool isDone() const;
  // Whether the connection may serve another request.
  bool keepsAlive() const;
  // Throws what stands in the way of taking the body for an answer: an HTTP error, a header that
  // does not belong to a CIM answer, a CIM error in header or trailer.
  void check() const;
  std::string takeBody();

 private:
  struct Parser;
  std::unique_ptr<Parser> parser_;
};

}  // namespace Pegasus
