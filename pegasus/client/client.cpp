#include <Pegasus/Client/CIMClient.h>
#include "client/http_connection.h"
#include "xml/request.h"
#include "xml/response.h"

#include <functional>
#include <optional>

namespace Pegasus {

class CIMClientRep {
 public:
  explicit CIMClientRep(Uint32 timeOutMilliseconds) : timeOut_(timeOutMilliseconds) {}

  Deadline deadline() const { return std::chrono::steady_clock::now() + timeOut_; }

  HttpConnection& connection() {
    if (!connection_) {
      throw NotConnectedException();
    }
    return *connection_;
  }

  // Sends the operation with the parameters that `addParameters` writes, and returns what
  // `readResult` finds in the answer to it.
  template <typename AddParameters, typename ReadResult>
  auto perform(const char* method, const String& nameSpace, AddParameters addParameters,
               ReadResult readResult) {
    HttpConnection& connection = this->connection();
    const std::string messageId = std::to_string(++lastMessageId_);
    xml::RequestWriter writer(messageId, method, nameSpace);
    addParameters(writer);
    const std::string request = writer.finish();
    try {
      const xml::Response response(connection.exchange(method, nameSpace, request, deadline()),
                                   messageId, method);
      return std::invoke(readResult, response);
    } catch (const CIMException&) {
      throw;
    } catch (const Exception&) {
      // Nothing more that arrives on this connection can be trusted.
      connection.close();
      throw;
    }
  }

  std::optional<HttpConnection> connection_;

 private:
  std::chrono::milliseconds timeOut_;
  Uint64 lastMessageId_ = 1000;
};

CIMClient::CIMClient(Uint32 timeOutMilliseconds)
    : rep_(std::make_unique<CIMClientRep>(timeOutMilliseconds)) {}

CIMClient::~CIMClient() = default;

void CIMClient::connect(const String& address, const String& userName, const String& password) {
  if (rep_->connection_) {
    throw AlreadyConnectedException();
  }
  if (userName.size() > 0 || password.size() > 0) {
    throw CannotConnectException("authentication is not supported");
  }
  try {
    rep_->connection_.emplace(address);
    rep_->connection_->open(rep_->deadline());
  } catch (...) {
    rep_->connection_.reset();
    throw;
  }
}

void CIMClient::disconnect() {
  rep_->connection_.reset();
}

Array<CIMInstance> CIMClient::enumerateInstances(const String& nameSpace, const String& className,
                                                 Boolean deepInheritance, Boolean localOnly,
                                                 Boolean includeQualifiers,
                                                 Boolean includeClassOrigin,
                                                 const CIMPropertyList& propertyList) {
  return rep_->perform(
      "EnumerateInstances", nameSpace,
      [&](xml::RequestWriter& writer) {
        writer.className("ClassName", className)
            .boolean("DeepInheritance", deepInheritance)
            .boolean("LocalOnly", localOnly)
            .boolean("IncludeQualifiers", includeQualifiers)
            .boolean("IncludeClassOrigin", includeClassOrigin)
            .propertyList("PropertyList", propertyList);
      },
      &xml::Response::namedInstances);
}

Array<CIMObjectPath> CIMClient::enumerateInstanceNames(const String& nameSpace,
                                                       const String& className) {
  return rep_->perform(
      "EnumerateInstanceNames", nameSpace,
      [&](xml::RequestWriter& writer) { writer.className("ClassName", className); },
      &xml::Response::instanceNames);
}

CIMInstance CIMClient::getInstance(const String& nameSpace, const CIMObjectPath& instanceName,
                                   Boolean localOnly, Boolean includeQualifiers,
                                   Boolean includeClassOrigin,
                                   const CIMPropertyList& propertyList) {
  CIMInstance instance = rep_->perform(
      "GetInstance", nameSpace,
      [&](xml::RequestWriter& writer) {
        writer.instanceName("InstanceName", instanceName)
            .boolean("LocalOnly", localOnly)
            .boolean("IncludeQualifiers", includeQualifiers)
            .boolean("IncludeClassOrigin", includeClassOrigin)
            .propertyList("PropertyList", propertyList);
      },
      &xml::Response::instance);
  instance.setPath(instanceName);
  return instance;
}

CIMValue CIMClient::getProperty(const String& nameSpace, const CIMObjectPath& instanceName,
                                const String& propertyName) {
  return rep_->perform(
      "GetProperty", nameSpace,
      [&](xml::RequestWriter& writer) {
        writer.instanceName("InstanceName", instanceName).text("PropertyName", propertyName);
      },
      &xml::Response::value);
}

CIMObjectPath CIMClient::createInstance(const String& nameSpace, const CIMInstance& newInstance) {
  return rep_->perform(
      "CreateInstance", nameSpace,
      [&](xml::RequestWriter& writer) { writer.instance("NewInstance", newInstance); },
      &xml::Response::instanceName);
}

void CIMClient::deleteInstance(const String& nameSpace, const CIMObjectPath& instanceName) {
  rep_->perform(
      "DeleteInstance", nameSpace,
      [&](xml::RequestWriter& writer) { writer.instanceName("InstanceName", instanceName); },
      [](const xml::Response& /*response*/) {});
}

}  // namespace Pegasus
