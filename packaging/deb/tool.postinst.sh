#!/bin/sh
set -e

if [ "$1" = configure ] || [ "$1" = abort-upgrade ] || [ "$1" = abort-deconfigure ] ||
    [ "$1" = abort-remove ]; then
    systemd-sysusers morvik.conf
    # The directory belongs to that account. A link leads to one of an earlier version, which systemd moves
    # here with the next run.
    if [ ! -L /var/lib/morvik ]; then
        if [ ! -e /var/lib/morvik ]; then
            install -d -m 755 -o morvik -g morvik /var/lib/morvik
        elif [ "$(stat -c %U /var/lib/morvik)" = root ]; then
            chown -Rh morvik:morvik /var/lib/morvik
        fi
    fi
fi

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
