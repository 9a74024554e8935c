#include "measure.h"

#include <time.h>

#include <cstdio>

namespace bench {
namespace {

void printFigures(const std::vector<double>& figures) {
    const char* separator = "[";
    for (const double figure : figures) {
        printf("%s%.3f", separator, figure);
        separator = ",";
    }
    puts("]");
}

void printNames(const std::vector<Measure>& measures) {
    const char* separator = "[";
    for (const Measure& measure : measures) {
        printf("%s\"%s\"", separator, measure.name.c_str());
        separator = ",";
    }
    puts("]");
    fflush(stdout);
}

const Measure& named(const std::vector<Measure>& measures, const std::string& name) {
    for (const Measure& measure : measures) {
        if (measure.name == name) {
            return measure;
        }
    }
    fail("no measure is called " + name);
}

}  // namespace

int serve(const std::vector<Measure>& measures) {
    printNames(measures);
    int count = 0;
    char name[64];
    while (scanf("%d %63[^\n]", &count, name) == 2) {
        printFigures(named(measures, name).run(count));
        fflush(stdout);
    }
    return 0;
}

double microseconds(const std::function<void()>& work) {
    timespec from{};
    timespec to{};
    clock_gettime(CLOCK_MONOTONIC, &from);
    work();
    clock_gettime(CLOCK_MONOTONIC, &to);
    return static_cast<double>(to.tv_sec - from.tv_sec) * 1e6 + static_cast<double>(to.tv_nsec - from.tv_nsec) / 1e3;
}

std::vector<double> microsecondsOfEach(int count, const std::function<void()>& work) {
    std::vector<double> figures;
    figures.reserve(static_cast<size_t>(count));
    for (int each = 0; each < count; ++each) {
        figures.push_back(microseconds(work));
    }
    return figures;
}

Measure oneWay(const std::function<void(int)>& batch) {
    return {"one way", [=](int count) { return std::vector{count * 1e6 / microseconds([&] { batch(count); })}; }};
}

std::vector<Measure> calls(const std::function<void(size_t)>& call) {
    std::vector<Measure> measures;
    measures.reserve(std::size(kPayloads));
    for (const size_t payload : kPayloads) {
        measures.push_back({"call " + std::to_string(payload),
                            [=](int count) { return microsecondsOfEach(count, [&] { call(payload); }); }});
    }
    return measures;
}

std::vector<Measure> operator+(std::vector<Measure> left, Measure right) {
    left.push_back(std::move(right));
    return left;
}

}  // namespace bench
