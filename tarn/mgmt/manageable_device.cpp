#include "mgmt/manageable_device.h"

#include <optional>

#include "core/log.h"
#include "core/record.h"
#include "mgmt/absent.h"

namespace {

constexpr const char* kUpdate = "mgabDevUpdate";
constexpr const char* kDeleteMark = "MGAB_DEV_DELETE";  // vcmd removes an entry with this alias

struct Identity {
    const std::string& moui;
    const std::string& serial;
    const std::string& pclass;
};

// Compared uncut: an identity that is too long for the table never matches what was stored of it.
bool isOf(const ManageableDevice& device, const Identity& identity) {
    return device.ManufacturerOUI == identity.moui && device.SerialNumber == identity.serial &&
           device.ProductClass == identity.pclass;
}

bool isFree(const ManageableDevice& device) {
    return device.ManufacturerOUI.empty() && device.SerialNumber.empty() && device.ProductClass.empty();
}

struct Found {
    std::optional<objIndex> device;
    std::optional<objIndex> freeSlot;
};

Found search(const Identity& identity) {
    Found found;
    for (const auto& device : instances<ManageableDevice>()) {
        if (isOf(*device, identity)) {
            found.device = device.iid();
            break;
        }
        if (!found.freeSlot && isFree(*device)) {
            found.freeSlot = device.iid();
        }
    }
    return found;
}

void markForRemoval(const objIndex& iid, const Identity& identity) {
    auto device = get<ManageableDevice>(iid);
    if (device) {
        device->Alias = kDeleteMark;
    }
    if (!device || device.apply() != VCFG_OK) {
        logs::print("%s: fail to delete ManageableDevice %d\n", kUpdate, iid.idx[0]);
        return;
    }
    logs::print("%s: delete object moui %s, serial %s, pclass %s\n", kUpdate, identity.moui.c_str(),
                identity.serial.c_str(), identity.pclass.c_str());
}

// Returns whether the entry now holds the device.
bool fill(const objIndex& iid, const Identity& identity, const std::string& mac) {
    auto device = get<ManageableDevice>(iid);
    if (!device) {
        logs::print("%s: fail to get ManageableDevice object with ret=%d\n", kUpdate, device.code());
        return false;
    }
    device->Alias = "";
    device->ManufacturerOUI = identity.moui;
    device->SerialNumber = identity.serial;
    device->ProductClass = identity.pclass;
    logs::print("%s: set object moui %s, serial %s, pclass %s\n", kUpdate, device->ManufacturerOUI.c_str(),
                device->SerialNumber.c_str(), device->ProductClass.c_str());
    device->X_VORAN_HardwareAddress = mac;
    const int code = device.apply();
    if (code != VCFG_OK) {
        logs::print("%s: fail to set manageable device object with ret=%d\n", kUpdate, code);
    }
    return code == VCFG_OK;
}

void addDevice(const Identity& identity, const std::string& mac) {
    objIndex added = noInstance();
    if (const int code = add<ManageableDevice>(added); code != VCFG_OK) {
        logs::print("%s: fail to add ManageableDevice object with ret=%d\n", kUpdate, code);
        return;
    }
    if (!fill(added, identity, mac)) {
        remove<ManageableDevice>(added);
    }
}

}  // namespace

void mgabDevUpdate(const std::string& moui, const std::string& serial, const std::string& pclass,
                   const std::string& mac, int mode) {
    if (isAbsent(moui) || isAbsent(serial) || isAbsent(pclass)) {
        return;
    }
    const Identity identity{moui, serial, pclass};
    const Found found = search(identity);
    if (mode == kDeviceGone && found.device) {
        markForRemoval(*found.device, identity);
    } else if (mode == kDeviceGone) {
        logs::print("%s: Device does not exist,return!\n", kUpdate);
    } else if (!found.device && found.freeSlot) {
        fill(*found.freeSlot, identity, mac);
    } else if (!found.device) {
        addDevice(identity, mac);
    }
}
