// Tells systemd how the service is doing.
#pragma once

#include <string_view>

namespace cimd {

// Sends a state such as "READY=1" to the socket that systemd names in NOTIFY_SOCKET (sd_notify(3)).
// Does nothing where it names none, and nothing more than that when it fails: the service runs all
// the same.
void notifySystemd(std::string_view state);

}  // namespace cimd
