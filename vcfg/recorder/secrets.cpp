#include "secrets.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "model/describe.h"

namespace vcfg::recorder {
namespace {

constexpr std::string_view kBlank = " \t\r\n";

bool endsLike(std::string_view name, std::string_view word) {
    return name.size() >= word.size() &&
           std::equal(word.begin(), word.end(), name.end() - static_cast<ptrdiff_t>(word.size()),
                      [](char wanted, char c) { return wanted == std::tolower(static_cast<unsigned char>(c)); });
}

std::vector<std::string_view> secretParameters() {
    std::vector<std::string_view> names;
    for (const model::Object& object : model::objects()) {
        for (const model::Parameter& parameter : object.parameters) {
            if (parameter.isSecret()) {
                names.emplace_back(parameter.name);
            }
        }
    }
    return names;
}

bool isNameCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

// The end of a quotation that begins at `at`, behind its closing quote.
size_t endOfQuoted(std::string_view text, size_t at) {
    const char quote = text[at];
    for (++at; at < text.size() && text[at] != quote; ++at) {
        at += quote == '"' && text[at] == '\\' ? 1 : 0;
    }
    return at + 1;
}

// The end of a word of a shell or of JSON, which begins at `at`: of several quotations too, if they touch.
size_t endOfWord(std::string_view text, size_t at) {
    while (at < text.size() && std::string_view(" \t\r\n,;&|}]").find(text[at]) == std::string_view::npos) {
        const bool isQuote = text[at] == '"' || text[at] == '\'';
        at = isQuote ? endOfQuoted(text, at) : at + (text[at] == '\\' ? 2 : 1);
    }
    return std::min(at, text.size());
}

class Masking {
  public:
    explicit Masking(std::string_view text) : text_(text) {}

    std::string run() {
        while (at_ < text_.size()) {
            isNameCharacter(text_[at_]) ? name() : other();
        }
        return std::move(result_);
    }

  private:
    void other() { result_.push_back(text_[at_++]); }

    void name() {
        const size_t begin = at_;
        while (at_ < text_.size() && isNameCharacter(text_[at_])) {
            ++at_;
        }
        const std::string_view name = text_.substr(begin, at_ - begin);
        result_.append(name);
        const std::string_view ahead = text_.substr(0, begin);
        const bool isOption = ahead.ends_with("--") || ahead.ends_with(" -");
        isTransfer_ = isTransfer_ || name.starts_with("ftp");
        if (isSecretName(name) || (isTransfer_ && name == "p" && ahead.ends_with(" -"))) {
            value(isOption);
        }
    }

    // A closing quote belongs to the name; then comes '=' or ':', or behind an option's name a blank.
    void value(bool isOption) {
        size_t begin = at_ + (at_ < text_.size() && (text_[at_] == '"' || text_[at_] == '\'') ? 1 : 0);
        begin = std::min(text_.find_first_not_of(kBlank, begin), text_.size());
        const bool isNamed = begin < text_.size() && (text_[begin] == '=' || text_[begin] == ':');
        if (!isNamed && (!isOption || begin == at_)) {
            return;
        }
        begin = isNamed ? std::min(text_.find_first_not_of(kBlank, begin + 1), text_.size()) : begin;
        const size_t end = endOfWord(text_, begin);
        const std::string_view value = text_.substr(begin, end - begin);
        if (!value.empty() && value != "\"\"" && value != "''" && value != "null" && value[0] != '{' &&
            value[0] != '[') {
            result_.append(text_.substr(at_, begin - at_)).append(model::kHidden);
            at_ = end;
        }
    }

    std::string_view text_;
    size_t at_ = 0;
    bool isTransfer_ = false;
    std::string result_;
};

}  // namespace

bool isSecretName(std::string_view name) {
    for (const std::string_view word : {"password", "passphrase", "passwd", "presharedkey", "pin", "secret"}) {
        if (endsLike(name, word)) {
            return true;
        }
    }
    if (name == "pass" || name == "psk") {
        return true;
    }
    static const std::vector<std::string_view> named = secretParameters();
    return std::find(named.begin(), named.end(), name) != named.end();
}

std::string masked(std::string_view text) {
    return Masking(text).run();
}

}  // namespace vcfg::recorder
