"""The Internet LED: what the platform's two files say of it, and how the daemon's commands change it."""

GREEN, RED = FILES = ("/proc/tc3162/led_internet", "/proc/tc3162/led_internet_red")
COLOURS = {("2 0", "0"): "green", ("0 0", "2"): "red", ("0 0", "0"): "dark"}
NONE = "between two colours"  # one of the files has been written, the other one not yet


def colour(texts):
    """Of the texts of both files."""
    return COLOURS.get(tuple(texts), NONE)


class Light:
    """The LED as the commands so far have left it."""

    def __init__(self):
        self.files = {GREEN: "0 0", RED: "0"}

    def after(self, command):
        """(colour before, colour now) when this command has changed it."""
        told, _, file = command.strip().removeprefix("echo ").partition(" > ")
        before = colour(self.files.values())
        self.files[file] = told
        now = colour(self.files.values())
        return (before, now) if now != before else None
