// From a CIM request to its answer.
#pragma once

#include "xml/request.h"

#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "log.h"
#include "model/repository.h"
#include "operations/access.h"
#include "operations/answer.h"

namespace cimd {

class Dispatcher {
 public:
  // All must outlive the dispatcher.
  Dispatcher(Repository& repository, Access& access, const Log& log)
      : repository_(repository), access_(access), log_(log) {}

  // The answer as an XML document, at least its first part; later parts do not need the request.
  // Nothing when it has more than one part and must not: then nothing was changed. Every failure is
  // an answer with a CIM error. They are checked in the order of DSP0200: operation not served,
  // access, namespace, parameters, class, instance, property. Throws nothing but std::bad_alloc,
  // and so do later parts. The dispatcher must outlive the answer.
  std::optional<Answer> answer(const Pegasus::xml::Request& request, Caller& caller,
                               Length length = Length::any);

 private:
  struct Call {
    std::string messageId;
    std::string method;
    Pegasus::String nameSpace;
    Pegasus::xml::CallKind kind;
  };

  std::variant<std::string, Listing> run(const Pegasus::xml::Request& request, Caller& caller);
  bool appendPart(const Call& call, const Listing& listing, std::size_t& next,
                  std::string& text) const;
  // The text that `write` returns, or the error that it throws as an answer.
  std::string textOrError(const Call& call, const std::function<std::string()>& write) const;
  std::string refuse(const Call& call, Pegasus::CIMStatusCode code,
                     const Pegasus::String& description) const;

  Repository& repository_;
  Access& access_;
  const Log& log_;
};

}  // namespace cimd
