#include "story_file.h"

#include <cinttypes>
#include <cstdio>
#include <memory>

namespace sim {
namespace {

constexpr size_t kLine = 512;

std::string lineOf(const Event& event) {
    char numbers[kLine];
    snprintf(numbers, sizeof numbers, "%u %u %d %u %u %u %" PRIu64, event.kind, event.choice, event.doubled ? 1 : 0,
             event.waitMs, event.delayMs, event.turns, event.salt);
    return numbers + ("  # " + wordsOf(event)) + "\n";
}

std::optional<Event> eventIn(const char* line) {
    Event event{};
    unsigned kind = 0;
    unsigned choice = 0;
    int doubled = 0;
    if (sscanf(line, "%u %u %d %u %u %u %" SCNu64, &kind, &choice, &doubled, &event.waitMs, &event.delayMs,
               &event.turns, &event.salt) != 7) {
        return std::nullopt;
    }
    event.kind = static_cast<uint8_t>(kind);
    event.choice = static_cast<uint8_t>(choice);
    event.doubled = doubled != 0;
    return isKnown(event) ? std::optional(event) : std::nullopt;
}

}  // namespace

std::string fileText(const Story& story) {
    std::string text = std::to_string(story.seed) + " " + std::to_string(story.wanPriority) + " " +
                       std::to_string(story.ethWanPriority) + "  # seed, WANPriority, EthWANPriority\n";
    for (const Event& event : story.events) {
        text += lineOf(event);
    }
    return text;
}

std::optional<Story> readStory(const char* path) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(fopen(path, "r"), fclose);
    char line[kLine];
    Story story;
    if (file == nullptr || fgets(line, sizeof line, file.get()) == nullptr ||
        sscanf(line, "%" SCNu64 " %d %d", &story.seed, &story.wanPriority, &story.ethWanPriority) != 3) {
        return std::nullopt;
    }
    while (fgets(line, sizeof line, file.get()) != nullptr) {
        const auto event = eventIn(line);
        if (!event) {
            return std::nullopt;
        }
        story.events.push_back(*event);
    }
    return story;
}

}  // namespace sim
