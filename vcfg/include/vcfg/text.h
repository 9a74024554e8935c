/* A text field of a record: at most N characters and a NUL, the same bytes that C sees as char[N+1]. */
#ifndef VCFG_TEXT_H
#define VCFG_TEXT_H
#ifdef __cplusplus

#include <cstddef>
#include <cstring>
#include <string_view>

namespace vcfg {

/* How much of a text `limit` bytes can hold without cutting a character in two. */
inline size_t fittingSize(std::string_view text, size_t limit) {
    constexpr size_t kLongestCharacter = 4;
    if (text.size() <= limit) {
        return text.size();
    }
    for (size_t back = 0; back < kLongestCharacter && back <= limit; ++back) {
        const bool startsCharacter = (static_cast<unsigned char>(text[limit - back]) & 0xC0u) != 0x80u;
        if (startsCharacter) {
            return limit - back;
        }
    }
    return limit; /* no UTF-8 */
}

/* Puts a text into a field of `limit` characters. Cuts what is too long, between two characters: the model takes no
   part of one. The rest of the field is cleared, so that equal texts are equal bytes. */
inline void putText(char* bytes, size_t limit, std::string_view text) {
    const size_t length = fittingSize(text, limit);
    std::memmove(bytes, text.data(), length);
    std::memset(bytes + length, 0, limit + 1 - length);
}
inline bool isText(const char* bytes, size_t limit, std::string_view text) {
    return std::string_view(bytes, strnlen(bytes, limit)) == text;
}

template <size_t N>
struct Text {
    char bytes[N + 1];

    static constexpr size_t capacity = N;

    Text& operator=(std::string_view text) {
        putText(bytes, N, text);
        return *this;
    }
    Text& operator=(const char* text) { return *this = std::string_view(text != nullptr ? text : ""); }

    size_t size() const { return strnlen(bytes, N); }
    std::string_view view() const { return {bytes, size()}; }
    operator std::string_view() const { return view(); }
    const char* c_str() const { return bytes; }

    bool empty() const { return bytes[0] == '\0'; }
    bool startsWith(std::string_view text) const { return view().substr(0, text.size()) == text; }
    bool contains(std::string_view text) const { return view().find(text) != std::string_view::npos; }

    friend bool operator==(const Text& left, std::string_view right) { return isText(left.bytes, N, right); }
};

}  // namespace vcfg

#endif
#endif
