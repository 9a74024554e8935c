"""Waiting for a condition, with a deadline."""
import time

STEP = 0.02


def until(condition, seconds):
    """The first true value of `condition()`, or None when the time is over."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() >= end:
            return None
        time.sleep(STEP)
