// A client of one CIM server: CIM operations over HTTP (DMTF DSP0200) in CIM-XML (DSP0201).
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/String.h>

#include <memory>

namespace Pegasus {

class CIMClientRep;

// Holds at most one connection, kept open between operations. Every operation blocks until the
// whole answer is there. One thread at a time.
//
// Errors of every operation:
//   NotConnectedException            before connect() or after disconnect(); nothing was sent
//   InvalidValueException            an argument holds a character that XML cannot carry; nothing
//                                    was sent
//   CannotConnectException           the connection had been closed by the server while it was idle
//                                    and could not be opened again; nothing was sent
//   ConnectionTimeoutException       the time-out ran out; the connection has been dropped, and
//                                    the next operation opens a new one
//   CIMClientMalformedHTTPException  the answer is not an HTTP response, ended early, or exceeds
//                                    64 MiB
//   CIMClientHTTPErrorException      an HTTP status other than 200
//   XmlException, XmlValidationError the body is not XML, or not CIM-XML
//   CIMClientResponseException       the body answers something else than was asked
//   CIMException                     the server refused, with a CIM status code
// After a failure other than a refusal the server may or may not have carried out the request: a
// request that has been sent is never sent a second time.
class CIMClient {
 public:
  // The time-out, in milliseconds, is for one whole operation: from its first byte sent, or from
  // the connection attempt if it needs one, to the last byte of the answer.
  explicit CIMClient(Uint32 timeOutMilliseconds);
  CIMClient(const CIMClient&) = delete;
  CIMClient& operator=(const CIMClient&) = delete;
  CIMClient(CIMClient&&) = delete;
  CIMClient& operator=(CIMClient&&) = delete;
  // Closes the connection; never throws.
  ~CIMClient();

  // Opens the TCP connection. `address` is host, colon and port; the host is a name, an IPv4
  // address or an IPv6 address in brackets. Throws CannotConnectException when the connection
  // cannot be made within the time-out, when the address has another form, or when user or password
  // is not empty: this client has no authentication and never pretends to. Throws
  // AlreadyConnectedException when it is connected.
  void connect(const String& address, const String& userName, const String& password);
  // Closes the connection; without one it does nothing.
  void disconnect();

  // All instances of the class and its subclasses, in the server's order, with the paths that the
  // server gave them.
  Array<CIMInstance> enumerateInstances(const String& nameSpace, const String& className,
                                        Boolean deepInheritance = true, Boolean localOnly = true,
                                        Boolean includeQualifiers = false,
                                        Boolean includeClassOrigin = false,
                                        const CIMPropertyList& propertyList = CIMPropertyList());

  // The names of all instances of the class and its subclasses, in the server's order.
  Array<CIMObjectPath> enumerateInstanceNames(const String& nameSpace, const String& className);

  CIMInstance getInstance(const String& nameSpace, const CIMObjectPath& instanceName,
                          Boolean localOnly = true, Boolean includeQualifiers = false,
                          Boolean includeClassOrigin = false,
                          const CIMPropertyList& propertyList = CIMPropertyList());

  // On the wire a property's value has no type: it comes as a string, or as an array of strings. A
  // null property gives a null value.
  CIMValue getProperty(const String& nameSpace, const CIMObjectPath& instanceName,
                       const String& propertyName);

  // Creates the instance and returns the name that the server gave it; an empty one when the server
  // reports success without a name.
  CIMObjectPath createInstance(const String& nameSpace, const CIMInstance& newInstance);

  void deleteInstance(const String& nameSpace, const CIMObjectPath& instanceName);

 private:
  std::unique_ptr<CIMClientRep> rep_;
};

}  // namespace Pegasus
