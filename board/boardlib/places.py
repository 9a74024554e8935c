"""Where things are."""
import pathlib

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
SOURCE = REPOSITORY / "board"
PACKAGES = REPOSITORY / "build" / "roots" / "mipsel"
CROSS = REPOSITORY / "build" / "mipsel"
BUILD = REPOSITORY / "build" / "board"
INITRD = BUILD / "initrd.gz"
SMALL = BUILD / "small-initrd.gz"


def listed(name):
    """The lines of a list of the board's, without its comments."""
    lines = (SOURCE / name).read_text(encoding="utf-8").splitlines()
    return [line.strip() for line in lines if line.strip() and not line.startswith("#")]
