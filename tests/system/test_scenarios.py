"""Scenario files: those that are shipped, the page about them, what is said of one that fails, and of one that is none."""
import concurrent.futures
import os
import pty
import re
import subprocess
import sys

import pytest

from support import DONE, GW, REFUSED, REPOSITORY, USAGE

sys.path.insert(0, str(REPOSITORY / "gateway"))

from gwlib.scenario import file  # noqa: E402
from gwlib.scenario.kinds import ACTS, SIGHTS  # noqa: E402

FOLDER = REPOSITORY / "gateway" / "scenarios"
SHIPPED = sorted(path.stem for path in FOLDER.glob("*.toml"))
PAGE = (REPOSITORY / "docs" / "scenarios.md").read_text()
TOGETHER = 2  # of them are played at the same time: they wait most of theirs
ENDS = '''about = "A road that ends."

[[step]]
title = "It boots"
see = [
    { model = "UPnP.Device.Enable == true", within = "200 ms" },
    { exists = "UPnP.Device.Enable" },
    { route = "default via {IP.Interface.9.Name}", text = "a route that nobody knows", within = "200 ms" },
    { exists = "UPnP.Device.Enable", not = true, within = "200 ms" },
]

[[step]]
title = "It goes on"
see = [{ led = "green" }]
'''
REFUSES = '''about = "A road whose gateway refuses something."

[[step]]
title = "Somebody sets what there is not"
do = [{ set = { "IP.Interface.99.Enable" = true } }]
'''
SHORT = 'about = "Boots."\n[[step]]\ntitle = "It is there"\nsee = [{ exists = "Device.UPnP.Device.Enable" }]\n'


def play(state, *words, **more):
    return subprocess.run([sys.executable, str(GW), "--state", str(state), "play", *map(str, words)], capture_output=True, text=True,
                          check=False, stdin=subprocess.DEVNULL, **more)


@pytest.fixture(scope="module")
def outcomes(request, tmp_path_factory):
    """{name: what is or will be the finished call} of those that are asked for."""
    asked = [item.callspec.params["name"] for item in request.session.items if "outcomes" in item.fixturenames]
    with concurrent.futures.ThreadPoolExecutor(TOGETHER) as pool:
        yield {name: pool.submit(play, tmp_path_factory.mktemp(name), FOLDER / f"{name}.toml") for name in asked}


@pytest.mark.parametrize("name", SHIPPED)
def test_shipped_scenario_is_as_expected(outcomes, name):
    done = outcomes[name].result()
    assert done.returncode == DONE, done.stdout + done.stderr
    if skipped := re.search(rf"^{name}: skipped: (.*)$", done.stdout, re.M):
        pytest.skip(skipped[1])
    assert re.search(rf"^{name}: all \d+ checks as expected", done.stdout, re.M)


def test_example_of_the_page_is_played_as_it_stands_there(tmp_path):
    (example,) = re.findall(r"```toml\n(about.*?)```", PAGE, re.S)
    (tmp_path / "pulled.toml").write_text(example)
    done = play(tmp_path / "state", tmp_path / "pulled.toml", "--verbose")
    assert done.returncode == DONE, done.stdout
    assert "== the road is as expected" in done.stdout
    assert "  model  IP.Interface.1.Status: Up -> LowerLayerDown" in done.stdout and "  runs   /usr/bin/wan adsl open" in done.stdout
    assert not (tmp_path / "state" / "world.pid").exists()


@pytest.mark.parametrize(("table", "chapter"), [(ACTS, "## What happens"), (SIGHTS, "## What must be seen")])
def test_page_has_every_kind_with_every_key(table, chapter):
    text = PAGE.partition(f"{chapter}\n")[2].partition("\n## ")[0]
    rows = dict(re.findall(r"^\| `(\w+)[^|]*\|(.*)$", text, re.M))
    assert sorted(rows) == sorted(table)
    for name, kind in table.items():
        row = next(line for line in text.splitlines() if line.startswith(f"| `{name}"))
        assert [key for key in kind.fields if key not in row] == [], name


def test_failing_step_says_what_was_expected_what_was_seen_and_what_led_there(tmp_path):
    (tmp_path / "ends.toml").write_text(ENDS)
    (tmp_path / "refuses.toml").write_text(REFUSES)
    (tmp_path / "short.toml").write_text(SHORT)
    done = play(tmp_path / "state", *(tmp_path / f"{name}.toml" for name in ("ends", "refuses", "short")))
    assert done.returncode == REFUSED
    assert "  FAIL   UPnP.Device.Enable is true\n" in done.stdout
    assert "  want   UPnP.Device.Enable is true, within 0.2 s of the step's last action\n" in done.stdout
    assert "  seen   UPnP.Device.Enable is false\n" in done.stdout
    assert "  ok     there is UPnP.Device.Enable\n" in done.stdout and "It goes on" not in done.stdout
    assert ("  FAIL   a route that nobody knows\n" in done.stdout
            and "  want   the kernel has the route default via {IP.Interface.9.Name}, within 0.2 s" in done.stdout
            and "  seen   IP.Interface.9.Name is empty, or does not exist\n" in done.stdout)
    assert "  FAIL   not so: there is UPnP.Device.Enable\n" in done.stdout
    assert re.search(r"  FAIL   the scenario ends here: .*IP.Interface.99", done.stdout)
    assert "== 4 of 9 checks failed, on 2 of 3 roads" in done.stdout and "short: all 2 checks as expected" in done.stdout


def test_failing_step_shows_what_happened_to_the_path(tmp_path):
    (tmp_path / "led.toml").write_text('about = "A set value."\nboot = { config = "ppp" }\n[[step]]\ntitle = "Set"\n'
                                       'do = [{ set = { "UPnP.Device.Enable" = true, "PPP.Interface.1.Password" = "s3cr3t w0rd" } }]\n'
                                       'see = [{ model = "UPnP.Device.Enable == false", within = "1 s" }]\n')
    done = play(tmp_path / "state", tmp_path / "led.toml", "--report", tmp_path / "led.html")
    assert done.returncode == REFUSED
    page = (tmp_path / "led.html").read_text()
    assert "led: 1. The gateway boots" in page and "led: 2. Set" in page and "led: UPnP.Device.Enable is false" in page
    assert "somebody sets UPnP.Device.Enable=true, PPP.Interface.1.Password=********\n" in done.stdout
    assert 'UPnP.Device.Enable is "true"' in done.stdout  # what the recorder knows
    assert not re.search("s3cr3t|w0rd", done.stdout + page)
    assert "UPnP.Device.Enable" in done.stdout.partition("  seen   UPnP.Device.Enable is true\n")[2].partition("\nled: 1 of")[0]


def test_gateway_that_stays_can_be_talked_to(tmp_path):
    (tmp_path / "short.toml").write_text(SHORT)
    done = play(tmp_path / "state", tmp_path / "short.toml", "--stay")
    try:
        assert done.returncode == DONE and f"gw --state {tmp_path}/state status" in done.stdout
        again = play(tmp_path / "state", tmp_path / "short.toml")
        assert again.returncode == REFUSED and "a gateway runs in" in again.stderr
    finally:
        assert subprocess.run([sys.executable, str(GW), "--state", str(tmp_path / "state"), "down"], check=False).returncode == DONE


LOOKED_AT = "looked-at"  # in the gateway's folder for logs: the scenario goes on when the panel has been seen
WATCHED = SHORT + f'''
[[step]]
title = "The Internet is there"
see = [{{ led = "green" }}]

[[step]]
title = "A cable"
do = [{{ pull = "eth0.5" }}]
see = [
    {{ became = "IP.Interface.1.Status == LowerLayerDown" }},
    {{ runs = "cat /var/log/gateway/{LOOKED_AT}", prints = "yes", within = "60 s", text = "somebody has looked" }},
]
'''
MOVES = re.compile(r"\x1b\[\d*[A-Z]|\r")  # of the cursor, before what is drawn anew
PANEL = (r"^links +eth0.1 up  eth0.2 out .*eth0.5 out", r"^LED +dark", r"^wan +eth0.5 +LowerLayerDown",
         r"^── live  step 4 of 4  .*4 of 5 seen")


def test_terminal_shows_links_led_and_progress_below_the_stream(tmp_path):
    (tmp_path / "live.toml").write_text(WATCHED)
    state = tmp_path / "state"
    shown, status = on_a_terminal([sys.executable, str(GW), "--state", str(state), "play", str(tmp_path / "live.toml")],
                                  lambda: (state / "log" / LOOKED_AT).write_text("yes"))
    assert status == DONE, shown
    assert "model  IP.Interface.1.Status: Up -> LowerLayerDown" in shown and "does   the cable of eth0.5 is pulled" in shown
    assert shown.rstrip().splitlines()[-1].startswith("== the road is as expected: 5 checks")


def on_a_terminal(words, seen):
    """What is shown there, and the status; `seen` is called when the panel has been all that it is waited for."""
    primary, secondary = pty.openpty()
    environment = {**os.environ, "COLUMNS": "150", "LINES": "50", "TERM": "xterm", "NO_COLOR": "1"}
    process = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=secondary, stderr=secondary, env=environment)
    os.close(secondary)
    shown, awaited = b"", PANEL
    try:
        while data := os.read(primary, 65536):
            shown += data
            text = MOVES.sub("", shown.decode(errors="replace"))
            awaited = [pattern for pattern in awaited if not re.search(pattern, text, re.M)]
            if not awaited:
                seen()
    except OSError:  # the other end is closed
        pass
    finally:
        os.close(primary)
    return shown.decode(), process.wait()


STEP = 'about = "x"\n[[step]]\ntitle = "One"\n'
PLACE = 'step 1 "One": '
TIMES = 'it takes a time with its unit (ms, s, min or h), as "20 s", not '


@pytest.mark.parametrize(("text", "reason"), [
    ("about = ", "Invalid value (at end of document)"),
    ("", "about is missing"),
    ('about = "x"', "step is missing"),
    ('about = "x"\nstep = 5', "step: it takes tables, each under a line [[step]]"),
    ('about = "x"\nstep = []', "step: it takes tables, each under a line [[step]]"),
    ('about = "x"\nabuot = 1\n[[step]]\ntitle = "One"',
     "there is no key 'abuot' here (is 'about' meant?); there are about, needs, boot, step"),
    ('about = 5\n[[step]]\ntitle = "One"', "about: it takes a text, not a number (5)"),
    ('about = "x"\nneeds = "pp"\n[[step]]\ntitle = "One"', "needs: 'pp' is none of ppp, tap, pppoe-server (is 'ppp' meant?)"),
    ('about = "x"\n[[step]]\nsee = []', "step 1: title is missing"),
    (STEP, PLACE + "it neither does nor sees anything"),
    (STEP + "repat = 3", PLACE + "there is no key 'repat' here (is 'repeat' meant?); there are title, do, see, repeat"),
    (STEP + "repeat = 0", PLACE + "repeat: it takes a whole number from 1 to 10000"),
    (STEP + "do = 5", PLACE + "do: it takes a list, not a number (5)"),
    (STEP + 'do = ["plug"]', PLACE + "do: 1: it takes a table, as { plug = ... }"),
    (STEP + "do = [{}]", PLACE + "do: 1: it takes a table, as { plug = ... }"),
    (STEP + 'do = [{ plg = "eth0.5" }]', PLACE + "do: 1: 'plg' is none of " + ", ".join(ACTS) + " (is 'plug' meant?)"),
    (STEP + 'do = [{ mode = "ptm", dsl = "up" }]', PLACE + "do: 1: 'mode' is none of " + ", ".join(ACTS) + "; 'dsl' has to stand first"),
    (STEP + 'do = [{ plug = "eth0.5" }, { dsl = "sideways" }]', PLACE + "do: 2: dsl: 'sideways' is none of up, down, retrain"),
    (STEP + 'do = [{ dsl = "up", line = 256 }]', PLACE + "do: 1: line: it takes a whole number from 1 to 255"),
    (STEP + 'do = [{ dsl = "up", line = true }]', PLACE + "do: 1: line: it takes a whole number, not a true or false (True)"),
    (STEP + 'do = [{ plug = "eth0.9" }]',
     PLACE + "do: 1: plug: 'eth0.9' is no port of this configuration (is 'eth0.5' meant?); "
     "there are eth0.1, eth0.2, eth0.3, eth0.4, eth0.5"),
    (STEP + 'do = [{ join = "tv" }]', PLACE + "do: 1: port is missing"),
    (STEP + 'do = [{ join = "tv", port = "eth0.2", mac = "01:00:00:00:00:00" }]',
     PLACE + "do: 1: mac: it takes the hardware address of one machine, as 02:4c:00:00:00:01"),
    (STEP + 'do = [{ provider = { lease = "2 min", mod = "silent" } }]',
     PLACE + "do: 1: provider: there is no key 'mod' here (is 'mode' meant?); there are " + ", ".join(file.acts_provider.PROVIDER)),
    (STEP + 'do = [{ provider = { lease = "10 s" } }]', PLACE + "do: 1: provider: lease: it takes a whole number from 120 to 4294967294"),
    (STEP + 'do = [{ provider = { routes = ["10.9.0.0/16"] } }]',
     PLACE + "do: 1: provider: routes: it takes routes, as \"10.9.0.0/16 via 203.0.113.1\""),
    (STEP + 'do = [{ send = "WAN_IP_RELEASES" }]',
     PLACE + "do: 1: send: 'WAN_IP_RELEASES' is no message (is 'WAN_IP_RELEASE' meant?); docs/messages.md has them all"),
    (STEP + 'do = [{ set = { "upnp" = true } }]', PLACE + "do: 1: set: 'upnp' is no path of the data model, as IP.Interface.1.Status"),
    (STEP + 'do = [{ set = { "UPnP.Device.Enable" = [1] } }]',
     PLACE + "do: 1: set: UPnP.Device.Enable takes a text, a number, true or false"),
    (STEP + "do = [{ wait = 5 }]", PLACE + "do: 1: wait: " + TIMES + "5"),
    (STEP + 'do = [{ wait = "5 sec" }]', PLACE + "do: 1: wait: " + TIMES + "'5 sec'"),
    (STEP + 'do = [{ wait = 2026-01-01 }]', PLACE + "do: 1: wait: " + TIMES + "2026-01-01"),
    (STEP + 'do = [{ run = "" }]', PLACE + "do: 1: run: it takes a text that is not empty"),
    (STEP + "do = [{ run = \"echo 'x\" }]", PLACE + "do: 1: run: No closing quotation"),
    (STEP + 'see = [{ modle = "UPnP.Device == C" }]', PLACE + "see: 1: 'modle' is none of " + ", ".join(SIGHTS) + " (is 'model' meant?)"),
    (STEP + 'see = [{ model = "IP.Interface.1.Status" }]', PLACE + "see: 1: model: 'IP.Interface.1.Status' is no condition, as "
     '"IP.Interface.1.Status == Up" (or !=, ~, <, <=, >, >=)'),
    (STEP + 'see = [{ model = "IP.Interface.1.LastChange > many" }]',
     PLACE + "see: 1: model: 'IP.Interface.1.LastChange > many': behind > stands a number"),
    (STEP + 'see = [{ model = "IP.Interface.1.LowerLayer == Up" }]',
     PLACE + "see: 1: model: the data model has no IP.Interface.1.LowerLayer (is 'IP.Interface.{i}.LowerLayers' meant?)"),
    (STEP + 'see = [{ model = "IP.Interface.*.Status == Upp" }]',
     PLACE + "see: 1: model: IP.Interface.*.Status is never 'Upp' (is 'Up' meant?); "
     "it is one of Up, Down, Unknown, Dormant, NotPresent, LowerLayerDown, Error"),
    (STEP + 'see = [{ became = "UPnP.Device.Enable == yes" }]',
     PLACE + "see: 1: became: UPnP.Device.Enable is never 'yes'; it is one of true, false"),
    (STEP + 'see = [{ model = "IP.Interface.1.LastChange == soon" }]',
     PLACE + "see: 1: model: IP.Interface.1.LastChange is never 'soon': it is a whole number"),
    (STEP + 'see = [{ ping = "{DHCPv4.Client.1.IPAdress}" }]',
     PLACE + "see: 1: the data model has no DHCPv4.Client.1.IPAdress (is 'DHCPv4.Client.{i}.IPAddress' meant?)"),
    (STEP + 'do = [{ diagnose = "IP.Diagnostics.IPPing", by = { Hosst = "x" } }]',
     PLACE + "do: 1: by: the data model has no IP.Diagnostics.IPPing.Hosst (is 'IP.Diagnostics.IPPing.Host' meant?)"),
    (STEP + 'do = [{ diagnose = "IP.Diagnostics.IPPing", by = { NumberOfRepetitions = "x" } }]',
     PLACE + "do: 1: by: IP.Diagnostics.IPPing.NumberOfRepetitions is never 'x': it is a whole number"),
    (STEP + 'do = [{ leave = "tv" }]', PLACE + "do: 1: leave: no host 'tv' has joined before"),
    (STEP + 'see = [{ led = "blue" }]', PLACE + "see: 1: led: 'blue' is none of green, red, dark"),
    (STEP + 'see = [{ led = "red", within = "soon" }]',
     PLACE + "see: 1: within: " + TIMES + "'soon'"),
    (STEP + 'see = [{ led = "red", not = "yes" }]', PLACE + "see: 1: not: it takes true or false, not a text (yes)"),
    (STEP + 'see = [{ led = "red", withn = "1 s" }]',
     PLACE + "see: 1: there is no key 'withn' here (is 'within' meant?); there are led, text, within, not"),
    (STEP + 'see = [{ address = "any" }]', PLACE + "see: 1: on is missing"),
    ('about = "x"\nboot = { config = "dual-stak" }\n[[step]]\ntitle = "One"\nsee = [{ led = "red" }]',
     "boot: config: 'dual-stak' is none of default, dual-stack, guests, ppp and no file (is 'dual-stack' meant?)"),
    ('about = "x"\nboot = { unplugged = "wan" }\n[[step]]\ntitle = "One"\nsee = [{ led = "red" }]',
     "boot: unplugged: 'wan' is no port of this configuration; there are eth0.1, eth0.2, eth0.3, eth0.4, eth0.5"),
    (STEP + 'see = [{ answered = "the renew" }]',
     PLACE + "see: 1: nobody has asked for 'the renew' before; send it with answer = \"the renew\""),
])
def test_file_that_is_no_scenario_is_told_with_its_place(tmp_path, text, reason):
    path = tmp_path / "some.toml"
    path.write_text(text)
    with pytest.raises(file.BadScenario) as told:
        file.read(path)
    assert str(told.value) == f"{path}: {reason}"


@pytest.mark.parametrize("content", [b"\xff\xfe", b"about = \"\\u0000\"\n", b"a" * 100000, b"[" * 5000],
                         ids=["bytes", "unfinished", "long", "deep"])
def test_bytes_that_are_no_scenario_are_told_in_one_line(tmp_path, content):
    (tmp_path / "noise.toml").write_bytes(content)
    done = play(tmp_path / "state", tmp_path / "noise.toml")
    assert done.returncode == USAGE and len(done.stderr.splitlines()) == 1 and done.stderr.startswith(f"gw: {tmp_path}/noise.toml: ")


def test_one_bad_file_among_good_ones_starts_nothing(tmp_path):
    (tmp_path / "short.toml").write_text(SHORT)
    (tmp_path / "bad.toml").write_text(STEP)
    done = play(tmp_path / "state", tmp_path / "short.toml", tmp_path / "bad.toml")
    assert (done.returncode, done.stdout) == (USAGE, "")
    assert done.stderr == f'gw: {tmp_path}/bad.toml: step 1 "One": it neither does nor sees anything\n'
    assert not (tmp_path / "state").exists()


def test_report_that_cannot_be_written_is_refused_before_anything_starts(tmp_path):
    (tmp_path / "short.toml").write_text(SHORT)
    done = play(tmp_path / "state", tmp_path / "short.toml", "--report", tmp_path / "no" / "page.html")
    assert (done.returncode, done.stdout) == (REFUSED, "") and done.stderr.startswith(f"gw: {tmp_path}/no/page.html cannot be written")
    assert not (tmp_path / "state").exists()


@pytest.mark.parametrize("name", ["nobody.toml", "folder.toml", "", "former.py"])
def test_what_is_no_scenario_file_is_told(tmp_path, name):
    (tmp_path / "folder.toml").mkdir()
    done = play(tmp_path / "state", tmp_path / name)
    assert done.returncode == USAGE and len(done.stderr.splitlines()) == 1
