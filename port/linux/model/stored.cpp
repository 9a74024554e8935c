#include "stored.h"

#include <charconv>
#include <iterator>

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

objIndex instanceAt(const std::string& path) {
    objIndex iid{};
    for (size_t dot = path.find('.'); dot != std::string::npos; dot = path.find('.', dot + 1)) {
        const int number = numberIn(path.substr(dot + 1), "");
        if (number != 0 && iid.level < std::size(iid.idx)) {
            iid.idx[iid.level++] = static_cast<uint8_t>(number);
        }
    }
    return iid;
}
