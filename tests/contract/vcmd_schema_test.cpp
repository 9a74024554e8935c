// What vcmd says about who serves an object.
#include <vcfg/schema.h>

#include <memory>

#include "vcmd_kit.h"

namespace {

struct FreeBytes {
    void operator()(void* bytes) const { free(bytes); }
};
using Service = std::unique_ptr<vcfg_schema_service_t, FreeBytes>;

Service serviceOf(uint32_t oid) {
    vcfg_schema_service_t* service = nullptr;
    EXPECT_EQ(vcfgSchemaServiceGet(oid, &service), VCFG_OK);
    return Service(service);
}

TEST(VcmdSchema, HooksAreNamedWhileTheyAreThere) {
    Vcmd vcmd;
    vcmd.start();
    vcmd.hook("apply", "IP.Interface.{i}", "exit 0");
    Service service = serviceOf(RDM_OID_IP_IFACE);
    ASSERT_NE(service, nullptr);
    EXPECT_EQ(service->process, vcmd.pid());
    EXPECT_EQ(service->eid, VCFG_EID_VCMD);
    ASSERT_NE(service->applyHook, nullptr);
    EXPECT_TRUE(std::string(service->applyHook).ends_with("/apply/IP.Interface.{i}"));
    EXPECT_EQ(service->refreshHook, nullptr);

    std::filesystem::remove(service->applyHook);
    vcmd.hook("refresh", "IP.Interface.{i}", "exit 0");
    service = serviceOf(RDM_OID_IP_IFACE);
    ASSERT_NE(service, nullptr);
    EXPECT_EQ(service->applyHook, nullptr);
    ASSERT_NE(service->refreshHook, nullptr);
}

TEST(VcmdSchema, ObjectThatIsNotThereIsRefused) {
    Vcmd vcmd;
    vcmd.start();
    for (const uint32_t oid : {uint32_t{RDM_OID_NONE}, uint32_t{RDM_OID_COUNT}, UINT32_MAX}) {
        EXPECT_EQ(ask(vcfg::wire::kService, oid).code, VCFG_ERR_INVALID);
    }
    EXPECT_TRUE(vcmd.answers());
}

}  // namespace
