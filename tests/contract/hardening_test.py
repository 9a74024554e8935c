"""What every program and library that ships has against mistakes in memory, read from the built files."""
import functools
import os
import pathlib
import platform
import re
import subprocess

import pytest

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
FILES = [pathlib.Path(name) for name in pathlib.Path(os.environ["SHIPPED_FILES"]).read_text().split()]
# The most that the daemon may take of the flash of a device, without its symbols.
DAEMON_LIMIT = 250 * 1024
LANDING_PAD = bytes.fromhex("f30f1efa")
# The C library brings these.
NOT_OURS = {"_start", "_init", "_fini", "__pthread_atfork"}
# Where the size of what they write to is not checked, or not where a %n may stand.
UNCHECKED = {"printf", "fprintf", "vprintf", "vfprintf", "sprintf", "vsprintf", "strcpy", "strcat"}

shipped = pytest.mark.parametrize("file", FILES, ids=lambda file: file.name)


@functools.cache
def readelf(file, *options):
    return subprocess.run(["readelf", "-W", *options, file], check=True, capture_output=True, text=True).stdout


def segments(file, kind):
    """The rights of the segments of a kind."""
    return re.findall(rf"^ +{kind} +(?:0x\w+ +){{5}}([R ][W ][E ])", readelf(file, "-l"), re.MULTILINE)


def imports(file):
    return {match[1] for match in re.finditer(r" UND (\w+)", readelf(file, "--dyn-syms"))}


def is_library(file):
    return ".so" in file.name


@pytest.mark.parametrize("unit", sorted((REPOSITORY / "port/linux/systemd").glob("*.service")), ids=lambda unit: unit.name)
def test_kernel_takes_only_the_calls_of_a_service(unit):
    settings = unit.read_text().splitlines()
    (taken,) = (line.split("=", 1)[1].split() for line in settings if line.startswith("SystemCallFilter="))
    assert taken[0] == "@system-service" and set(taken[1:]) <= {"@clock", "chroot"}
    assert "SystemCallArchitectures=native" in settings and "SystemCallErrorNumber=EPERM" in settings


@shipped
def test_program_is_loaded_at_a_place_of_its_own_each_time(file):
    assert re.search(r"Type: +DYN", readelf(file, "-h"))
    assert is_library(file) or re.search(r"FLAGS_1.*\bPIE\b", readelf(file, "-d"))
    assert "TEXTREL" not in readelf(file, "-d")


@shipped
def test_addresses_of_other_libraries_are_found_before_the_start_and_cannot_be_changed_later(file):
    assert segments(file, "GNU_RELRO")
    assert re.search(r"\bNOW\b", readelf(file, "-d"))


@shipped
def test_no_memory_is_both_written_and_executed(file):
    assert segments(file, "GNU_STACK") == ["RW "]
    assert "RWE" not in segments(file, "LOAD")


@shipped
def test_functions_with_arrays_see_that_their_return_address_is_whole(file):
    assert "__stack_chk_fail" in imports(file)


@shipped
def test_texts_are_formatted_and_copied_with_the_size_of_their_place(file):
    assert not UNCHECKED & imports(file)


@pytest.mark.skipif(platform.machine() != "x86_64", reason="other machines mark no targets of jumps")
@shipped
def test_functions_begin_with_a_landing_pad(file):
    contents = file.read_bytes()
    entries = [line.split() for line in readelf(file, "--syms").splitlines()]
    functions = [(int(entry[1], 16), entry[6]) for entry in entries
                 if len(entry) == 8 and entry[3:6] == ["FUNC", "GLOBAL", "DEFAULT"] and entry[6].isdigit() and entry[7] not in NOT_OURS]
    sections = {number: (int(address, 16), int(offset, 16)) for number, address, offset
                in re.findall(r"\[ *(\d+)\] +\S+ +PROGBITS +(\w+) (\w+)", readelf(file, "-S"))}
    assert functions
    for address, section in functions:
        begin, offset = sections[section]
        assert contents[address - begin + offset:].startswith(LANDING_PAD), f"the function at {address:#x}"


@pytest.mark.skipif(platform.machine() != "x86_64", reason="the limit is told of this machine")
def test_daemon_stays_within_its_share_of_the_flash(tmp_path):
    daemon = next(file for file in FILES if file.name == "tarn")
    stripped = tmp_path / daemon.name
    subprocess.run(["strip", "-o", stripped, daemon], check=True)
    assert stripped.stat().st_size <= DAEMON_LIMIT
