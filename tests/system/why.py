"""Questions to `vcfgctl why`."""
from support import eventually


def told(gateway, *question, words):
    """Waits until the answer to the question holds the words: what is asked about may be about to come."""
    answers = []

    def answer():
        answers.append(gateway.run("vcfgctl", "why", *question).stdout)
        return all(word in answers[-1] for word in words)
    try:
        eventually(answer)
    except AssertionError as late:
        raise AssertionError(f"{words} are not in:\n{answers[-1]}") from late
    return answers[-1]
