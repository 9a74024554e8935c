#include "stored.h"

#include <charconv>

int numberIn(const std::string& path, const std::string& table) {
    int number = 0;
    if (path.starts_with(table)) {
        std::from_chars(path.data() + table.size(), path.data() + path.size(), number);
    }
    return number >= 1 && number <= 255 ? number : 0;
}

objIndex instance(int number) {
    objIndex iid{};
    iid.level = 1;
    iid.idx[0] = static_cast<uint8_t>(number);
    return iid;
}
