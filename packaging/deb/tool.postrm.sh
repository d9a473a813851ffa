#!/bin/sh
set -e

if [ "$1" = remove ] && command -v deb-systemd-helper >/dev/null; then
    deb-systemd-helper mask morvik.timer >/dev/null || true
fi

if [ "$1" = purge ]; then
    if command -v deb-systemd-helper >/dev/null; then
        deb-systemd-helper purge morvik.timer >/dev/null || true
        deb-systemd-helper unmask morvik.timer >/dev/null || true
    fi
    # The folder of the service, behind the link that systemd makes for a user of the moment, and
    # when the timer was last due.
    rm -rf /var/lib/morvik /var/lib/private/morvik
    rm -f /var/lib/systemd/timers/stamp-morvik.timer
fi

if [ -d /run/systemd/system ]; then
    systemctl --system daemon-reload >/dev/null || true
fi
