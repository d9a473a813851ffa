#!/bin/sh
set -e

if [ "$1" = remove ] && [ -d /run/systemd/system ]; then
    deb-systemd-invoke stop morvik-cimd.socket morvik-cimd.service >/dev/null || true
fi
