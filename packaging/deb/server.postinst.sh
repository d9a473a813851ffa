#!/bin/sh
set -e

if [ "$1" = configure ] || [ "$1" = abort-upgrade ] || [ "$1" = abort-deconfigure ] ||
    [ "$1" = abort-remove ]; then
    systemd-sysusers morvik-cimd.conf

    deb-systemd-helper unmask morvik-cimd.service >/dev/null || true
    if deb-systemd-helper --quiet was-enabled morvik-cimd.service; then
        deb-systemd-helper enable morvik-cimd.service >/dev/null || true
    else
        deb-systemd-helper update-state morvik-cimd.service >/dev/null || true
    fi
    # Where another CIM server has the port, the installation succeeds all the same.
    if [ -d /run/systemd/system ]; then
        systemctl --system daemon-reload >/dev/null || true
        if [ -n "$2" ]; then
            deb-systemd-invoke restart morvik-cimd.service >/dev/null || true
        else
            deb-systemd-invoke start morvik-cimd.service >/dev/null || true
        fi
    fi
fi
