#!/bin/sh
set -e

if [ "$1" = remove ] && command -v deb-systemd-helper >/dev/null; then
    deb-systemd-helper mask morvik-cimd.socket morvik-cimd.service >/dev/null || true
fi

if [ "$1" = purge ]; then
    if command -v deb-systemd-helper >/dev/null; then
        deb-systemd-helper purge morvik-cimd.socket morvik-cimd.service >/dev/null || true
        deb-systemd-helper unmask morvik-cimd.socket morvik-cimd.service >/dev/null || true
    fi
    # The store, and its owner, who has nothing else.
    rm -rf /var/lib/morvik-cimd
    if command -v userdel >/dev/null && getent passwd morvik-cimd >/dev/null; then
        userdel morvik-cimd || true
    fi
fi

if [ -d /run/systemd/system ]; then
    systemctl --system daemon-reload >/dev/null || true
fi
