// Requests as the XML that clients send, and answers as the XML that they get.
#pragma once

#include "operations/dispatcher.h"

#include <string>
#include <utility>
#include <vector>

#include "support.h"

namespace cimd::test {

// With all its parts.
std::string answerTo(Dispatcher& dispatcher, const Pegasus::xml::Request& request, Caller& caller);

// A parameter's name and the XML of its value.
using Parameters = std::vector<std::pair<std::string, std::string>>;

std::string className(const std::string& name);
std::string value(const std::string& text);
std::string values(const std::vector<std::string>& texts);
// INSTANCENAME with one string key.
std::string instanceName(const std::string& className, const std::string& key,
                         const std::string& text);

// A repository with what a MOF text declares, and operations on it.
class Server {
 public:
  explicit Server(const std::string& mof) { loadText(repository, mof); }

  // The content of IRETURNVALUE, empty when it is missing; for an error "code: description".
  std::string ask(const std::string& method, const Parameters& parameters,
                  const std::string& nameSpace = "root/kvasd");
  // The code of the error that this ends with, 0 for none.
  int errorOf(const std::string& method, const Parameters& parameters,
              const std::string& nameSpace = "root/kvasd");

  Repository repository;
  // Of the account that sends the requests.
  uid_t user = 0;

 private:
  std::string send(const std::string& method, const Parameters& parameters,
                   const std::string& nameSpace);

  Log log_{LogLevel::error};
  Access access_{{.accounts = {4711}, .groups = {}}, log_};
};

// The values of the attribute in all elements of this name, in their order, each followed by a
// blank.
std::string attributes(const std::string& xml, const std::string& element,
                       const std::string& attribute);
// The first element of this name whose NAME is `name`, whole; empty when there is none.
std::string elementNamed(const std::string& xml, const std::string& element,
                         const std::string& name);

}  // namespace cimd::test
