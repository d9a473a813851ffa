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
    # The directory of the service, where earlier versions had it as well, and when the timer was last due.
    rm -rf /var/lib/morvik /var/lib/private/morvik
    rm -f /var/lib/systemd/timers/stamp-morvik.timer
    if command -v userdel >/dev/null && getent passwd morvik >/dev/null; then
        userdel morvik || true
    fi
fi

if [ -d /run/systemd/system ]; then
    systemctl --system daemon-reload >/dev/null || true
fi
