// From a CIM request to its answer.
#pragma once

#include <pegasus/xml/Request.h>

#include <string>

#include "cimd/model/Repository.h"

namespace cimd {

class Dispatcher {
 public:
  // The repository must outlive the dispatcher.
  explicit Dispatcher(Repository& repository) : repository_(repository) {}

  // The answer as an XML document. Whatever goes wrong is an answer with a CIM error, checked in
  // the order of DSP0200: operation not served, namespace, parameters, class, instance, property.
  // Throws nothing but std::bad_alloc.
  std::string answer(const Pegasus::xml::Request& request);

 private:
  std::string run(const Pegasus::xml::Request& request);

  Repository& repository_;
};

}  // namespace cimd
