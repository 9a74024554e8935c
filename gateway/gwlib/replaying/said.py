"""Log lines in words that can be compared: what is never twice the same is left out."""
import re

TIME = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(?:\.\d+)?Z?")
NUMBER = re.compile(r"0x[0-9a-fA-F]+|\d+")


def without_times(text):
    return TIME.sub("(time)", text)


def timeless(text):
    return without_times(text)


def outline(text):
    """What two lines of one statement have in common."""
    return NUMBER.sub("#", text)
