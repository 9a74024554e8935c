// The data model as data: every object with its path, size and parameters. For the store, vcmd and vcfgctl.
#pragma once

#include <vcfg/rdm.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vcfg::model {

enum class Kind : uint8_t { Bool, Int, Uint, Long, Ulong, Text, Enum, Ipv4, Ipv6, Ip, Ipv6Prefix, Mac, Time };
// What a secret is shown as. No secret is that text itself: what was read must not become the secret by being written
// back.
inline constexpr std::string_view kHidden = "********";

enum class Access : uint8_t { RO, RW, KEPT, SECRET, LIVE };  // what they mean: all.def

struct Parameter {
    const char* name;
    Kind kind;
    Access access;
    uint16_t size;        // bytes in the record; a text's includes its NUL
    uint32_t offset;      // in the record
    const char* dflt;     // value of a new instance, as text
    const char* values;   // comma-separated, for Enum; else empty
    uint32_t countedOid;  // for "<Table>NumberOfEntries": the child table it counts; else RDM_OID_NONE

    bool isText() const { return kind >= Kind::Text; }
    bool isWritable() const { return access != Access::RO && access != Access::KEPT; }
    // Configuration; the others are state.
    bool isPersistent() const { return access != Access::RO && access != Access::LIVE; }
    // "Reset", "Renew": to write it is to ask for something, and it reads false again when that is handed on.
    bool isRequest() const { return access == Access::LIVE && kind == Kind::Bool; }
    bool isSecret() const { return access == Access::SECRET; }
};

struct Object {
    uint32_t oid;
    const char* name;     // the record type
    const char* pattern;  // "IP.Interface.{i}.IPv4Address.{i}"
    uint32_t size;        // of the record
    uint8_t depth;        // instance numbers in a full path
    bool isTable;         // the path ends in {i}
    uint32_t parentOid;   // the table whose instances it lies below ("IP.Interface.{i}"); RDM_OID_NONE for none
    std::span<const Parameter> parameters;
};

// All objects, by ascending oid; oid n stands at n - 1.
std::span<const Object> objects();
// Null for an oid that the model does not have.
const Object* find(uint32_t oid);
const Parameter* find(const Object& object, std::string_view parameter);

// Whether the objects of one lie below those of the other.
bool isBelow(const Object& object, const Object& above);

// "IP.Interface.3.IPv4Address.1": the pattern with its first `iid.level` places filled in.
std::string path(const Object& object, const objIndex& iid);

struct Resolved {
    const Object* object;
    objIndex iid;
    std::string_view rest;       // what follows the object's path: one name without a dot, or empty
    const Parameter* parameter;  // that `rest` names; null when it is empty or no parameter of the object
};
// The object and instance that a path names, instance numbers complete (1..255), with or without a parameter behind.
std::optional<Resolved> resolve(std::string_view path);

struct ResolvedTable {
    const Object* object;
    objIndex parent;
};
// The table that a path without its last instance number names ("IP.Interface.3.IPv4Address", a dot may follow), and
// the instance it lies below.
std::optional<ResolvedTable> resolveTable(std::string_view path);

// Whether `path` is one of those that `pattern` stands for: "*" is any instance number, a dot at the end the whole
// subtree, and an empty pattern everything.
bool pathMatches(std::string_view pattern, std::string_view path);

// A zeroed record with the defaults of a new instance, written to `record` (object.size bytes).
void setDefaults(const Object& object, void* record);

// One value as text ("true", "-1", "Up"), and back. Setting checks kind, range, length, values and form; on failure the
// record is untouched and `why` (may be null) says what would be accepted.
std::string valueText(const Parameter& parameter, const void* record);
bool setValue(const Parameter& parameter, void* record, std::string_view text, std::string* why);
// Checks one value of a record that came from outside: terminated text, boolean 0 or 1, value, form.
bool checkValue(const Parameter& parameter, const void* record, std::string* why);
// Takes one value over from another record of the same object; what lies behind a text's end is cleared.
void copyValue(const Parameter& parameter, void* record, const void* from);

}  // namespace vcfg::model
