// The recorder's file, into which anybody on the bus may write: whole entries that say anything, pieces of entries, and
// noise at any place. An input is some of them, one behind the other. Whoever reads it then tells something, and what
// is written properly afterwards is found again.
#include <json-c/json.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "client/deadline.h"
#include "own_directory.h"
#include "pieces.h"
#include "recorder/reader.h"
#include "recorder/ring.h"
#include "target.h"
#include "trace.h"
#include "trace_json.h"
#include "why_print.h"
#include "why_ran.h"

using namespace vcfg::recorder;
namespace model = vcfg::model;

namespace {

constexpr int kMostPieces = 64;
constexpr std::string_view kMark = "written after the noise";

// Kind, event, cause, process, time and numbers in little room; then comes the text.
void writeEntry(File& file, std::string_view bytes) {
    Entry entry{};
    const Lane lane = takeNumber(bytes, 1) % 2 == 0 ? Lane::Lasting : Lane::Brief;
    entry.kind = static_cast<Kind>(takeNumber(bytes, 1));
    entry.event = takeNumber(bytes, 1);
    entry.cause = takeNumber(bytes, 1);
    entry.process = takeNumber(bytes, 1);
    entry.timeLow = takeNumber(bytes, 1);
    for (uint32_t& number : entry.numbers) {
        number = takeNumber(bytes, 2);
    }
    append(entry, bytes);
    store(file, lane, entry);
}

void writeNoise(File& file, std::string_view bytes) {
    const uint32_t at = takeNumber(bytes, 3);
    auto* const all = reinterpret_cast<char*>(&file);
    bytes.copy(all + at % File::kSize, File::kSize - at % File::kSize);
}

void write(File& file, std::string_view piece) {
    const bool isNoise = takeNumber(piece, 1) % 4 == 3;
    isNoise ? writeNoise(file, piece) : writeEntry(file, piece);
}

// As `vcfgctl why` explains a parameter.
void explain(const vcfgctl::Story& story) {
    const auto where = model::resolve("IP.Interface.1.Status");
    vcfgctl::Finding finding{where->object, where->parameter, where->iid, "Up", nullptr, {}, std::nullopt};
    finding.change = story.lastChange(*where->object, where->iid, *where->parameter);
    finding.chain = finding.change != nullptr ? story.chainTo(finding.change->entry.event) : finding.chain;
    const int64_t nowUs = vcfg::monotonicUs();
    vcfgctl::printFull(story, finding, nowUs);
    vcfgctl::printShort(story, finding, nowUs);
    vcfgctl::printJson(story, finding);
    vcfgctl::explainRan("e", story);
}

void tell(const vcfgctl::Story& story) {
    const vcfgctl::Wanted all;
    vcfgctl::printTree(story, vcfgctl::choose(story, all));
    const vcfgctl::Wanted some{"IP.Interface.*.Status", 0, "tarn", 0};
    vcfgctl::printTree(story, vcfgctl::choose(story, some));
    for (const Told& told : story.all()) {
        json_object_put(vcfgctl::jsonOf(story, told));
    }
    vcfgctl::writeBrowserTrace(story, vcfgctl::choose(story, all), ownDirectory() + "/trace");
    explain(story);
}

// The last of all numbers counts as none: of two, one has another.
void writeMark(File& file) {
    Entry entry{};
    entry.kind = Kind::Step;
    append(entry, kMark);
    store(file, Lane::Lasting, entry);
}

bool holdsMark(const std::vector<Told>& told) {
    return std::any_of(told.begin(), told.end(), [](const Told& one) { return one.field(0) == kMark; });
}

std::vector<Told> entriesOf(const File& file) {
    return entriesIn({reinterpret_cast<const char*>(&file), sizeof file});
}

}  // namespace

void handleInput(std::string_view bytes) {
    static const std::unique_ptr<File> file = std::make_unique<File>();
    memset(static_cast<void*>(file.get()), 0, sizeof *file);
    file->layout = File::kLayout;
    forEachPiece(bytes, kMostPieces, [](std::string_view piece) { write(*file, piece); });
    tell(vcfgctl::Story(entriesOf(*file)));
    writeMark(*file);
    writeMark(*file);
    if (file->layout == File::kLayout && !holdsMark(entriesOf(*file))) {
        finding("what was written after the noise is not found");
    }
}
