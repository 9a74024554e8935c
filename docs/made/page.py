"""A page that is made: written, or with --check held against the one that is there."""
import difflib
import sys


def write_or_check(path, text):
    if "--check" not in sys.argv[1:]:
        path.write_text(text)
        return
    there = path.read_text() if path.exists() else ""
    if there != text:
        sys.stderr.writelines(difflib.unified_diff(there.splitlines(True), text.splitlines(True), str(path), "made now", n=1))
        sys.exit(f"{path} is stale; 'cmake --build BUILD --target docs' makes it")
