"""What can go wrong, in words for whoever started the board."""


class BoardError(Exception):
    pass
