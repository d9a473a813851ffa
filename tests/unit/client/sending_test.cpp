// How a request leaves, as the network and the clock see it.
#include <Pegasus/Client/CIMClient.h>
#include <gtest/gtest.h>

#include "answers.h"
#include "scripted_server.h"
#include "system_calls.h"

namespace Pegasus {
namespace {

// A header that leaves alone may wait for its acknowledgement before the body follows.
TEST(Sending, HeaderAndBodyLeaveInOneSegment) {
  std::vector<std::size_t> segments;
  ScriptedServer server({[&](Peer& peer) {
    for (int i = 0; i < 3; i++) {
      peer.readRequest();
      segments.push_back(peer.segments());
      peer.send(propertyAnswer("x"));
    }
  }});
  CIMClient client(20'000);
  client.connect(server.address().c_str(), "", "");
  for (int i = 0; i < 3; i++) {
    EXPECT_EQ(askProperty(client), "x");
  }
  EXPECT_EQ(server.problems(), "");
  EXPECT_EQ(segments, (std::vector<std::size_t>{1, 2, 3}));
}

// There is always room for the next bytes, and the answer is there before the request has left.
TEST(Sending, IsNotProlongedByAServerThatTakesLittleAtATime) {
  ScriptedServer server({[](Peer& peer) {
    peer.readBytes(1);
    peer.send("HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\n\r\n");
    peer.readRequest();
  }});
  CIMClient client(300);
  client.connect(server.address().c_str(), "", "");
  const std::string large(1U << 20, 'x');
  const CIMObjectPath name = fruName(large.c_str());
  systemCalls.slowSendSize = 1024;
  EXPECT_THROW(client.deleteInstance("root/kvasd", name), ConnectionTimeoutException);
  systemCalls.slowSendSize = 0;
}

}  // namespace
}  // namespace Pegasus
