#include "mask.h"

#include <algorithm>

#include "model/describe.h"
#include "recorder/secrets.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

constexpr std::string_view kSpace = " \t\r\n";

// The end of the string that begins at `at`, behind its quote; the text's end when it has none.
size_t endOfString(std::string_view text, size_t at) {
    for (++at; at < text.size() && text[at] != '"'; ++at) {
        at += text[at] == '\\' ? 1 : 0;
    }
    return std::min(at + 1, text.size());
}

size_t endOfValue(std::string_view text, size_t at) {
    return text[at] == '"' ? endOfString(text, at) : std::min(text.find_first_of(",}] \t\r\n", at), text.size());
}

bool isEmptyValue(std::string_view value) {
    return value == "\"\"" || value == "null" || value == "{" || value == "[";
}

class Masking {
  public:
    explicit Masking(std::string_view text) : text_(text) {}

    std::string run() {
        while (at_ < text_.size()) {
            text_[at_] == '"' ? string() : other();
        }
        return std::move(result_);
    }

  private:
    void other() {
        // A change's path is about the values of its own line only.
        isAboutSecret_ = isAboutSecret_ && text_[at_] != '\n';
        result_.push_back(text_[at_++]);
    }

    void string() {
        const size_t end = endOfString(text_, at_);
        const std::string_view name = text_.substr(at_ + 1, std::max(end, at_ + 2) - at_ - 2);
        result_.append(text_.substr(at_, end - at_));
        at_ = end;
        const size_t colon = std::min(text_.find_first_not_of(kSpace, end), text_.size());
        const size_t value = colon < text_.size() && text_[colon] == ':'
                                 ? std::min(text_.find_first_not_of(kSpace, colon + 1), text_.size())
                                 : text_.size();
        if (value < text_.size()) {
            member(name, value);
        }
    }

    void member(std::string_view name, size_t begin) {
        const size_t end = endOfValue(text_, begin);
        const std::string_view value = text_.substr(begin, end - begin);
        if (name == "path" && value.size() > 2) {
            const std::string_view path = value.substr(1, value.size() - 2);
            isAboutSecret_ = vcfg::recorder::isSecretName(path.substr(path.rfind('.') + 1));
        }
        const bool isAbout = isAboutSecret_ && (name == "old" || name == "new");
        if ((!isAbout && !vcfg::recorder::isSecretName(name)) || isEmptyValue(value) || value.starts_with('{') ||
            value.starts_with('[')) {
            return;
        }
        result_.append(text_.substr(at_, begin - at_)).append("\"").append(model::kHidden).append("\"");
        at_ = end;
    }

    std::string_view text_;
    size_t at_ = 0;
    bool isAboutSecret_ = false;
    std::string result_;
};

}  // namespace

std::string maskSecrets(std::string_view json) {
    return Masking(json).run();
}

}  // namespace vcfgctl
