#include "fake_client.h"

#include <utility>

using namespace Pegasus;  // NOLINT: this file stands in for that namespace's own

FakeServer fakeServer;

namespace {

std::string narrow(const String& text) {
  return text.toUtf8();
}

std::string flag(Boolean value) {
  return value ? "true" : "false";
}

void record(const std::string& call) {
  fakeServer.calls.push_back(call);
  if (fakeServer.beforeAnswer) {
    fakeServer.beforeAnswer(call);
  }
}

CIMObjectPath nameOf(int number) {
  Array<CIMKeyBinding> keys;
  keys.append(CIMKeyBinding("Id", std::to_string(number).c_str(), CIMKeyBinding::STRING));
  return {String(), String(), "KVAXDT_FRU", keys};
}

int numberOf(const CIMObjectPath& name) {
  return std::stoi(narrow(name.getKeyBindings()[0].getValue()));
}

std::string describe(const CIMInstance& instance) {
  std::string text = narrow(instance.getClassName());
  for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
    const CIMProperty& property = instance.getProperty(i);
    text += " " + narrow(property.getName()) + "=" + narrow(property.getValue().toString());
  }
  return text;
}

}  // namespace

CIMInstance instanceWith(const char* className, const std::vector<CIMProperty>& properties) {
  CIMInstance instance{String(className)};
  for (const CIMProperty& property : properties) {
    instance.addProperty(property);
  }
  return instance;
}

void FakeServer::publish(const std::string& identifyingNumber) {
  published.emplace(
      nextName++,
      instanceWith("KVAXDT_FRU", {CIMProperty("IdentifyingNumber",
                                              CIMValue(String(identifyingNumber.c_str())))}));
}

std::vector<std::string> FakeServer::identifyingNumbers() const {
  std::vector<std::string> numbers;
  for (const auto& [name, instance] : published) {
    const Uint32 position = instance.findProperty("IdentifyingNumber");
    numbers.push_back(narrow(instance.getProperty(position).getValue().toString()));
  }
  return numbers;
}

namespace Pegasus {

class CIMClientRep {};

CIMClient::CIMClient(Uint32 timeOutMilliseconds) {
  record("CIMClient " + std::to_string(timeOutMilliseconds));
}

CIMClient::~CIMClient() = default;

void CIMClient::connect(const String& address, const String& userName, const String& password) {
  record("connect " + narrow(address) + " '" + narrow(userName) + "' '" + narrow(password) + "'");
}

void CIMClient::disconnect() {
  record("disconnect");
}

Array<CIMInstance> CIMClient::enumerateInstances(const String& nameSpace, const String& className,
                                                 Boolean deepInheritance, Boolean localOnly,
                                                 Boolean includeQualifiers,
                                                 Boolean includeClassOrigin,
                                                 const CIMPropertyList& propertyList) {
  record("enumerateInstances " + narrow(nameSpace) + " " + narrow(className) + " " +
         flag(deepInheritance) + " " + flag(localOnly) + " " + flag(includeQualifiers) + " " +
         flag(includeClassOrigin) + " " + (propertyList.isNull() ? "null" : "list"));
  const auto found = fakeServer.classes.find(narrow(className));
  if (found == fakeServer.classes.end()) {
    throw CIMException(CIM_ERR_INVALID_CLASS, className);
  }
  Array<CIMInstance> instances;
  for (const CIMInstance& instance : found->second) {
    instances.append(instance);
  }
  return instances;
}

Array<CIMObjectPath> CIMClient::enumerateInstanceNames(const String& nameSpace,
                                                       const String& className) {
  record("enumerateInstanceNames " + narrow(nameSpace) + " " + narrow(className));
  Array<CIMObjectPath> names;
  for (const auto& [number, instance] : fakeServer.published) {
    names.append(nameOf(number));
  }
  return names;
}

CIMInstance CIMClient::getInstance(const String& nameSpace, const CIMObjectPath& instanceName,
                                   Boolean localOnly, Boolean /*includeQualifiers*/,
                                   Boolean /*includeClassOrigin*/,
                                   const CIMPropertyList& /*propertyList*/) {
  record("getInstance " + narrow(nameSpace) + " " + narrow(instanceName.toString()) + " " +
         flag(localOnly));
  return fakeServer.published.at(numberOf(instanceName));
}

CIMValue CIMClient::getProperty(const String& nameSpace, const CIMObjectPath& instanceName,
                                const String& propertyName) {
  record("getProperty " + narrow(nameSpace) + " " + narrow(instanceName.toString()) + " " +
         narrow(propertyName));
  const CIMInstance& instance = fakeServer.published.at(numberOf(instanceName));
  return instance.getProperty(instance.findProperty(propertyName)).getValue();
}

CIMObjectPath CIMClient::createInstance(const String& nameSpace, const CIMInstance& newInstance) {
  record("createInstance " + narrow(nameSpace) + " " + describe(newInstance));
  fakeServer.published.emplace(fakeServer.nextName, newInstance);
  return nameOf(fakeServer.nextName++);
}

void CIMClient::deleteInstance(const String& nameSpace, const CIMObjectPath& instanceName) {
  record("deleteInstance " + narrow(nameSpace) + " " + narrow(instanceName.toString()));
  fakeServer.published.erase(numberOf(instanceName));
}

}  // namespace Pegasus
