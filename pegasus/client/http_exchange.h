// One HTTP exchange as bytes: the request of a CIM operation (DMTF DSP0200, encapsulation in HTTP)
// and the parser of the response. The only place that knows the HTTP library.
#pragma once

#include <Pegasus/Common/String.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace Pegasus {

// Header and body in one piece, ready to be sent. Both names are percent-encoded.
std::string makeHttpRequest(std::string_view host, std::string_view method, const String& nameSpace,
                            std::string_view body);

// Parses the bytes of one response as they arrive.
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

  // Where to put the next bytes, and at most how many; then how many arrived. commit() throws
  // CIMClientMalformedHTTPException if they are not an HTTP response or exceed a limit.
  std::pair<char*, std::size_t> prepare();
  void commit(std::size_t count);
  // The server has closed the connection. Throws CIMClientMalformedHTTPException if the response
  // was not complete.
  void end();

  // Whether nothing more has to be read: the response is complete, or it is an error, and those are
  // described by the header alone.
  bool isDone() const;
  // Whether the connection may serve another request.
  bool keepsAlive() const;
  // Throws if the body is not the result of an operation: CIMClientHTTPErrorException,
  // CIMClientMalformedHTTPException for a header that is not that of a CIM response, CIMException
  // for an error in the header or the trailer.
  void check() const;
  std::string takeBody();

 private:
  struct Parser;
  std::unique_ptr<Parser> parser_;
};

}  // namespace Pegasus
