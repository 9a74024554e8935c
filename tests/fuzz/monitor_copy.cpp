// Copies of messages that a monitor gets, from anybody who may use the bus: what it takes, shows and records of them.
// An input is some copies, one behind the other; one whose first byte is 255 stands there as it is.
#include <csignal>
#include <cstring>

#include "client/monitors.h"
#include "onlooker.h"
#include "own_directory.h"
#include "passage_print.h"
#include "pieces.h"
#include "raw_client.h"
#include "recording.h"
#include "target.h"

using namespace vcfgctl;
namespace bus = vcfg::bus;

namespace {

constexpr int kMostCopies = 16;
constexpr char kAsItStands = '\xff';
constexpr std::string_view kSecret = "hostile";

struct Monitor {
    Onlooker onlooker;
    std::string path;

    Monitor() {
        meetInOwnDirectory();
        sigset_t before;
        sigprocmask(SIG_SETMASK, nullptr, &before);
        std::string why;
        if (!onlooker.open(true, &why)) {
            finding(why);
        }
        sigprocmask(SIG_SETMASK, &before, nullptr);  // who fuzzes can end it
        path = bus::monitorPath(static_cast<uint8_t>(bus::roster.load()->monitors.load()));
    }
};

// The way it passed, then type, ends, object, instance and result, as far as they go; then comes the payload.
std::string packetOf(std::string_view bytes) {
    bus::CopyHeader header{bus::CopyHeader::kLayout, bus::Passing::Message, 1, 0, 0, 7, 9, {}};
    header.passing = static_cast<bus::Passing>(takeNumber(bytes, 1) % 8);
    vcfg_msg_t envelope{};
    envelope.type = takeNumber(bytes, 4);
    envelope.srcEid = static_cast<uint8_t>(takeNumber(bytes, 1));
    envelope.dstEid = static_cast<uint8_t>(takeNumber(bytes, 1));
    envelope.requestId = takeNumber(bytes, 1);
    envelope.statCode = takeNumber(bytes, 1);
    envelope.oid = takeNumber(bytes, 1);
    envelope.objIid.level = static_cast<uint8_t>(takeNumber(bytes, 1));
    envelope.objIid.idx[0] = static_cast<uint8_t>(takeNumber(bytes, 1));
    envelope.length = static_cast<uint16_t>(header.passing == bus::Passing::Failure ? 300 : bytes.size());
    std::string packet(reinterpret_cast<const char*>(&header), sizeof header);
    packet.append(reinterpret_cast<const char*>(&envelope), VCFG_MSG_HEADER_SIZE);
    return packet.append(header.passing == bus::Passing::Failure ? std::string_view() : bytes);
}

void show(Passages& passages, Copy copy, RecordingFile& file) {
    static const Hidden hidden = [] {
        Hidden known;
        known.learn(kSecret);
        return known;
    }();
    if (copy.passing == bus::Passing::Event || copy.passing == bus::Passing::Step) {
        return;
    }
    std::optional<Passage> passage =
        copy.passing == bus::Passing::Taken ? passages.takeTaken(std::move(copy)) : passages.take(std::move(copy));
    if (!passage) {
        return;
    }
    for (const bool json : {false, true}) {
        printPassage(*passage, json, false);
        printPassage(*passage, json, true);
    }
    if (json_object* const line = passageLine(*passage, 0, hidden); line != nullptr) {
        if (std::string_view(json_object_get_string(line)).find(kSecret) != std::string_view::npos) {
            finding(std::string("a recording tells a secret: ") + json_object_get_string(line));
        }
        file.put(line);
    }
}

}  // namespace

void handleInput(std::string_view bytes) {
    static Monitor monitor;
    static RecordingFile file;
    RawClient sender(monitor.path);
    forEachPiece(bytes, kMostCopies, [&](std::string_view copy) {
        sender.send(copy.starts_with(kAsItStands) ? std::string(copy.substr(1)) : packetOf(copy));
    });
    sender.hangUp();
    std::vector<Copy> copies;
    for (int round = 0; round < 2 * kMostCopies; ++round) {
        monitor.onlooker.wait(0, &copies);
    }
    Passages passages;
    for (Copy& copy : copies) {
        show(passages, std::move(copy), file);
    }
}
