#!/bin/sh
systemd-sysusers morvik-cimd.conf || :
if [ -d /run/systemd/system ]; then
    systemctl --system daemon-reload >/dev/null 2>&1 || :
fi
if command -v systemctl >/dev/null; then
    if [ "$1" -eq 1 ]; then
        # Whether a new service starts is for the system's presets to say.
        systemctl --no-reload preset morvik-cimd.socket morvik-cimd.service >/dev/null 2>&1 || :
    else
        # The server of an earlier version has the port itself.
        if systemctl --quiet is-active morvik-cimd.service && ! systemctl --quiet is-active morvik-cimd.socket; then
            systemctl stop morvik-cimd.service >/dev/null 2>&1 || :
            systemctl start morvik-cimd.service >/dev/null 2>&1 || :
        else
            systemctl try-restart morvik-cimd.service >/dev/null 2>&1 || :
        fi
    fi
fi
