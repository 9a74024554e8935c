// The data-model requests that libvcfg sends to vcmd (endpoint 1), and vcmd's answers. Both ends include this. What
// only reads the model asks nobody: it is in the run directory, for everyone who may talk to vcmd.
//
// Every request is one envelope: `oid` and `objIid` name the object, the payload is what the table says. The answer has
// the request's type with bit 31 set, `statCode` holds the vcfg_code (as uint32_t), and `objIid` the instance added;
// after a refusal the payload is a NUL-terminated text that says why. Records travel
// as they lie in memory: both ends run on the same machine.
#pragma once

#include <vcfg/msg.h>

#include <cstdint>

namespace vcfg::wire {

enum Request : uint32_t {
    kRefresh = 0x00F00001,      // -                            -> -, when the instance's owner has refreshed it
    kSet = 0x00F00006,          // payload: record              -> -, when written; the apply hook runs on
    kSetNoApply = 0x00F00007,   // payload: record              -> -
    kSetAndWait = 0x00F00008,   // payload: record              -> -, when the apply hook has ended
    kAdd = 0x00F00009,          // objIid: parent               -> the new instance's objIid
    kDelete = 0x00F0000A,       // -                            -> -
    kWrite = 0x00F0000B,        // payload: WriteHeader, then a NUL-terminated JSON object -> -
    kWatch = 0x00F0000C,        // payload: path patterns, one a line, or none for all -> -, then kChange as they happen
    kPing = 0x00F0000D,         // -                            -> -, when all that came before has been handled
    kChange = 0x00F0000E,       // from vcmd: JSON objects {t_mono_us, path, old, new, by}, one a line; of a refreshed
                                // value also {refreshedFor}, the endpoint that asked, and {event}, where it is known
    kDebugConfig = 0x00F0000F,  // to any daemon: payload is a JSON object {"level": 3..7}; libvcfg handles it itself
    kService = 0x00F00010,      // only oid -> ServiceHeader, then the apply and the refresh hook, NUL-terminated texts
    kSave = 0x00F00011,         // -                            -> -, when the configuration is on the disk
    kLoadPart = 0x00F00012,     // payload: a part of a model's text, oid: the offset where it begins -> -
    kLoad = 0x00F00013,         // payload: WriteHeader         -> -, when those parts have become the model
    kChangeAll = 0x00F00014,    // payload: WriteHeader, then steps -> the instance of each step, one objIndex after the
                                // other, when all have been made. A step is a StepHeader with a NUL-terminated JSON
                                // object behind it, or nothing
    kStartUp = 0x00F00015       // -                            -> StartUpHeader
};

// Who serves an object. A hook that is not there is an empty text.
struct ServiceHeader {
    int32_t process;
};

// Whether the process that serves endpoint 2 has completed its start-up.
struct StartUpHeader {
    int32_t completed;
};

struct WriteHeader {
    uint32_t requestType;  // VCFG_FE_WRITE_APPLY, VCFG_FE_WRITE_NO_APPLY, or VCFG_FE_WRITE_AND_WAIT
};

struct StepHeader {
    uint32_t oid;
    uint32_t length;  // of the text behind it, with its NUL
    uint8_t kind;     // vcfg_step_kind
    objIndex iid;
};

inline constexpr uint32_t answerTo(uint32_t request) {
    return request | VCFG_MSG_NO_REPLY;
}

}  // namespace vcfg::wire
