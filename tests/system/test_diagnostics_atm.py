"""ATM loopback: the exchange answers while the DSL line carries ATM."""
import pytest

from diagnostics import COUNTS, F4, F5, Diagnostics
from links import Links


@pytest.fixture(scope="module")
def tools(tmp_path_factory):
    booted = Links(tmp_path_factory.mktemp("atm"))
    booted.boot()
    yield Diagnostics(booted)
    booted.down()


def counts(tools, thing):
    values = tools.result(thing, **({"Interface": "ATM.Link.1", "NumberOfRepetitions": 4} if thing == F5 else {}))
    return [values[name] for name in ("DiagnosticsState", *COUNTS)]


@pytest.mark.parametrize(("thing", "count"), [(F5, "4"), (F4, "5")])
def test_loopback_is_answered_while_the_line_carries_atm(tools, thing, count):
    assert counts(tools, thing) == ["Complete", "0", count, "0", "0", "0"]
    tools.gateway.dsl_up("atm")
    assert counts(tools, thing) == ["Complete", count, "0", "8", "7", "11"]
    tools.gateway.dsl_down()


def test_line_without_the_device_is_an_internal_error(tools):
    tools.gateway.set("ATM.Link.1.Name=atm7")
    assert counts(tools, F5) == ["Error_Internal", "0", "0", "0", "0", "0"]
    tools.gateway.set("ATM.Link.1.Name=atm0")


def test_tool_that_hangs_is_given_up_and_can_be_canceled(tools):
    tools.replace("oamping", "exec sleep 600\n")
    tools.request(F5)
    tools.cancel(F5)
    assert counts(tools, F4)[0] == "Error_Internal"
    tools.restore("oamping")
