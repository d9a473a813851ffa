#!/bin/sh
systemd-sysusers morvik.conf || :
if [ ! -L /var/lib/morvik ]; then
    if [ ! -e /var/lib/morvik ]; then
        install -d -m 755 -o morvik -g morvik /var/lib/morvik || :
    elif [ "$(stat -c %U /var/lib/morvik)" = root ]; then
        chown -Rh morvik:morvik /var/lib/morvik || :
    fi
fi
# The timer is for the administrator to switch on, once there is an FTP server to ask.
if [ -d /run/systemd/system ]; then
    systemctl --system daemon-reload >/dev/null 2>&1 || :
    if [ "$1" -gt 1 ]; then
        systemctl try-restart morvik.timer >/dev/null 2>&1 || :
    fi
fi
