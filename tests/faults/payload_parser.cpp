// The JSON library's parser crashes when the copy of a text finds no memory; only whether there is a parser at all is
// the daemon's matter.
#include "injector.h"

struct json_object;

// NOLINTBEGIN(bugprone-reserved-identifier): the linker chose the names
extern "C" json_object* __real_json_tokener_parse_verbose(const char* text, int* error);
extern "C" json_object* __wrap_json_tokener_parse_verbose(const char* text, int* error);
extern "C" json_object* __wrap_json_tokener_parse_verbose(const char* text, int* error) {
    if (faults::strikes(faults::Kind::Memory)) {
        return nullptr;
    }
    const faults::Spared itsOwn;
    return __real_json_tokener_parse_verbose(text, error);
}
// NOLINTEND(bugprone-reserved-identifier)
