// Answers for the scripted servers of these tests, and the questions to them.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <string>

#include "scripted_server.h"

// A recorded answer of tests/data/traffic ("07-get-property"), with "@ID@" in place of the message
// ID. Both have four bytes, as have the message IDs of a client that is asked less than 9000 times.
std::string recordedAnswer(const std::string& name);
std::string recordedRequest(const std::string& name);

// The part of an HTTP message after its header.
std::string bodyOf(const std::string& message);

// A complete HTTP answer with Content-Length; `fields` are further header lines, each with its end.
std::string httpAnswer(const std::string& body,
                       const std::string& fields = "CIMOperation: MethodResponse\r\n",
                       const std::string& status = "200 OK");
// The body that answers GetProperty with a value.
std::string propertyBody(const std::string& value);
// The whole answer.
inline std::string propertyAnswer(const std::string& value) {
  return httpAnswer(propertyBody(value));
}
// Answers one request, then waits for the client to close.
inline const ScriptedServer::Script answerOnce = [](Peer& peer) {
  peer.answer(propertyAnswer("x"));
  peer.awaitClose();
};
// From the bytes of a body: chunks of at most `size` bytes, then the trailer lines.
std::string chunked(const std::string& body, std::size_t size, const std::string& trailers = "");

// The instance name of the recordings, as they spell it: KVAXDT_FRU with three keys.
Pegasus::CIMObjectPath fruName(const char* fruNumber = "A100001");
// Asks for one property of it, and gives its text.
std::string askProperty(Pegasus::CIMClient& client);
// The text of a property that the instance has.
std::string valueOf(const Pegasus::CIMInstance& instance, const char* name);
