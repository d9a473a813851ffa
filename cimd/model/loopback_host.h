// Telling this host from others by its loopback names.
#pragma once

#include <string_view>

namespace cimd {

// True for what names this host in a Host header or in an object path: localhost, 127.x.x.x or
// [::1], with or without port.
bool isLoopbackHost(std::string_view host);

}  // namespace cimd
