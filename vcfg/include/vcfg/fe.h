/* The data-model front end. Every operation returns 0 on success and any other value on failure; for the iterating ones
   that also means that no further instance exists. All may be called from several threads at once. A record that a call
   hands out is the caller's, who frees it with free(); one that is handed in stays the caller's. `feedback` is NULL. */
#ifndef VCFG_FE_H
#define VCFG_FE_H

#include <stddef.h>
#include <vcfg/rdm.h>

struct json_object;

#ifdef __cplusplus
extern "C" {
#endif

/* Request types of the writes that name their parameters. */
#define VCFG_FE_WRITE_APPLY 0x20000003u    /* write, and let the owner apply it */
#define VCFG_FE_WRITE_NO_APPLY 0x2000000Cu /* write into the data model only */
#define VCFG_FE_WRITE_AND_WAIT 0x20000008u /* write, let the owner apply it, and return when that is done */

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

/* One step of a change of several objects. */
typedef enum vcfg_step_kind {
    VCFG_STEP_WRITE = 1, /* writes the parameters that `json` names */
    VCFG_STEP_ADD = 2,   /* adds an instance under the parent that `iid` names, with those parameters */
    VCFG_STEP_DELETE = 3 /* deletes the instance and what is below it; `json` is NULL */
} vcfg_step_kind;
typedef struct vcfg_step_t {
    uint32_t kind; /* vcfg_step_kind */
    uint32_t oid;
    objIndex iid;     /* after success the instance's own, all numbers filled in */
    const char* json; /* a JSON object, as of vcfgFeObjWrite; NULL: no parameters */
} vcfg_step_t;

/* Makes `count` steps in their order, of any objects, as one change: all or none. Readers see the model before it or
   behind it. A number 0 in a step's `iid` stands for the number that the last instance added to that table by an
   earlier step has got, so that an instance, what lies below it and what refers to it come together.

   The owners apply it when it is made, one after the other, in the order of the first write to each instance and once
   for each: with the values before the change and behind it. What is deleted is applied the deepest first; what comes
   and goes within the change is not. With VCFG_FE_WRITE_AND_WAIT a failed apply is a failure (VCFG_ERR_FAIL, the first
   one's reason), when all have ended; the values stay.

   VCFG_ERR_INVALID or VCFG_ERR_NOT_FOUND when a step is refused: vcfg_refusalText() (<vcfg/loop.h>) names its path,
   nothing is changed. VCFG_ERR_INVALID also when the steps do not fit one request: 65531 bytes, of which each takes 16,
   and its text with the NUL. VCFG_ERR_FULL when the model has no room, or when more than 256 applications would wait.
   VCFG_ERR_FAIL when memory is short here or in vcmd. VCFG_ERR_NO_PEER when vcmd is away; when it goes away during the
   call all may have been made, or nothing. 0 steps are no change, which asks nobody. */
int vcfgFeObjChange(vcfg_step_t* steps, size_t count, uint32_t requestType, void* feedback);

/* Loads the calling daemon's log level from the data model (X_VORAN_DebugLog). */
int vcfgFeDebugCfgObjInit(const char* daemon);

#ifdef __cplusplus
}
#endif
#endif
