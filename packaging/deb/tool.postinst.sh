#!/bin/sh
set -e

# The timer is for the administrator to switch on, once there is an FTP server to ask.
if [ "$1" = configure ] || [ "$1" = abort-upgrade ] || [ "$1" = abort-deconfigure ] ||
    [ "$1" = abort-remove ]; then
    if deb-systemd-helper debian-installed morvik.timer; then
        deb-systemd-helper unmask morvik.timer >/dev/null || true
        if deb-systemd-helper --quiet was-enabled morvik.timer; then
            deb-systemd-helper enable morvik.timer >/dev/null || true
        fi
    fi
    deb-systemd-helper update-state morvik.timer >/dev/null || true
    if [ -d /run/systemd/system ]; then
        systemctl --system daemon-reload >/dev/null || true
        if systemctl --quiet is-active morvik.timer; then
            deb-systemd-invoke restart morvik.timer >/dev/null || true
        fi
    fi
fi
