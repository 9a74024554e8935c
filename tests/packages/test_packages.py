"""The packages themselves."""
import hashlib
import re
import subprocess

from machine import REPOSITORY, run

NAMES = {"tarn", "libvcfg1", "libvcfg-dev", "vcfg-tools", "tarn-linux", "tarn-virtual-gateway"}
FORBIDDEN_PLACES = r"\./(usr/local|home|opt|srv|data|work)"


def sums(folder):
    return {file.name: hashlib.sha256(file.read_bytes()).hexdigest() for file in folder.glob("*.deb")}


def test_all_are_there(packages):
    assert {file.name.split("_")[0] for file in packages.glob("*.deb")} == NAMES


def test_lintian_finds_no_error(packages):
    found = subprocess.run(["lintian", "--allow-root", *packages.glob("*.deb")], capture_output=True, text=True, check=False)
    assert [line for line in found.stdout.splitlines() if line.startswith("E:")] == []


def test_two_builds_give_the_same_bytes(packages, tmp_path):
    run(REPOSITORY / "script" / "package", "--output", tmp_path)
    assert sums(tmp_path) == sums(packages)


def test_daemon_links_json_and_the_library_only(packages, tmp_path):
    run("dpkg-deb", "-x", next(packages.glob("tarn_*.deb")), tmp_path)
    needed = set(re.findall(r"NEEDED\s+(\S+)", run("objdump", "-p", tmp_path / "usr/bin/tarn").stdout))
    assert needed <= {"libvcfg.so.1", "libjson-c.so.5", "libstdc++.so.6", "libgcc_s.so.1", "libc.so.6", "libm.so.6"}


def test_nothing_lies_where_a_package_has_no_business(packages):
    for file in packages.glob("*.deb"):
        listing = run("dpkg-deb", "-c", file).stdout
        assert not re.search(FORBIDDEN_PLACES, listing), file.name
        assert not re.search(str(REPOSITORY).encode(), subprocess.run(["dpkg-deb", "--fsys-tarfile", file], capture_output=True,
                                                                check=True).stdout), file.name


def test_another_daemon_builds_against_the_development_package(packages, tmp_path):
    """As it would lie on a machine; the paths in the files are taken from where the files are."""
    for name in ("libvcfg1", "libvcfg-dev"):
        run("dpkg-deb", "-x", next(packages.glob(f"{name}_*.deb")), tmp_path)
    pc = next(tmp_path.glob("usr/lib/*/pkgconfig"))
    flags = run("env", f"PKG_CONFIG_PATH={pc}", "pkg-config", "--cflags", "--libs", "vcfg").stdout.split()
    (tmp_path / "own.c").write_text("#include <vcfg/vcfg.h>\nint main(void) { return vcfg_codeText(0) == 0; }\n"
                                    .replace("vcfg/vcfg.h", "vcfg/loop.h"))
    run("cc", tmp_path / "own.c", "-o", tmp_path / "own", *flags)
    run("env", f"LD_LIBRARY_PATH={pc.parent}", tmp_path / "own")
    (tmp_path / "CMakeLists.txt").write_text("cmake_minimum_required(VERSION 3.25)\nproject(own C)\nfind_package(vcfg REQUIRED)\n"
                                             "add_executable(own own.c)\ntarget_link_libraries(own vcfg::vcfg)\n")
    run("cmake", "-S", tmp_path, "-B", tmp_path / "b", f"-DCMAKE_PREFIX_PATH={tmp_path}/usr", "-DCMAKE_LIBRARY_ARCHITECTURE=" + pc.parent.name)
    run("cmake", "--build", tmp_path / "b")
