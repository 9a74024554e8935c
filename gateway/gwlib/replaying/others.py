"""What others write into the data model, and what lies in the files that the daemon reads."""
import contextlib
import pathlib
import subprocess

PLACES = ("/tmp/", "/var/", "/run/", "/etc/", "/data/", "/proc/tc3162/", "/proc/sys/")
SWITCHES, SWITCHES_PLACE = "/proc/sys/", "/run/gateway/replay-files"  # they cannot be written where they are


class Model:
    def __init__(self, revealed, warn):
        self.revealed, self.warn = revealed, warn
        self.values = {}  # to be written in one call

    def take(self, line):
        """A change that somebody else made."""
        path, old, new = line["path"], line.get("old"), line.get("new")
        if path in self.values or not _is_parameter(line):
            self.flush()
        if _is_parameter(line):
            self.values[path] = self._text(new)
        elif old is None:
            self._add(path)
        else:
            self._call("del", "--no-apply", path)

    def flush(self):
        if self.values:
            self._call("set", "--no-apply", *(f"{path}={value}" for path, value in self.values.items()))
            self.values = {}

    def _add(self, path):
        made = self._call("add", "--no-apply", path.rpartition(".")[0]).strip()
        if made and made != path:
            self.warn(f"{path} came as {made}")

    def _call(self, *words):
        done = subprocess.run(["vcfgctl", *words], capture_output=True, text=True, check=False)
        if done.returncode != 0:
            self.warn(f"left out: {done.stderr.strip().removeprefix('vcfgctl: ')}")
            if words[0] == "set" and len(words) > 3:
                for word in words[2:]:
                    self._call("set", "--no-apply", word)
        return done.stdout

    def _text(self, value):
        if isinstance(value, bool):
            return "true" if value else "false"
        return self.revealed(str(value))


def _is_parameter(line):
    return line.get("old") is not None and line.get("new") is not None


class Files:
    """Each file as it will be read next."""

    def __init__(self, lines, revealed):
        self.coming, self.revealed = {}, revealed
        for line in lines:
            if line["kind"] == "file" and line.get("what", "").startswith(PLACES):
                self.coming.setdefault(line["what"], []).append(line)
        for path in self.coming:
            self._place(path)

    def read(self, line):
        """That reading is over; the next one may find something else."""
        coming = self.coming.get(line.get("what"), [])
        if len(coming) > 1:
            coming.pop(0)
            self._place(line["what"])

    def _place(self, path):
        line = self.coming[path][0]
        file = pathlib.Path(SWITCHES_PLACE + path if path.startswith(SWITCHES) else path)
        with contextlib.suppress(OSError):
            if line.get("result", 0) < 0:
                file.unlink(missing_ok=True)
                return
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_bytes(bytes.fromhex(line["hex"]) if "hex" in line else self.revealed(line.get("text", "")).encode())
