// The LAN devices that a management server may see.
#include "mgmt/manageable_device.h"

#include "unit/lan_client_support.h"

namespace {

const std::string kTable = "ManagementServer.ManageableDevice";
const std::string kMac = "02:00:00:00:00:07";

class ManageableDeviceTable : public testing::Test {
  protected:
    void seen(const std::string& oui = "00D09E", const std::string& serial = "S-7", const std::string& pclass = "Box",
              const std::string& mac = kMac) {
        mgabDevUpdate(oui, serial, pclass, mac, kDeviceSeen);
    }
    void gone(const std::string& oui = "00D09E", const std::string& serial = "S-7", const std::string& pclass = "Box") {
        mgabDevUpdate(oui, serial, pclass, kMac, kDeviceGone);
    }
    std::string value(const std::string& parameter) { return gw.get(kTable + "." + parameter); }

    LanGateway gw;
};

class DeviceSeen : public ManageableDeviceTable {};
class DeviceGone : public ManageableDeviceTable {};
class DeviceIdentity : public ManageableDeviceTable {};

TEST_F(DeviceSeen, IsAdded) {
    seen();
    EXPECT_EQ(value("1.ManufacturerOUI"), "00D09E");
    EXPECT_EQ(value("1.SerialNumber"), "S-7");
    EXPECT_EQ(value("1.ProductClass"), "Box");
    EXPECT_EQ(value("1.X_VORAN_HardwareAddress"), kMac);
    EXPECT_EQ(gw.writes(), (Writes{"add " + kTable + ".1", "set " + kTable + ".1"}));
    EXPECT_TRUE(gw.onlyLogged("stdout", "mgabDevUpdate: set object moui 00D09E, serial S-7, pclass Box"));
}

TEST_F(DeviceSeen, AgainIsNotRewrittenNotEvenItsHardwareAddress) {
    seen();
    gw.forget();
    seen("00D09E", "S-7", "Box", "02:00:00:00:00:99");
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_TRUE(gw.log().empty());
    EXPECT_EQ(value("1.X_VORAN_HardwareAddress"), kMac);
}

TEST_F(DeviceSeen, TakesTheFirstFreeSlotAndEmptiesItsAlias) {
    seen("00D09E", "S-1", "Box");
    gw.add(kTable + ".2");
    gw.set(kTable + ".2.Alias", "MGAB_DEV_DELETE");
    gw.set(kTable + ".2.X_VORAN_HardwareAddress", "02:00:00:00:00:01");
    gw.add(kTable + ".3");
    gw.forget();
    seen();
    EXPECT_EQ(value("2.SerialNumber"), "S-7");
    EXPECT_EQ(value("2.Alias"), "");
    EXPECT_EQ(value("2.X_VORAN_HardwareAddress"), kMac);
    EXPECT_EQ(gw.writes(), Writes{"set " + kTable + ".2"});
}

TEST_F(DeviceSeen, BehindAFreeSlotIsFoundFirst) {
    gw.add(kTable + ".1");
    gw.set(kTable + ".2.ManufacturerOUI", "00D09E");
    gw.set(kTable + ".2.SerialNumber", "S-7");
    gw.set(kTable + ".2.ProductClass", "Box");
    gw.forget();
    seen();
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(DeviceSeen, SlotWithAnyPartOfAnIdentityIsNotFree) {
    gw.set(kTable + ".1.ManufacturerOUI", "00D09E");
    gw.set(kTable + ".2.SerialNumber", "S-7");
    gw.set(kTable + ".3.ProductClass", "Box");
    gw.forget();
    seen();
    EXPECT_EQ(value("4.SerialNumber"), "S-7");
}

TEST_F(DeviceSeen, FullTableIsAFailedAdd) {
    for (int i = 1; i <= 255; ++i) {
        gw.set(kTable + "." + std::to_string(i) + ".SerialNumber", "S" + std::to_string(i));
    }
    gw.forget();
    seen();
    EXPECT_TRUE(gw.onlyLogged("stdout", "mgabDevUpdate: fail to add ManageableDevice object with ret=-28"));
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_EQ(value("255.SerialNumber"), "S255");
}

TEST_F(DeviceSeen, FailedAddIsOneLine) {
    gw.refuseWrite(inproc::Operation::Add, kTable + ".{i}");
    seen();
    EXPECT_TRUE(gw.onlyLogged("stdout", "mgabDevUpdate: fail to add ManageableDevice object with ret=-5"));
}

TEST_F(DeviceSeen, EntryThatCannotBeReadLeavesTheTableAsItWas) {
    gw.refuseWrite(inproc::Operation::Get, kTable + ".{i}");
    seen();
    EXPECT_TRUE(gw.onlyLogged("stdout", "mgabDevUpdate: fail to get ManageableDevice object with ret=-5"));
    EXPECT_EQ(gw.count(kTable), 0u);
}

TEST_F(DeviceSeen, RefusedWriteLeavesTheTableAsItWas) {
    gw.refuseWrite(inproc::Operation::Set, kTable + ".{i}");
    seen();
    EXPECT_TRUE(gw.logged("stdout", "mgabDevUpdate: fail to set manageable device object with ret=-5"));
    EXPECT_EQ(gw.count(kTable), 0u);
}

TEST_F(DeviceSeen, RefusedWriteKeepsAFreeSlot) {
    gw.add(kTable + ".1");
    gw.forget();
    gw.refuseWrite(inproc::Operation::Set, kTable + ".{i}");
    seen();
    EXPECT_EQ(gw.count(kTable), 1u);
    EXPECT_EQ(value("1.SerialNumber"), "");
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(DeviceSeen, NullEntryNamesTheModule) {
    inproc::nullRecord(kTable + ".{i}");
    seen();
    EXPECT_TRUE(gw.loggedContaining("Free NULL pointer. tarn_mgabdev "));
    EXPECT_TRUE(gw.logged("stdout", "mgabDevUpdate: fail to get ManageableDevice object with ret=-5"));
    EXPECT_EQ(gw.count(kTable), 0u);
}

TEST_F(DeviceIdentity, WithAnyPartAbsentIsPassedOverWithoutAWord) {
    for (const char* absent : {"", "*", "*00D09E"}) {
        seen(absent);
        seen("00D09E", absent);
        seen("00D09E", "S-7", absent);
        gone(absent);
    }
    EXPECT_TRUE(gw.log().empty());
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(DeviceIdentity, TooLongIsStoredCutAndFillsAnotherSlotNextTime) {
    seen("00D09E7");
    EXPECT_EQ(value("1.ManufacturerOUI"), "00D09E");
    EXPECT_TRUE(gw.logged("stdout", "mgabDevUpdate: set object moui 00D09E, serial S-7, pclass Box"));
    seen("00D09E7");
    EXPECT_EQ(value("2.ManufacturerOUI"), "00D09E");
}

TEST_F(DeviceIdentity, SerialClassAndHardwareAddressAreStoredCut) {
    seen("00D09E", std::string(65, 's'), std::string(70, 'p'), kMac + ":08");
    EXPECT_EQ(value("1.SerialNumber"), std::string(64, 's'));
    EXPECT_EQ(value("1.ProductClass"), std::string(64, 'p'));
    EXPECT_EQ(value("1.X_VORAN_HardwareAddress"), kMac);
}

TEST_F(DeviceIdentity, NeedNotHaveTheFormOfTheStandard) {
    seen("d0");
    EXPECT_EQ(value("1.ManufacturerOUI"), "d0");
}

TEST_F(DeviceIdentity, IsComparedExactly) {
    seen();
    gw.forget();
    for (const auto& [oui, serial, pclass] : {std::tuple<const char*, const char*, const char*>{"00d09e", "S-7", "Box"},
                                              {"00D09E", "S-77", "Box"},
                                              {"00D09E", "S-7", "box"}}) {
        gone(oui, serial, pclass);
    }
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(DeviceGone, IsMarkedForRemoval) {
    seen("00D09E", "S-1", "Box");
    seen();
    gw.forget();
    gone();
    EXPECT_EQ(value("2.Alias"), "MGAB_DEV_DELETE");
    EXPECT_EQ(value("2.SerialNumber"), "S-7");
    EXPECT_EQ(value("1.Alias"), "");
    EXPECT_EQ(gw.writes(), Writes{"set " + kTable + ".2"});
    EXPECT_TRUE(gw.onlyLogged("stdout", "mgabDevUpdate: delete object moui 00D09E, serial S-7, pclass Box"));
}

TEST_F(DeviceGone, UnknownChangesNothing) {
    gone();
    EXPECT_TRUE(gw.onlyLogged("stdout", "mgabDevUpdate: Device does not exist,return!"));
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(DeviceGone, FailureNamesTheInstance) {
    gw.set(kTable + ".9.SerialNumber", "S-1");
    seen();
    for (const auto operation : {inproc::Operation::Get, inproc::Operation::Set}) {
        gw.forget();
        gw.refuseWrite(operation, kTable + ".{i}");
        gone();
        EXPECT_TRUE(gw.onlyLogged("stdout", "mgabDevUpdate: fail to delete ManageableDevice 10"));
        EXPECT_EQ(value("10.Alias"), "");
    }
}

}  // namespace
