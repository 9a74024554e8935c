// The operations of <vcfg/recorder.h>. What arrives as a whole, `bytes`, is for who listens; the ring has no room for
// it.
#include <vcfg/recorder.h>

#include <cerrno>
#include <new>
#include <string_view>

#include "client/monitors.h"
#include "events.h"
#include "program.h"

namespace {

namespace recorder = vcfg::recorder;

constexpr size_t kLongest = 1000;

std::string_view textOf(const char* text) {
    return text == nullptr ? std::string_view() : std::string_view(text).substr(0, kLongest);
}

// To those who record, all of it: what is not text may be missing.
void tell(vcfg::bus::Passing passing, const char* kind, const char* what, int result, uint32_t cause, const void* bytes,
          size_t size) {
    if (vcfg::bus::isRecorded()) {
        vcfg::bus::copyNote({passing,
                             kind != nullptr ? kind : "",
                             what != nullptr ? what : "",
                             result,
                             cause,
                             {static_cast<const char*>(bytes), bytes != nullptr ? size : 0}});
    }
}

// Who tells something may be no part of the bus yet, and never become one. Where memory is short, it is tried again.
bool isOn() {
    if (!recorder::isOn()) {
        try {
            [[maybe_unused]] static const bool tried = (recorder::attachRecorder(), true);
        } catch (const std::bad_alloc&) {
            return false;
        }
    }
    return recorder::isOn();
}

// A report must not become a failure of its own.
template <class Report>
void quietly(const Report& report) {
    const int error = errno;
    if (isOn()) {
        report();
    }
    errno = error;
}

}  // namespace

uint32_t vcfgEventBegin(const char* kind, uint32_t cause, const char* what, const void* bytes, size_t size) {
    uint32_t before = 0;
    quietly([&] { before = recorder::begin(textOf(kind), cause, textOf(what)); });
    tell(vcfg::bus::Passing::Event, kind, what, 0, cause != 0 ? cause : before, bytes, size);
    return before;
}

void vcfgEventEnd(uint32_t before) {
    quietly([=] { recorder::end(before); });
}

uint32_t vcfgEventCurrent(void) {
    return recorder::current();
}

void vcfgEventStep(const char* kind, const char* what, int result, const void* bytes, size_t size) {
    quietly([=] { recorder::step(recorder::Lane::Lasting, textOf(kind), textOf(what), result); });
    tell(vcfg::bus::Passing::Step, kind, what, result, 0, bytes, size);
}

void vcfgEventSaid(const char* log, int level, const char* text, size_t size) {
    tell(vcfg::bus::Passing::Step, "log", log, level, 0, text, size);
}

void vcfgEventPlace(const char* file, int line) {
    recorder::place(file, line);
}

char* const* vcfgEventEnvironment(void) {
    return recorder::environmentOf(recorder::current());
}
