"""Log lines in words that can be compared: what is not the same twice is left out."""
import re

TIME = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(?:\.\d+)?Z?")
SPEED = re.compile(r" (?:by|took) \d+ ms$")  # how long something took: said only when the machine is slow
SOURCE_LINE = re.compile(r"^(\w+\(\):|\w+\(|[a-z]+[A-Z]\w* |tarn line |\[\w+\]\[)\d+(?=[:,)\]]|$)")
DESCRIPTOR = re.compile(r"^(kernelFd=)\d+")
NUMBER = re.compile(r"0x[0-9a-fA-F]+|\d+")


def tells_speed(text):
    return SPEED.search(text) is not None


def without_times(text):
    return TIME.sub("(time)", text)


def timeless(text):
    """Without what another moment, process or release says otherwise."""
    return DESCRIPTOR.sub(r"\1(descriptor)", SOURCE_LINE.sub(r"\1(line)", without_times(text)))


def outline(text):
    """What two lines of one statement have in common."""
    return NUMBER.sub("#", timeless(text))
