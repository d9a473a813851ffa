// From a CIM request to its answer.
#pragma once

#include "xml/request.h"

#include <string>

#include "log.h"
#include "model/repository.h"
#include "operations/access.h"

namespace cimd {

class Dispatcher {
 public:
  // All must outlive the dispatcher.
  Dispatcher(Repository& repository, Access& access, const Log& log)
      : repository_(repository), access_(access), log_(log) {}

  // The answer as an XML document. Every failure is an answer with a CIM error. They are checked in
  // the order of DSP0200: operation not served, access, namespace, parameters, class, instance,
  // property. Throws nothing but std::bad_alloc.
  std::string answer(const Pegasus::xml::Request& request, Caller& caller);

 private:
  std::string run(const Pegasus::xml::Request& request, Caller& caller);

  std::string refuse(const Pegasus::xml::Request& request, Pegasus::CIMStatusCode code,
                     const Pegasus::String& description) const;

  Repository& repository_;
  Access& access_;
  const Log& log_;
};

}  // namespace cimd
