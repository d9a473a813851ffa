#!/bin/sh
# The timer is for the administrator to switch on, once there is an FTP server to ask.
if [ -d /run/systemd/system ]; then
    systemctl --system daemon-reload >/dev/null 2>&1 || :
    if [ "$1" -gt 1 ]; then
        systemctl try-restart morvik.timer >/dev/null 2>&1 || :
    fi
fi
