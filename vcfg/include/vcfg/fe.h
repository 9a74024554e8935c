/* The data-model front end. Every operation returns 0 on success and any other value on failure; for the iterating ones
   that also means that no further instance exists. All may be called from several threads at once. A record that a call
   hands out is the caller's, who frees it with free(); one that is handed in stays the caller's. `feedback` is NULL. */
#ifndef VCFG_FE_H
#define VCFG_FE_H

#include <vcfg/rdm.h>

struct json_object;

#ifdef __cplusplus
extern "C" {
#endif

/* Request types of the writes that name their parameters. */
#define VCFG_FE_WRITE_APPLY 0x20000003u    /* write, and let the owner apply it */
#define VCFG_FE_WRITE_NO_APPLY 0x2000000Cu /* write into the data model only */

/* One instance, its values refreshed by its owner first; or the stored values as they are. */
int vcfgFeObjStructGet(uint32_t oid, objIndex* iid, void** record);
int vcfgFeObjStructGetWithoutUpdate(uint32_t oid, objIndex* iid, void** record);

/* The instance after `iid`, over all parents, in ascending order; a zeroed `iid` starts. `iid` becomes the one found.
 */
int vcfgFeObjStructGetNext(uint32_t oid, objIndex* iid, void** record);
int vcfgFeObjStructGetNextWithoutUpdate(uint32_t oid, objIndex* iid, void** record);

/* The same among the instances of a child table under `parent`. */
int vcfgFeSubInStructGetNext(uint32_t oid, const objIndex* parent, objIndex* iid, void** record);

/* Writes the whole record: and lets the owner apply it; into the data model only; and returns when it is applied
   (a failed apply is a failure, the values stay). A refused record changes nothing. */
int vcfgFeObjStructSet(uint32_t oid, const objIndex* iid, const void* record, void* feedback);
int vcfgFeObjStructSetWithoutApply(uint32_t oid, const objIndex* iid, const void* record, void* feedback);
int vcfgFeObjStructBlockedSet(uint32_t oid, const objIndex* iid, const void* record, void* feedback);

/* Adds an instance under the parent that `iid` names; `iid` becomes the new instance's, one level more. */
int vcfgFeObjStructAdd(uint32_t oid, objIndex* iid, void* feedback);
/* Deletes the instance and what is below it. */
int vcfgFeObjStructDel(uint32_t oid, const objIndex* iid, void* feedback);

/* Writes the parameters named by a JSON object, all or none; the others keep their values. */
int vcfgFeObjWrite(uint32_t oid, const objIndex* iid, const char* json, uint32_t requestType, void* feedback);
int vcfgFeObjJsonSetWithAdditions(uint32_t oid, const objIndex* iid, struct json_object* json, uint32_t additions,
                                  uint32_t requestType, void* feedback);

/* Loads the calling daemon's log level from the data model (X_VORAN_DebugLog). */
int vcfgFeDebugCfgObjInit(const char* daemon);

#ifdef __cplusplus
}
#endif
#endif
