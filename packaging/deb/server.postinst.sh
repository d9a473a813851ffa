#!/bin/sh
set -e

if [ "$1" = configure ] || [ "$1" = abort-upgrade ] || [ "$1" = abort-deconfigure ] ||
    [ "$1" = abort-remove ]; then
    systemd-sysusers morvik-cimd.conf

    for unit in morvik-cimd.socket morvik-cimd.service; do
        deb-systemd-helper unmask "$unit" >/dev/null || true
        # Also true of a unit that is new to the system.
        if deb-systemd-helper --quiet was-enabled "$unit"; then
            deb-systemd-helper enable "$unit" >/dev/null || true
        else
            deb-systemd-helper update-state "$unit" >/dev/null || true
        fi
    done
    # Where another CIM server has the port, the installation succeeds all the same.
    if [ -d /run/systemd/system ]; then
        systemctl --system daemon-reload >/dev/null || true
        # The server of an earlier version has the port itself.
        if ! systemctl --quiet is-active morvik-cimd.socket; then
            deb-systemd-invoke stop morvik-cimd.service >/dev/null || true
            deb-systemd-invoke start morvik-cimd.socket >/dev/null || true
        fi
        if [ -n "$2" ]; then
            deb-systemd-invoke restart morvik-cimd.service >/dev/null || true
        else
            deb-systemd-invoke start morvik-cimd.service >/dev/null || true
        fi
    fi
fi
