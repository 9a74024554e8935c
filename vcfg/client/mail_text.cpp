#include "mail_text.h"

#include <json-c/json.h>

#include <memory>
#include <new>

namespace vcfg {
namespace {

struct PutJson {
    void operator()(json_object* object) const { json_object_put(object); }
};

std::string member(json_object* request, const char* name) {
    json_object* value = nullptr;
    json_object_object_get_ex(request, name, &value);
    const char* const text = json_object_get_string(value);
    return text != nullptr ? text : "";
}

}  // namespace

// Where memory is short, the mail is sent all the same.
std::string mailText(const char* request) {
    try {
        const std::unique_ptr<json_object, PutJson> parsed(json_tokener_parse(request));
        return "vcfg-mail to " + member(parsed.get(), "mailto") + " through " + member(parsed.get(), "SMTP") + ":" +
               member(parsed.get(), "port");
    } catch (const std::bad_alloc&) {
        return "vcfg-mail";
    }
}

}  // namespace vcfg
