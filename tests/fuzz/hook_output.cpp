// What a refresh hook prints: the input's first byte chooses the object, the rest is the hook's output and, in pieces,
// its complaint. A refused output changes nothing.
#include <vcfg/codes.h>

#include "model/describe.h"
#include "store/store.h"
#include "target.h"
#include "vcmd/complaint.h"

using namespace vcfg;

namespace {

constexpr size_t kPiece = 7;

const model::Object& chosen(std::string_view bytes) {
    return model::objects()[static_cast<uint8_t>(bytes[0]) % model::objects().size()];
}

// Makes the instances in which the object's first one lies.
objIndex firstInstance(store::Store& store, const model::Object& object) {
    objIndex iid{};
    if (const model::Object* parent = model::find(object.parentOid); parent != nullptr) {
        iid = firstInstance(store, *parent);
    }
    if (object.isTable) {
        store.add(object.oid, &iid, nullptr);
    }
    return iid;
}

void complain(std::string_view text) {
    vcmd::Complaint complaint;
    for (; !text.empty(); text.remove_prefix(std::min(kPiece, text.size()))) {
        complaint.take(text.substr(0, kPiece));
        if (complaint.line().find_first_of(std::string_view("\n\r\0", 3)) != std::string::npos) {
            finding("a complaint has several lines");
        }
    }
}

}  // namespace

void handleInput(std::string_view bytes) {
    if (bytes.empty()) {
        return;
    }
    const model::Object& object = chosen(bytes);
    bytes.remove_prefix(1);
    static store::Store store;
    store.clear(nullptr);
    const objIndex iid = firstInstance(store, object);
    const uint32_t revision = store.revision();
    std::string why;
    const store::JsonPtr values = store::parseObject(bytes, &why);
    const int code = values == nullptr ? VCFG_ERR_INVALID : store.write(object.oid, iid, values.get(), &why);
    if (code != VCFG_OK && (store.revision() != revision || why.empty())) {
        finding("a refused output has changed the model, or nobody says why it is refused");
    }
    complain(bytes);
}
