// The parser of requests: that of the HTTP library, but stricter.
#pragma once

#include "common/growing_body.h"

#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <string_view>

namespace cimd {

// Refuses fields that go on in the next line (obs-fold): HTTP programs disagree about what they
// mean (RFC 9112, section 5.2).
class RequestParser : public boost::beast::http::request_parser<Pegasus::GrowingBody> {
 private:
  void on_field_impl(boost::beast::http::field name, boost::beast::string_view nameText,
                     boost::beast::string_view value, boost::beast::error_code& error) override {
    // The library joins the lines, but the name is where it was received, and the whole header
    // after it, with an empty line at its end.
    const char* end = nameText.data() + nameText.size();
    while (*end != '\n') {
      ++end;
    }
    if (end[1] == ' ' || end[1] == '\t') {
      error = boost::beast::http::error::bad_value;
    } else {
      get().insert(name, nameText, value);
    }
  }
};

}  // namespace cimd
