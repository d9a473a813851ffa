#!/bin/sh
# 0: no version of it stays.
if [ "$1" -eq 0 ] && command -v systemctl >/dev/null; then
    systemctl --no-reload disable --now morvik-cimd.socket morvik-cimd.service >/dev/null 2>&1 || :
fi
