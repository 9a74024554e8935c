#include "request.h"

#include <json-c/json.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <utility>

#include "address.h"

namespace mail {
namespace {

constexpr size_t longestSecret = 1024;
constexpr size_t longestSubject = 4096;
constexpr size_t mostRecipients = 100;

struct Release {
    void operator()(json_object* object) const { json_object_put(object); }
    void operator()(json_tokener* tokener) const { json_tokener_free(tokener); }
};
using Object = std::unique_ptr<json_object, Release>;

Object parseObject(std::string_view text) {
    const std::unique_ptr<json_tokener, Release> tokener(json_tokener_new());
    if (!tokener || text.size() > INT_MAX) {
        return nullptr;
    }
    Object object(json_tokener_parse_ex(tokener.get(), text.data(), static_cast<int>(text.size())));
    if (json_tokener_get_error(tokener.get()) != json_tokener_success ||
        !json_object_is_type(object.get(), json_type_object)) {
        return nullptr;
    }
    text.remove_prefix(json_tokener_get_parse_end(tokener.get()));
    const bool alone = text.find_first_not_of(std::string_view(" \t\r\n")) == std::string_view::npos;
    return alone ? std::move(object) : nullptr;
}

// A field that is missing or no text reads as empty.
std::string text(json_object* object, const char* key) {
    json_object* value = nullptr;
    if (!json_object_object_get_ex(object, key, &value) || !json_object_is_type(value, json_type_string)) {
        return {};
    }
    return {json_object_get_string(value), static_cast<size_t>(json_object_get_string_len(value))};
}

int number(json_object* object, const char* key) {
    json_object* value = nullptr;
    return json_object_object_get_ex(object, key, &value) ? json_object_get_int(value) : 0;
}

bool readSecurity(const std::string& name, Security& security) {
    if (name.empty() || name == "None") {
        security = Security::none;
    } else if (name == "SSL") {
        security = Security::tls;
    } else if (name == "STARTTLS") {
        security = Security::startTls;
    } else {
        return false;
    }
    return true;
}

bool isSecret(const std::string& value) {
    return value.size() <= longestSecret && value.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos;
}

std::string checkEnvelope(const Request& request) {
    if (!isHost(request.server)) {
        return "the mail server is no host name or address";
    }
    if (request.port < 1 || request.port > 65535) {
        return "the port is none of 1 to 65535";
    }
    if (!isAddress(request.from)) {
        return "the sender is no mail address";
    }
    if (request.to.empty()) {
        return "there is no recipient";
    }
    if (request.to.size() > mostRecipients) {
        return "there are more than 100 recipients";
    }
    if (!std::all_of(request.to.begin(), request.to.end(), isAddress)) {
        return "a recipient is no mail address";
    }
    if (!isSecret(request.user) || !isSecret(request.password)) {
        return "the user name or the password holds a line break or is too long";
    }
    return {};
}

std::string checkContent(const Request& request) {
    if (request.subject.size() > longestSubject) {
        return "the subject is too long";
    }
    if (!isText(request.subject, false)) {
        return "the subject is not one line of UTF-8 text";
    }
    if (!isText(request.body, true)) {
        return "the body is not UTF-8 text";
    }
    return {};
}

}  // namespace

std::string parse(std::string_view json, Request& request) {
    const Object object = parseObject(json);
    if (!object) {
        return "the request is no JSON object";
    }
    request.server = text(object.get(), "SMTP");
    request.port = number(object.get(), "port");
    request.user = text(object.get(), "user");
    request.password = text(object.get(), "pass");
    request.from = text(object.get(), "mailfrom");
    request.to = listOf(text(object.get(), "mailto"));
    request.subject = text(object.get(), "subject");
    request.body = text(object.get(), "body");
    if (!readSecurity(text(object.get(), "security"), request.security)) {
        return "the security is none of None, SSL, STARTTLS";
    }
    const std::string reason = checkEnvelope(request);
    return reason.empty() ? checkContent(request) : reason;
}

}  // namespace mail
