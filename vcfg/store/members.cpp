#include "members.h"

#include <algorithm>
#include <climits>
#include <new>

namespace vcfg::store {
namespace {

constexpr std::string_view kBlank = " \t\r\n";

// The length of the comment that `text` begins with; one without an end is all of it. 0 when there is none.
size_t commentLength(std::string_view text) {
    if (!text.starts_with("/*")) {
        return 0;
    }
    const size_t end = text.find("*/", 2);
    return end == text.npos ? text.size() : end + 2;
}

// A file that somebody is to edit may have comments wherever it may have blanks.
void skipBlank(std::string_view& text) {
    size_t comment = 0;
    do {
        text.remove_prefix(std::min(text.find_first_not_of(kBlank), text.size()));
        comment = commentLength(text);
        text.remove_prefix(comment);
    } while (comment != 0);
}

// The length of the string that `text` begins with, quotes included; 0 when it has no end.
size_t stringLength(std::string_view text) {
    for (size_t at = 1; (at = text.find_first_of("\"\\", at)) != text.npos; at += 2) {
        if (text[at] == '"') {
            return at + 1;
        }
    }
    return 0;
}

// The length of the object or array that `text` begins with; 0 when it has no end.
size_t nestedLength(std::string_view text) {
    size_t depth = 0;
    for (size_t at = 0; (at = text.find_first_of("\"{}[]/", at)) != text.npos;) {
        if (text[at] == '/') {
            at += std::max(commentLength(text.substr(at)), size_t{1});
            continue;
        }
        if (text[at] == '"') {
            const size_t length = stringLength(text.substr(at));
            if (length == 0) {
                return 0;
            }
            at += length;
            continue;
        }
        const bool opens = text[at] == '{' || text[at] == '[';
        depth += opens ? 1 : size_t(-1);
        ++at;
        if (depth == 0) {
            return at;
        }
    }
    return 0;
}

bool unquote(std::string_view quoted, std::string* text) {
    if (quoted.size() >= 2 && quoted.find('\\') == quoted.npos) {
        *text = quoted.substr(1, quoted.size() - 2);
        return true;
    }
    const JsonPtr json = parseScalar(quoted);
    if (json != nullptr) {
        text->assign(json_object_get_string(json.get()), static_cast<size_t>(json_object_get_string_len(json.get())));
    }
    return json != nullptr;
}

}  // namespace

Members::Members(std::string_view object) : rest_(object) {
    open_ = take('{');
}

bool Members::take(char wanted) {
    skipBlank(rest_);
    if (!rest_.starts_with(wanted)) {
        return false;
    }
    rest_.remove_prefix(1);
    skipBlank(rest_);
    return true;
}

bool Members::next(std::string* name, std::string_view* value) {
    if (open_ && take('}')) {
        ended_ = true;
    }
    if (!open_ || ended_ || (!first_ && !take(',')) || !rest_.starts_with('"')) {
        open_ = false;
        return false;
    }
    first_ = false;
    open_ = unquote(takeValue(), name);
    *value = open_ && take(':') ? takeValue() : std::string_view();
    open_ = !value->empty();
    return open_;
}

// Empty when there is none.
std::string_view Members::takeValue() {
    const char first = rest_.empty() ? '\0' : rest_.front();
    const size_t length = first == '"'                   ? stringLength(rest_)
                          : first == '{' || first == '[' ? nestedLength(rest_)
                                                         : std::min(rest_.find_first_of(",}]/ \t\r\n"), rest_.size());
    const std::string_view value = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return value;
}

JsonPtr parseScalar(std::string_view text) {
    if (text.empty() || text.front() == '{' || text.front() == '[' || text.size() >= INT_MAX) {
        return nullptr;
    }
    struct FreeTokener {
        void operator()(json_tokener* tokener) const { json_tokener_free(tokener); }
    };
    const std::unique_ptr<json_tokener, FreeTokener> tokener(json_tokener_new_ex(1));
    if (!tokener) {
        throw std::bad_alloc();
    }
    // A number ends where something else begins: at the NUL of the copy.
    const std::string copy(text);
    JsonPtr json(json_tokener_parse_ex(tokener.get(), copy.c_str(), static_cast<int>(copy.size()) + 1));
    const bool whole = json_tokener_get_error(tokener.get()) == json_tokener_success &&
                       json_tokener_get_parse_end(tokener.get()) >= copy.size();
    return whole ? std::move(json) : nullptr;
}

}  // namespace vcfg::store
