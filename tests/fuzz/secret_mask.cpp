// Texts in which somebody's secrets may be: JSON as messages carry it, command lines as the recorder keeps them, and
// any text in which a known secret stands (the first line of the input).
#include "mask.h"

#include <json-c/json.h>

#include <memory>
#include <string>

#include "hidden.h"
#include "model/describe.h"
#include "recorder/secrets.h"
#include "target.h"

using vcfg::recorder::isSecretName;

namespace {

struct PutJson {
    void operator()(json_object* object) const { json_object_put(object); }
};
using JsonPtr = std::unique_ptr<json_object, PutJson>;

// Null for what a strict reader does not take.
JsonPtr parsed(const std::string& text) {
    json_tokener* const parser = json_tokener_new();
    json_tokener_set_flags(parser, JSON_TOKENER_STRICT);
    json_object* const object = json_tokener_parse_ex(parser, text.c_str(), static_cast<int>(text.size() + 1));
    json_tokener_free(parser);
    return JsonPtr(object);
}

bool isShown(const char* name, json_object* value) {
    if (!isSecretName(name) || value == nullptr || json_object_is_type(value, json_type_object) ||
        json_object_is_type(value, json_type_array)) {
        return false;
    }
    const std::string_view text = json_object_get_string(value);
    return !text.empty() && text != vcfg::model::kHidden;
}

bool showsSecret(json_object* within) {
    if (json_object_is_type(within, json_type_array)) {
        for (size_t each = 0; each < json_object_array_length(within); ++each) {
            if (showsSecret(json_object_array_get_idx(within, each))) {
                return true;
            }
        }
    }
    if (json_object_is_type(within, json_type_object)) {
        json_object_object_foreach(within, name, value) {
            if (isShown(name, value) || showsSecret(value)) {
                return true;
            }
        }
    }
    return false;
}

void checkJson(const std::string& text) {
    const std::string shown = vcfgctl::maskSecrets(text);
    if (vcfgctl::maskSecrets(shown) != shown) {
        finding("what is masked is masked again");
    }
    if (parsed(text) == nullptr) {
        return;
    }
    const JsonPtr object = parsed(shown);
    if (object == nullptr || showsSecret(object.get())) {
        finding("a secret is shown, or the text is none any more: " + shown);
    }
}

void checkCommand(const std::string& text) {
    const std::string shown = vcfg::recorder::masked(text);
    if (vcfg::recorder::masked(shown) != shown) {
        finding("what is masked is masked again: " + shown);
    }
}

// Stars and quotes are what stands for a secret, and round it.
void checkKnown(std::string_view secret, std::string_view text) {
    vcfgctl::Hidden hidden;
    hidden.learn(secret);
    if (secret.size() < vcfgctl::Hidden::kShortest || secret.find_first_of("*'\"\\") != secret.npos) {
        return;
    }
    if (hidden.text(text).find(secret) != std::string::npos || hidden.bytes(text).find(secret) != std::string::npos ||
        hidden.bytes(text).size() != text.size()) {
        finding("a known secret is shown");
    }
}

}  // namespace

void handleInput(std::string_view bytes) {
    const size_t line = bytes.find('\n');
    const std::string_view rest = line == bytes.npos ? bytes : bytes.substr(line + 1);
    checkKnown(bytes.substr(0, line), rest);
    const std::string text(bytes.substr(0, bytes.find('\0')));
    checkJson(text);
    checkCommand(text);
}
