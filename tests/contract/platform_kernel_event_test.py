"""Kernel event datagrams reach the registered process through the platform's netlink family."""
import os
import struct
import sys

import pytest
from platform_support import PRELOAD, namespace, receiver, run  # noqa: F401 (fixtures)


def send(hw, *arguments):
    return run(hw, "gw-kernel-event", *arguments, "--pid-file", hw / "user_pid")


def sent(namespace, receiver, *arguments):
    """The datagram that arrives."""
    result = namespace.run("gw-kernel-event", *arguments, "--pid-file", receiver.registration)
    assert result.returncode == 0, result.stderr
    return receiver.first()


def test_text_goes_with_its_terminator_and_the_kernel_as_sender(namespace, receiver):
    datagram = sent(namespace, receiver, "ptm0:up")
    length, kind, _, _, sender = struct.unpack("=IHHII", datagram[:16])
    assert (length, kind, sender) == (24, 0x2000, 0)
    assert datagram[16:] == b"ptm0:up\0"


def test_datagram_is_padded_to_four_bytes_and_its_length_is_not(namespace, receiver):
    datagram = sent(namespace, receiver, "eth0.5:up:1000:F")
    assert struct.unpack("=I", datagram[:4])[0] == 33
    assert len(datagram) == 36


def test_type_alone_sends_a_message_without_payload(namespace, receiver):
    assert sent(namespace, receiver, "--type", "0x1000") == struct.pack("=IHHII", 16, 0x1000, 0, 0, 0)


def test_long_text_arrives_whole(namespace, receiver):
    assert sent(namespace, receiver, "e" * 100_000)[16:] == b"e" * 100_000 + b"\0" * 4


def test_raw_bytes_arrive_as_they_are(namespace, receiver):
    (namespace.hardware / "bytes").write_bytes(b"\xff\x00\x01")
    assert sent(namespace, receiver, "--raw", namespace.hardware / "bytes") == b"\xff\x00\x01"


@pytest.mark.parametrize("registration", [None, "", "0\n", "-4\n", "x\n", "12x\n"])
def test_without_a_registered_process_it_fails(tmp_path, registration):
    if registration is not None:
        (tmp_path / "user_pid").write_text(registration)
    refused = send(tmp_path, "ptm0:up")
    assert refused.returncode == 1
    assert refused.stderr == f"gw-kernel-event: no process is registered in {tmp_path}/user_pid\n"


def test_a_registered_process_that_does_not_listen_is_told(tmp_path):
    (tmp_path / "user_pid").write_text(f"{os.getpid()}\n")
    refused = send(tmp_path, "ptm0:up")
    assert refused.returncode == 1
    assert refused.stderr == f"gw-kernel-event: process {os.getpid()} does not listen for kernel events\n"


@pytest.mark.parametrize("arguments", [[], ["a", "b"], ["a", "--raw", "f"], ["--other"]])
def test_wrong_usage_is_told(tmp_path, arguments):
    assert send(tmp_path, *arguments).returncode == 2


@pytest.mark.parametrize("arguments", [["a", "--type", "0x10000"], ["a", "--type", "x"], ["a", "--type", "-1"],
                                       ["--raw", "/dev/null"], ["--raw", "/nowhere"], ["--raw", "/"]])
def test_impossible_requests_fail_with_one_line(tmp_path, arguments):
    refused = send(tmp_path, *arguments)
    assert refused.returncode == 1
    assert refused.stderr.count("\n") == 1


def test_preload_changes_no_other_socket(tmp_path):
    script = ("import socket as s; a=s.socket(s.AF_NETLINK,s.SOCK_RAW,0); b=s.socket(s.AF_INET,s.SOCK_DGRAM,25-8);"
              "print(a.getsockopt(s.SOL_SOCKET,38), b.getsockopt(s.SOL_SOCKET,38))")
    result = run(tmp_path, sys.executable, "-c", script, LD_PRELOAD=PRELOAD)
    assert result.stdout == "0 17\n", result.stderr
