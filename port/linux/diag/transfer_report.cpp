#include "transfer_report.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "payload.h"
#include "transfer_state.h"

namespace {

std::string text(Stamp stamp) {
    const auto micros = stamp.time_since_epoch().count();
    const time_t seconds = static_cast<time_t>(micros / 1000000);
    tm utc{};
    gmtime_r(&seconds, &utc);
    char day[32];
    strftime(day, sizeof day, "%Y-%m-%dT%H:%M:%S", &utc);
    char whole[64];
    snprintf(whole, sizeof whole, "%s.%06dZ", day, static_cast<int>(micros % 1000000));
    return whole;
}

// The device that has the address.
std::string deviceWith(const std::string& address) {
    ifaddrs* list = nullptr;
    getifaddrs(&list);
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(list, freeifaddrs);
    for (const ifaddrs* one = list; one != nullptr; one = one->ifa_next) {
        char name[INET6_ADDRSTRLEN] = {};
        const int family = one->ifa_addr != nullptr ? one->ifa_addr->sa_family : AF_UNSPEC;
        if (family == AF_INET) {
            inet_ntop(family, &reinterpret_cast<sockaddr_in*>(one->ifa_addr)->sin_addr, name, sizeof name);
        } else if (family == AF_INET6) {
            inet_ntop(family, &reinterpret_cast<sockaddr_in6*>(one->ifa_addr)->sin6_addr, name, sizeof name);
        }
        if (!address.empty() && address == name) {
            return one->ifa_name;
        }
    }
    return {};
}

Traffic between(const Sample& from, const Sample& to, const std::string& device) {
    const auto before = from.devices.find(device);
    const auto after = to.devices.find(device);
    return before != from.devices.end() && after != to.devices.end() ? after->second - before->second : Traffic{};
}

// The parameters that count the test's own bytes are named by its direction.
std::string testBytes(const TransferTest& test) {
    return test.upload ? "TestBytesSent" : "TestBytesReceived";
}
uint64_t testBytesOf(const TransferTest& test, const ConnectionOutcome& connection) {
    return test.upload ? connection.traffic.sent : connection.traffic.received;
}

void addTimes(Payload& payload, const ConnectionOutcome& connection) {
    payload.text("TCPOpenRequestTime", text(connection.openRequest));
    payload.text("TCPOpenResponseTime", text(connection.openResponse));
    payload.text("ROMTime", text(connection.requested));
    payload.text("BOMTime", text(connection.began));
    payload.text("EOMTime", text(connection.ended));
}

void addTraffic(Payload& payload, const Traffic& traffic, const std::string& suffix = "") {
    payload.count(("TotalBytesReceived" + suffix).c_str(), traffic.received);
    payload.count(("TotalBytesSent" + suffix).c_str(), traffic.sent);
}

Payload connectionReport(const TransferTest& test, const ConnectionOutcome& connection) {
    Payload payload;
    addTimes(payload, connection);
    payload.count(testBytes(test).c_str(), testBytesOf(test, connection));
    addTraffic(payload, connection.traffic);
    return payload;
}

std::vector<Payload> intervalReports(const TransferTest& test, const TransferOutcome& outcome,
                                     const std::string& device) {
    std::vector<Payload> reports;
    for (size_t i = 1; i < outcome.samples.size(); ++i) {
        const Sample& from = outcome.samples[i - 1];
        const Sample& to = outcome.samples[i];
        Payload payload;
        payload.text("StartTime", text(from.at));
        payload.text("EndTime", text(to.at));
        payload.count(testBytes(test).c_str(), to.moved - from.moved);
        addTraffic(payload, between(from, to, device));
        reports.push_back(std::move(payload));
    }
    return reports;
}

// The whole test begins with its first connection and ends with its last.
ConnectionOutcome wholeOf(const TransferOutcome& outcome) {
    ConnectionOutcome whole = outcome.connections.front();
    for (const ConnectionOutcome& connection : outcome.connections) {
        whole.openRequest = std::min(whole.openRequest, connection.openRequest);
        whole.openResponse = std::min(whole.openResponse, connection.openResponse);
        whole.requested = std::min(whole.requested, connection.requested);
        whole.began = std::min(whole.began, connection.began);
        whole.ended = std::max(whole.ended, connection.ended);
    }
    return whole;
}

void addFullLoading(Payload& payload, const TransferTest& test, const TransferOutcome& outcome,
                    const std::string& device) {
    payload.count((testBytes(test) + "UnderFullLoading").c_str(), outcome.unloaded.moved - outcome.loaded.moved);
    addTraffic(payload, between(outcome.loaded, outcome.unloaded, device), "UnderFullLoading");
    payload.count("PeriodOfFullLoading", static_cast<uint64_t>((outcome.unloaded.at - outcome.loaded.at).count()));
}

void addResults(Payload& payload, const std::vector<Payload>& connections, const std::vector<Payload>& intervals) {
    payload.count("PerConnectionResultNumberOfEntries", connections.size());
    payload.list("PerConnectionResult", connections);
    payload.count("IncrementalResultNumberOfEntries", intervals.size());
    payload.list("IncrementalResult", intervals);
}

void addMeasurements(Payload& payload, const TransferTest& test, const TransferOutcome& outcome) {
    std::vector<Payload> connections;
    uint64_t bytes = 0;
    for (const ConnectionOutcome& connection : outcome.connections) {
        connections.push_back(connectionReport(test, connection));
        bytes += testBytesOf(test, connection);
    }
    const ConnectionOutcome whole = wholeOf(outcome);
    const std::string device = deviceWith(whole.localAddress);
    const auto intervals = intervalReports(test, outcome, device);
    addTimes(payload, whole);
    payload.count(testBytes(test).c_str(), bytes);
    addTraffic(payload, between(outcome.first, outcome.last, device));
    addFullLoading(payload, test, outcome, device);
    payload.textIfAny("IPAddressUsed", test.upload ? whole.localAddress : "");
    addResults(payload, connections, intervals);
}

}  // namespace

std::string transferReport(const TransferTest& test, const TransferOutcome& outcome) {
    Payload payload;
    const std::string state = transferState(test, outcome);
    payload.text("DiagnosticsState", state);
    if (state == "Complete") {
        addMeasurements(payload, test, outcome);
    } else {
        addResults(payload, {}, {});
    }
    return payload.str();
}
