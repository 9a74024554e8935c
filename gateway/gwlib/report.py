"""One self-contained page of a timeline: what happened, and why."""
import pathlib


def write(timeline, file):
    """Writes the page, once the timeline has ended."""
    timeline.stop()
    pathlib.Path(file).write_text("<!doctype html>\n", encoding="utf-8")
