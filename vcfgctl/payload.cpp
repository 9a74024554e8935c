#include "payload.h"

#include <vcfg/fe.h>

#include <algorithm>
#include <cstring>

#include "client/fe_step.h"
#include "mask.h"
#include "model/describe.h"
#include "print.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;
namespace wire = vcfg::wire;

bool isOfFrontEnd(const vcfg_msg_t& message) {
    return message.srcEid == VCFG_EID_VCMD || message.dstEid == VCFG_EID_VCMD;
}

std::string_view heldBytes(const Copy& copy) {
    return {vcfg_msg_text(copy.message.get()), copy.held};
}

std::string_view firstText(std::string_view bytes) {
    return bytes.substr(0, bytes.find('\0'));
}

Shown masked(std::string_view text, bool showSecrets) {
    Shown shown;
    if (showSecrets) {
        shown.text = text;
    } else {
        shown.text = maskSecrets(text);
        shown.isWhole = shown.text == text;
    }
    return shown;
}

// What cannot be told apart from a secret is not shown.
Shown unseen(const Copy& copy, bool showSecrets) {
    return {"(" + std::to_string(copy.message->length) + " bytes)", showSecrets};
}

// Of a record, what is not as in a new instance: "Enable=true Alias=wan".
Shown recordText(const Copy& copy, bool showSecrets) {
    const model::Object* object = model::find(copy.message->oid);
    if (object == nullptr || object->size != copy.held || copy.message->length != copy.held) {
        return unseen(copy, showSecrets);
    }
    const std::string_view record = heldBytes(copy);
    std::vector<char> untouched(object->size);
    model::setDefaults(*object, untouched.data());
    Shown shown;
    for (const model::Parameter& parameter : object->parameters) {
        const bool isSound = model::checkValue(parameter, record.data(), nullptr);
        const std::string value = isSound ? model::valueText(parameter, record.data()) : "?";
        if (isSound && value == model::valueText(parameter, untouched.data())) {
            continue;
        }
        const bool isHidden = parameter.isSecret() && !showSecrets;
        shown.isWhole = shown.isWhole && !isHidden;
        shown.text.append(shown.text.empty() ? "" : " ").append(parameter.name).append("=");
        shown.text.append(isHidden ? std::string(model::kHidden) : value);
    }
    return shown;
}

Shown writeText(const Copy& copy, bool showSecrets) {
    const std::string_view bytes = heldBytes(copy);
    return bytes.size() < sizeof(wire::WriteHeader)
               ? unseen(copy, showSecrets)
               : masked(firstText(bytes.substr(sizeof(wire::WriteHeader))), showSecrets);
}

std::string stepText(const wire::Step& step) {
    const model::Object* object = model::find(step.header.oid);
    const objIndex& iid = step.header.iid;
    const bool isKnown = object != nullptr && iid.level <= sizeof iid.idx;
    const char* verb = step.header.kind == VCFG_STEP_ADD      ? "add "
                       : step.header.kind == VCFG_STEP_DELETE ? "delete "
                                                              : "";
    const std::string path = isKnown ? model::path(*object, iid) : "object " + std::to_string(step.header.oid);
    return verb + path + (step.text.empty() ? "" : " " + std::string(step.text));
}

// One after the other, as far as they were copied.
Shown stepsText(const Copy& copy, bool showSecrets) {
    std::string_view bytes = heldBytes(copy);
    bytes.remove_prefix(std::min(bytes.size(), sizeof(wire::WriteHeader)));
    std::string text;
    wire::Step step{};
    for (std::string_view left = bytes; wire::takeStep(left, &step); bytes = left) {
        text += (text.empty() ? "" : "; ") + stepText(step);
    }
    Shown shown = masked(text, showSecrets);
    if (!bytes.empty() || copy.held < copy.message->length) {
        shown.text +=
            " (" + std::to_string(copy.held - bytes.size()) + " of " + std::to_string(copy.message->length) + " bytes)";
        shown.isWhole = showSecrets;
    }
    return shown;
}

// The hooks that serve an object, behind the header.
Shown serviceText(const Copy& copy) {
    std::string_view bytes = heldBytes(copy);
    bytes.remove_prefix(std::min(bytes.size(), sizeof(wire::ServiceHeader)));
    const std::string_view apply = firstText(bytes);
    bytes.remove_prefix(std::min(bytes.size(), apply.size() + 1));
    return {"apply=" + std::string(apply) + " refresh=" + std::string(firstText(bytes))};
}

Shown requestText(const Copy& copy, bool showSecrets) {
    switch (copy.message->type) {
        case wire::kSet:
        case wire::kSetNoApply:
        case wire::kSetAndWait:
            return recordText(copy, showSecrets);
        case wire::kWrite:
        case wire::kLoad:
            return writeText(copy, showSecrets);
        case wire::kChangeAll:
            return stepsText(copy, showSecrets);
        case wire::kLoadPart:
            return unseen(copy, showSecrets);
        case wire::answerTo(wire::kChangeAll):
            return copy.message->statCode == 0 ? unseen(copy, true) : masked(firstText(heldBytes(copy)), showSecrets);
        case wire::answerTo(wire::kService):
            return copy.message->statCode == 0 ? serviceText(copy) : masked(firstText(heldBytes(copy)), showSecrets);
        default:
            return masked(firstText(heldBytes(copy)), showSecrets);
    }
}

}  // namespace

Shown shownPayload(const Copy& copy, bool showSecrets) {
    const std::string_view bytes = heldBytes(copy);
    if (isOfFrontEnd(*copy.message) && copy.message->type != wire::kChange) {
        return requestText(copy, showSecrets);
    }
    const std::string_view text = firstText(bytes);
    Shown shown = masked(text, showSecrets);
    // One NUL is the text's own end.
    if (copy.message->length > text.size() + 1 || copy.held < copy.message->length) {
        shown.text += " (" + std::to_string(text.size()) + " of " + std::to_string(copy.message->length) + " bytes)";
    }
    return shown;
}

std::string pathOf(const vcfg_msg_t& message) {
    const bool isOffset = isOfFrontEnd(message) && message.type == wire::kLoadPart;
    const model::Object* object = isOffset ? nullptr : model::find(message.oid);
    const uint8_t level = message.objIid.level;
    const bool isNamed = level > 0 || (object != nullptr && object->depth == 0) || message.dstEid == VCFG_EID_VCMD;
    if (object == nullptr || level > sizeof message.objIid.idx || !isNamed) {
        return "";
    }
    return model::path(*object, message.objIid);
}

}  // namespace vcfgctl
