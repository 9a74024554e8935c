// What the tests of the download and the upload report have in common.
#pragma once

#include "diag/transfer_result.h"
#include "unit/diag_fixture.h"

inline constexpr const char* kRom = "2026-01-31T23:59:57.100000Z";
inline constexpr const char* kBom = "2026-01-31T23:59:57.200000Z";
inline constexpr const char* kEom = "2026-01-31T23:59:58.900000Z";
inline constexpr const char* kRequest = "2026-01-31T23:59:57.000000Z";
inline constexpr const char* kResponse = "2026-01-31T23:59:57.050000Z";

inline std::string timesText() {
    return std::string(R"("ROMTime":")") + kRom + R"(","BOMTime":")" + kBom + R"(","EOMTime":")" + kEom +
           R"(","TCPOpenRequestTime":")" + kRequest + R"(","TCPOpenResponseTime":")" + kResponse + "\"";
}

class TransferResult : public testing::Test {
  protected:
    TransferResult(uint32_t type, std::string object) : type_(type), object_(std::move(object)) {}

    // A report with these keys besides the state.
    void report(const std::string& keys) { reportText(R"({"DiagnosticsState":"Complete",)" + keys + "}"); }
    void reportText(const std::string& payload) {
        gw.forget();
        gw.receive(type_, payload);
    }
    void perConnection(const std::string& count, const std::string& array) {
        report(R"("PerConnectionResultNumberOfEntries":)" + count + R"(,"PerConnectionResult":)" + array);
    }
    void incremental(const std::string& count, const std::string& array) {
        report(R"("IncrementalResultNumberOfEntries":)" + count + R"(,"IncrementalResult":)" + array);
    }
    void set(const std::string& parameter, const std::string& value) { gw.set(object_ + "." + parameter, value); }
    std::string value(const std::string& parameter) { return gw.get(object_ + "." + parameter); }
    std::string connection(int number, const std::string& parameter) {
        return value("PerConnectionResult." + std::to_string(number) + "." + parameter);
    }
    std::string interval(int number, const std::string& parameter) {
        return value("IncrementalResult." + std::to_string(number) + "." + parameter);
    }
    size_t connections() { return gw.entries(object_ + ".PerConnectionResult"); }
    size_t intervals() { return gw.entries(object_ + ".IncrementalResult"); }

    DiagGateway gw;
    const uint32_t type_;
    const std::string object_;
};
