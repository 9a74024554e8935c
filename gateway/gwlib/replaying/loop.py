"""Waiting for whatever comes first."""
import selectors
import time


class Loop:
    def __init__(self):
        self._selector = selectors.DefaultSelector()

    def watch(self, file, call):
        self._selector.register(file, selectors.EVENT_READ, call)

    def forget(self, file):
        self._selector.unregister(file)

    def turn(self, seconds):
        for key, _ in self._selector.select(max(0.0, seconds)):
            key.data(key.fileobj)

    def until(self, condition, seconds, idle=lambda waited: None):
        """The first true value of `condition()`, or None when the time is over. `idle` is told how long nothing has helped."""
        begin = time.monotonic()
        while True:
            self.turn(0)
            value = condition()
            if value:
                return value
            waited = time.monotonic() - begin
            if waited >= seconds:
                return None
            idle(waited)
            self.turn(min(0.05, seconds - waited))
