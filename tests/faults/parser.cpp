// The JSON library's parser crashes when the copy of a text finds no memory. Its calls are spared for that; whether
// there is a parser at all is its callers' matter.
#include "injector.h"

struct json_object;
struct json_tokener;

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker chose the names
json_object* __real_json_tokener_parse_ex(json_tokener* parser, const char* text, int length);
json_object* __wrap_json_tokener_parse_ex(json_tokener* parser, const char* text, int length);
json_object* __wrap_json_tokener_parse_ex(json_tokener* parser, const char* text, int length) {
    const faults::Spared itsOwn;
    return __real_json_tokener_parse_ex(parser, text, length);
}

json_object* __real_json_tokener_parse(const char* text);
json_object* __wrap_json_tokener_parse(const char* text);
json_object* __wrap_json_tokener_parse(const char* text) {
    if (faults::strikes(faults::Kind::Memory)) {
        return nullptr;
    }
    const faults::Spared itsOwn;
    return __real_json_tokener_parse(text);
}
// NOLINTEND(bugprone-reserved-identifier)
}
