// The messages of a WPS session: requests to the wireless daemon, and the outcome for the web server. A request waits
// five seconds for its answer; its result is the bus result, -5 when memory is short.
#pragma once

#include "core/json.h"
#include "core/message.h"
#include "lan/wps_session.h"

// Starts the setup as the session's activation method says; -4 for a method that there is not.
int32_t wpsMsgSendWifidConfig(const WpsSession& session, MessagePtr& reply);
// Stops it. `session` may be null.
int32_t wpsMsgSendWifidStop(const WpsSession* session, MessagePtr& reply);
// Asks how it is going. `session` may be null.
int32_t wpsMsgStatusQryWifidStatus(const WpsSession* session, MessagePtr& reply);

// The data of an answer; not valid when there is none, or it is no JSON object.
Json wpsParseReplyMsg(uint32_t state, int32_t result, const vcfg_msg_t* reply);

// Sends the web server the outcome of handling a message of `type`: the data of the wireless daemon's answer with the
// send result, behind that answer's envelope. `reply` may be null, and `data` not valid.
void wpsMsgSendVhttpdReplyMsg(uint32_t type, int32_t result, const vcfg_msg_t* reply, Json data);
