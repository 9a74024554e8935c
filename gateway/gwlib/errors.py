"""Exit codes of every call, and the errors that carry them."""

DONE = 0
REFUSED = 1
USAGE = 2
NOBODY = 3


class GatewayError(Exception):
    """Ends the call with one line on standard error."""

    code = REFUSED


class NobodyAnswers(GatewayError):
    """There is no gateway, or the one asked inside it is not there."""

    code = NOBODY
