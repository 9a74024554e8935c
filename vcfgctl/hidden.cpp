#include "hidden.h"

#include <algorithm>

#include "client/json_text.h"
#include "mask.h"
#include "model/describe.h"

namespace vcfgctl {
namespace {

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (size_t at = text.find(from); at != text.npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

// As JSON has it within its quotes.
std::string inJson(std::string_view secret) {
    std::string quoted;
    vcfg::appendJsonString(quoted, secret);
    return quoted.substr(1, quoted.size() - 2);
}

// As a shell's word has it within its quotes.
std::string inShell(std::string secret) {
    replaceAll(secret, "'", "'\\''");
    return secret;
}

}  // namespace

void Hidden::learn(std::string_view secret) {
    if (secret.size() >= kShortest && secret != vcfg::model::kHidden) {
        known_.emplace(secret);
    }
}

std::string Hidden::text(std::string_view text) const {
    std::string shown = maskSecrets(text);
    for (const std::string& secret : known_) {
        for (const std::string& form : {secret, inJson(secret), inShell(secret)}) {
            replaceAll(shown, form, vcfg::model::kHidden);
        }
    }
    // What stands for a secret says nothing about its characters, which decide whether a shell's word is quoted.
    replaceAll(shown, "'" + std::string(vcfg::model::kHidden) + "'", vcfg::model::kHidden);
    return shown;
}

std::string Hidden::bytes(std::string_view bytes) const {
    std::string shown(bytes);
    for (const std::string& secret : known_) {
        replaceAll(shown, secret, std::string(secret.size(), '*'));
    }
    return shown;
}

}  // namespace vcfgctl
