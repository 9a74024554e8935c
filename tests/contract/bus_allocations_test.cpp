// What a message costs in memory: a block for whoever it is handed to, and nothing else.
#include "bus_world.h"

namespace {

thread_local uint32_t allocations = 0;

}  // namespace

// The linker hands the calls of malloc(), calloc(), realloc() and operator new in this program to these.
extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t number, size_t size);
void* __real_realloc(void* block, size_t size);
void* __real__Znwm(size_t size);

void* __wrap_malloc(size_t size) {
    ++allocations;
    return __real_malloc(size);
}
void* __wrap_calloc(size_t number, size_t size) {
    ++allocations;
    return __real_calloc(number, size);
}
// Giving back what was too much is no allocation.
void* __wrap_realloc(void* block, size_t size) {
    allocations += block == nullptr ? 1 : 0;
    return __real_realloc(block, size);
}
void* __wrap__Znwm(size_t size) {
    ++allocations;
    return __real__Znwm(size);
}
}

namespace {

constexpr uint32_t kMessages = 100;

class BusAllocations : public BusWorld, public testing::WithParamInterface<size_t> {
  protected:
    BusAllocations() { vcfg_msg_eidInit(kClient, "client"); }

    static vcfg_msg_t* newRequest(uint32_t type) {
        auto* request = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + GetParam()));
        request->type = type;
        request->dstEid = kServer;
        request->length = static_cast<uint16_t>(GetParam());
        return request;
    }

    // Sends every message back in its own block, and says in `statCode` how much this thread has allocated so far.
    static void bounce(const Process::Ready& ready) {
        vcfg_msg_eidInit(kServer, nullptr);
        vcfg_msg_serverInit();
        ready();
        for (vcfg_msg_t* message = nullptr; vcfg_msg_serverRecv(&message, 0) == VCFG_OK;) {
            message->dstEid = message->srcEid;
            message->statCode = allocations;
            vcfg_msg_serverSend(message);
        }
    }

    static uint32_t callAndHearServersAllocations() {
        vcfg_msg_t* reply = nullptr;
        EXPECT_EQ(VCFG_OK, vcfg_msg_sendAndGetReply(newRequest(kAsk), &reply, kSoon));
        const uint32_t count = reply != nullptr ? reply->statCode : 0;
        free(reply);
        return count;
    }
};

TEST_P(BusAllocations, CallAllocatesOnlyTheMessagesThatAreHandedOut) {
    const Process server(bounce);
    callAndHearServersAllocations();
    const uint32_t serverBefore = callAndHearServersAllocations();
    const uint32_t before = allocations;
    uint32_t serverAfter = 0;
    for (uint32_t each = 0; each < kMessages; ++each) {
        serverAfter = callAndHearServersAllocations();
    }
    EXPECT_EQ(2 * kMessages, allocations - before);  // the request, which this test made, and its reply
    EXPECT_EQ(kMessages, serverAfter - serverBefore);
}

TEST_P(BusAllocations, OneWayMessageAllocatesOnlyWhatIsHandedOut) {
    serve(kServer);
    EXPECT_EQ(VCFG_DELIVERED, vcfg_msg_sendAndGetReply(newRequest(kTell), nullptr, kSoon));
    ASSERT_NE(nullptr, receive());
    const uint32_t before = allocations;
    for (uint32_t each = 0; each < kMessages; ++each) {
        EXPECT_EQ(VCFG_DELIVERED, vcfg_msg_sendAndGetReply(newRequest(kTell), nullptr, kSoon));
        ASSERT_NE(nullptr, receive());
    }
    EXPECT_EQ(2 * kMessages, allocations - before);
}

INSTANTIATE_TEST_SUITE_P(Sizes, BusAllocations, testing::Values(size_t{0}, size_t{200}, size_t{65480}));

}  // namespace
