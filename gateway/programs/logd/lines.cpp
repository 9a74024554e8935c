#include "lines.h"

#include <json-c/json.h>

#include <cstdlib>
#include <memory>

namespace {

struct PutJson {
    void operator()(json_object* object) const { json_object_put(object); }
};
using Json = std::unique_ptr<json_object, PutJson>;

std::string_view withoutLineEnd(std::string_view text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\0')) {
        text.remove_suffix(1);
    }
    return text;
}

std::string textOf(json_object* object, const char* key) {
    json_object* value = nullptr;
    if (!json_object_object_get_ex(object, key, &value) || value == nullptr) {
        return {};
    }
    return json_object_get_string(value);
}

int numberOf(json_object* object, const char* key) {
    json_object* value = nullptr;
    return json_object_object_get_ex(object, key, &value) ? json_object_get_int(value) : 0;
}

Json parsed(std::string_view text) {
    json_tokener* const tokener = json_tokener_new();
    if (tokener == nullptr) {
        return nullptr;
    }
    Json object(json_tokener_parse_ex(tokener, text.data(), static_cast<int>(text.size())));
    json_tokener_free(tokener);
    return object != nullptr && json_object_is_type(object.get(), json_type_object) ? std::move(object) : nullptr;
}

// "Nov 21 08:10:31 " as every libc writes it; others may leave it out.
bool beginsWithDate(std::string_view text) {
    return text.size() > 16 && text[3] == ' ' && text[6] == ' ' && text[9] == ':' && text[12] == ':' && text[15] == ' ';
}

// Takes "ident[pid]: " or "ident: " off the front.
std::string takeIdent(std::string_view& text) {
    const size_t colon = text.find(": ");
    const size_t end = text.find_first_of(" [:");
    if (colon == std::string_view::npos || end == std::string_view::npos || end > colon || text[end] == ' ') {
        return {};
    }
    std::string ident(text.substr(0, end));
    text.remove_prefix(colon + 2);
    return ident;
}

}  // namespace

LogLine frameworkLine(std::string_view datagram) {
    LogLine line;
    line.channel = "vlog";
    const Json object = parsed(withoutLineEnd(datagram));
    if (object == nullptr) {
        line.text = datagram;
        return line;
    }
    line.daemon = textOf(object.get(), "daemon");
    line.level = numberOf(object.get(), "level");
    line.source = textOf(object.get(), "source");
    line.line = numberOf(object.get(), "line");
    line.function = textOf(object.get(), "function");
    line.text = withoutLineEnd(textOf(object.get(), "text"));
    return line;
}

LogLine systemLine(std::string_view datagram) {
    LogLine line;
    line.channel = "syslog";
    std::string_view text = withoutLineEnd(datagram);
    const size_t close = text.find('>');
    if (text.starts_with('<') && close != std::string_view::npos && close <= 4) {
        constexpr int kPriorityMask = 7;
        line.level = atoi(std::string(text.substr(1, close - 1)).c_str()) & kPriorityMask;
        text.remove_prefix(close + 1);
    }
    if (beginsWithDate(text)) {
        text.remove_prefix(16);
    }
    line.daemon = takeIdent(text);
    line.text = text;
    return line;
}

std::vector<LogLine> outputLines(std::string_view datagram) {
    std::vector<LogLine> lines;
    std::string_view rest = withoutLineEnd(datagram);
    while (true) {
        const size_t end = rest.find('\n');
        LogLine line;
        line.channel = "stdout";
        line.text = rest.substr(0, end);
        lines.push_back(std::move(line));
        if (end == std::string_view::npos) {
            return lines;
        }
        rest.remove_prefix(end + 1);
    }
}

std::string asJson(const LogLine& line, int64_t timeUs) {
    const Json object(json_object_new_object());
    const auto addText = [&object](const char* key, std::string_view value) {
        json_object_object_add(object.get(), key,
                               json_object_new_string_len(value.data(), static_cast<int>(value.size())));
    };
    json_object_object_add(object.get(), "t_mono_us", json_object_new_int64(timeUs));
    addText("daemon", line.daemon);
    addText("channel", line.channel);
    json_object_object_add(object.get(), "level", json_object_new_int(line.level));
    addText("source", line.source);
    json_object_object_add(object.get(), "line", json_object_new_int(line.line));
    addText("function", line.function);
    addText("text", line.text);
    return std::string(
               json_object_to_json_string_ext(object.get(), JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE)) +
           "\n";
}
