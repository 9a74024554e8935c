"""What must be seen of the daemon: what it says, runs, sends and answers."""
from .. import logs
from .kinds import sight
from .types import briefly, choice, some, text, whole


@sight("said", "the daemon says {said}", said=text)
def said(game, said):
    logs.settle(game.state)
    lines = [line["text"] for line in logs.lines(game.state, game.mark)]
    return any(said in line for line in lines), f"{len(lines)} other lines"


@sight("ran", "the daemon runs {ran}", ran=text)
def ran(game, ran):
    commands = [line["command"].strip() for line in logs.commands(game.state, game.mark)]
    return any(ran in command for command in commands), briefly("\n".join(commands)) or "no command"


@sight("mail", "a mail arrives: {mail}", mail=text, to=text)
def mail(game, mail, to=""):
    """What its subject or its body holds."""
    mails = game.servers.mails()
    good = any(mail in one["subject"] + "\n" + one["body"] and (not to or to in one["to"]) for one in mails)
    return good, "; ".join(f"{one['subject']}: {one['body'].strip()}" for one in mails) or "no mail"


@sight("answered", "whoever asked for {answered} is answered", answered=text)
def answered(game, answered):
    return game.answered(answered)


@sight("wps", "the web server has heard of the setup: {wps}", wps=some(choice("running", "joined", "failed")))
def wps(game, wps):
    heard = game.wps.heard()
    return heard == wps, f"it has heard {', '.join(heard) or 'nothing'}"


@sight("wireless", "the wireless daemon was asked {wireless}", wireless=some(whole(0, 0xFFFF)))
def wireless(game, wireless):
    """The types of the first requests."""
    asked = game.wps.asked()
    return asked[:len(wireless)] == wireless, f"it was asked {', '.join(map(str, asked)) or 'nothing'}"
