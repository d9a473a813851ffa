#!/usr/bin/python3
"""Runs a program that gets no netlink sockets, as in a kernel without them.

without_netlink.py PROGRAM [ARG...]
"""

import ctypes
import os
import struct
import sys

PR_SET_NO_NEW_PRIVS, PR_SET_SECCOMP, SECCOMP_MODE_FILTER = 38, 22, 2
AF_NETLINK, EAFNOSUPPORT = 16, 97
SOCKET_CALL = {"x86_64": 41, "aarch64": 198}[os.uname().machine]

# seccomp(2), classic BPF: code, jump if true, jump if false, constant.
LOAD, EQUAL, RETURN = 0x20, 0x15, 0x06
FILTER = [
    (LOAD, 0, 0, 0),  # the number of the system call
    (EQUAL, 0, 3, SOCKET_CALL),
    (LOAD, 0, 0, 16),  # its first argument
    (EQUAL, 0, 1, AF_NETLINK),
    (RETURN, 0, 0, 0x00050000 | EAFNOSUPPORT),
    (RETURN, 0, 0, 0x7FFF0000),
]


class Program(ctypes.Structure):
    _fields_ = [("length", ctypes.c_ushort), ("filter", ctypes.c_char_p)]


libc = ctypes.CDLL(None, use_errno=True)
code = b"".join(struct.pack("=HBBI", *step) for step in FILTER)
program = Program(len(FILTER), code)
if (
    libc.prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0
    or libc.prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, ctypes.byref(program), 0, 0) != 0
):
    sys.exit(os.strerror(ctypes.get_errno()))
os.execv(sys.argv[1], sys.argv[1:])
