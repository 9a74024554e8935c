"""Download and upload: curl against a real server that obeys, slows down, breaks off or says nothing."""
import json

import pytest

from diagnostics import DOWNLOAD, ROUTER, SPEED, UPLOAD, Diagnostics, SpeedServer, entries, in_order, moment
from support import eventually

ORDER = ("TCPOpenRequestTime", "TCPOpenResponseTime", "ROMTime", "BOMTime", "EOMTime")
ONE_FILE = {"NumberOfConnections": 1, "TimeBasedTestDuration": 0, "TimeBasedTestMeasurementInterval": 0,
            "TimeBasedTestMeasurementOffset": 0, "EnablePerConnectionResults": "true"}


@pytest.fixture(scope="module")
def tools(leased):
    tools = Diagnostics(leased)
    tools.keep_what("curl")
    server = SpeedServer(tools)
    yield tools
    server.end()


def download(tools, path, **parameters):
    return tools.result(DOWNLOAD, DownloadURL=f"{SPEED}/{path}", **{**ONE_FILE, **parameters})


def upload(tools, path, length, **parameters):
    return tools.result(UPLOAD, UploadURL=f"{SPEED}/{path}", TestFileLength=length, **{**ONE_FILE, **parameters})


def told(tools):
    """What each run of curl printed of itself."""
    return [json.loads(text.splitlines()[-1]) for text in tools.printed("curl")]


def numbers(values, *names):
    return [int(values[name]) for name in names]


def test_download_is_counted_and_timed_as_the_tool_printed(tools):
    values = download(tools, "1000000")
    (curl,) = told(tools)
    bytes_received = curl["size_download"] + curl["size_header"]
    assert values["DiagnosticsState"] == "Complete"
    assert curl["size_download"] == 1000000
    assert numbers(values, "TestBytesReceived") == [bytes_received]
    assert int(values["TotalBytesReceived"]) >= bytes_received
    assert int(values["TotalBytesSent"]) >= curl["size_request"]
    assert in_order(values, *ORDER)
    took = moment(values["EOMTime"]) - moment(values["TCPOpenRequestTime"])
    assert abs(took.total_seconds() - (curl["time_total"] - curl["time_namelookup"])) < 0.001
    (connection,) = entries(values, "PerConnectionResult")
    assert values["PerConnectionResultNumberOfEntries"] == "1"
    assert numbers(connection, "TestBytesReceived") == [bytes_received]
    assert in_order(connection, *ORDER)
    assert values["IncrementalResultNumberOfEntries"] == "0"


def test_connections_are_told_one_by_one(tools):
    values = download(tools, "300000/200000", NumberOfConnections=3)
    runs = told(tools)
    connections = entries(values, "PerConnectionResult")
    assert values["PerConnectionResultNumberOfEntries"] == "3" and len(connections) == len(runs) == 3
    total = sum(run["size_download"] + run["size_header"] for run in runs)
    assert sum(int(one["TestBytesReceived"]) for one in connections) == int(values["TestBytesReceived"]) == total
    assert all(in_order(one, *ORDER) for one in connections)
    assert values["ROMTime"] == min(one["ROMTime"] for one in connections)
    assert values["EOMTime"] == max(one["EOMTime"] for one in connections)
    assert 0 < int(values["PeriodOfFullLoading"]) < 20_000_000
    assert 0 < int(values["TestBytesReceivedUnderFullLoading"]) <= total


def test_connections_are_not_told_when_nobody_wants_them(tools):
    values = download(tools, "1000", NumberOfConnections=2, EnablePerConnectionResults="false")
    assert (values["DiagnosticsState"], values["PerConnectionResultNumberOfEntries"]) == ("Complete", "0")
    assert entries(values, "PerConnectionResult") == []
    tools.printed("curl")


def test_time_based_download_is_measured_by_intervals(tools):
    values = download(tools, "100000000/200000", TimeBasedTestDuration=5, TimeBasedTestMeasurementInterval=1)
    (curl,) = told(tools)
    intervals = entries(values, "IncrementalResult")
    assert values["DiagnosticsState"] == "Complete"
    assert len(intervals) == int(values["IncrementalResultNumberOfEntries"]) >= 2
    assert all(in_order(one, "StartTime", "EndTime") for one in intervals)
    assert all(one["EndTime"] == after["StartTime"] for one, after in zip(intervals, intervals[1:]))
    assert 0 < sum(int(one["TestBytesReceived"]) for one in intervals) <= curl["size_download"]
    assert all(int(one["TotalBytesReceived"]) >= int(one["TestBytesReceived"]) * 0.9 for one in intervals[:-1])


@pytest.mark.parametrize(("url", "state"), [
    (f"{SPEED}/100000/cut", "Error_TransferFailed"),
    (f"{SPEED}/100000/silent", "Error_NoResponse"),
    (f"{SPEED}/100000/hang", "Error_Timeout"),
    (f"{SPEED}/none", "Error_TransferFailed"),
    (f"http://{ROUTER}:9/x", "Error_InitConnectionFailed"),
    ("http://nowhere.isp.example/x", "Error_CannotResolveHostName"),
    ("file:///etc/passwd", "Error_Other"),
    ("-o/etc/passwd", ("Error_Other", "Error_CannotResolveHostName")),
    ("", "Error_Other")])
def test_download_that_fails_says_why_and_leaves_no_old_results(tools, url, state):
    download(tools, "1000")
    values = tools.result(DOWNLOAD, DownloadURL=url, **ONE_FILE)
    assert values["DiagnosticsState"] in (state if isinstance(state, tuple) else (state,))
    assert (values["TestBytesReceived"], values["PerConnectionResultNumberOfEntries"]) == ("0", "0")
    assert entries(values, "PerConnectionResult") == []
    tools.printed("curl")


def test_canceled_download_stops(tools):
    tools.request(DOWNLOAD, DownloadURL=f"{SPEED}/100000000/10000", **ONE_FILE)
    eventually(lambda: "curl" in tools.processes())
    tools.cancel(DOWNLOAD)
    eventually(lambda: tools.processes() == [])
    tools.printed("curl")


def test_upload_is_counted_and_timed_as_the_tool_printed(tools):
    values = upload(tools, "in", 500000, NumberOfConnections=2)
    runs = told(tools)
    assert values["DiagnosticsState"] == "Complete"
    assert [run["size_upload"] for run in runs] == [500000, 500000]
    total = sum(run["size_upload"] + run["size_request"] for run in runs)
    connections = entries(values, "PerConnectionResult")
    assert len(connections) == int(values["PerConnectionResultNumberOfEntries"]) == 2
    assert sum(int(one["TestBytesSent"]) for one in connections) == int(values["TestBytesSent"]) == total
    assert int(values["TotalBytesSent"]) >= total
    assert in_order(values, "TCPOpenRequestTime", "TCPOpenResponseTime", "ROMTime", "EOMTime")


def test_time_based_upload_is_measured_by_intervals(tools):
    values = upload(tools, "in", 0, TimeBasedTestDuration=4, TimeBasedTestMeasurementInterval=1)
    tools.printed("curl")
    intervals = entries(values, "IncrementalResult")
    assert values["DiagnosticsState"] == "Complete"
    assert len(intervals) == int(values["IncrementalResultNumberOfEntries"]) >= 2
    assert all(int(one["TestBytesSent"]) > 0 for one in intervals)


@pytest.mark.parametrize(("url", "state"), [
    (f"{SPEED}/refused", "Error_NoSTOR"),
    (f"http://{ROUTER}:9/x", "Error_InitConnectionFailed"),
    ("http://nowhere.isp.example/x", "Error_CannotResolveHostName")])
def test_upload_that_fails_says_why_and_leaves_no_old_results(tools, url, state):
    upload(tools, "in", 1000)
    values = tools.result(UPLOAD, UploadURL=url, TestFileLength=1000, **ONE_FILE)
    assert values["DiagnosticsState"] == state
    assert values["PerConnectionResultNumberOfEntries"] == "0"
    assert entries(values, "PerConnectionResult") == []
    tools.printed("curl")


def test_upload_to_a_server_that_breaks_off_fails(tools):
    values = upload(tools, "cut", 50_000_000)
    assert values["DiagnosticsState"] in ("Error_NoTransferComplete", "Error_NoResponse")
    tools.printed("curl")
