// The body of an HTTP message while it is read, for the parser of the HTTP library.
#pragma once

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/optional.hpp>
#include <boost/system/error_code.hpp>

#include <cstdint>
#include <string>

namespace Pegasus {

// Grows with the bytes that arrive. The library's own string body reserves what Content-Length
// announces, so that a peer could make it allocate memory for nothing.
struct GrowingBody {
  using value_type = std::string;

  class reader {  // NOLINT: the name is the library's
   public:
    template <bool isRequest, class Fields>
    reader(boost::beast::http::header<isRequest, Fields>& /*header*/, value_type& body)
        : body_(body) {}

    void init(const boost::optional<std::uint64_t>& /*length*/, boost::system::error_code& error) {
      error = {};
    }

    template <class Buffers>
    std::size_t put(const Buffers& buffers, boost::system::error_code& error) {
      std::size_t count = 0;
      for (auto it = boost::asio::buffer_sequence_begin(buffers);
           it != boost::asio::buffer_sequence_end(buffers); ++it) {
        const boost::asio::const_buffer buffer = *it;
        body_.append(static_cast<const char*>(buffer.data()), buffer.size());
        count += buffer.size();
      }
      error = {};
      return count;
    }

    void finish(boost::system::error_code& error) { error = {}; }

   private:
    value_type& body_;
  };
};

}  // namespace Pegasus
