// Secrets by their values: what the data model holds as one is found in any text, also where nothing names it.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace vcfgctl {

class Hidden {
  public:
    // A shorter one is found by its name alone, or every number would be hidden.
    static constexpr size_t kShortest = 4;

    void learn(std::string_view secret);
    // The text with ******** in place of the secrets in it, of those that are named like one too.
    std::string text(std::string_view text) const;
    // Bytes that are no text, with stars of the same number in their place.
    std::string bytes(std::string_view bytes) const;

  private:
    // One may be a part of another, of which no rest may stay.
    struct LongestFirst {
        bool operator()(const std::string& left, const std::string& right) const {
            return left.size() != right.size() ? left.size() > right.size() : left < right;
        }
    };
    std::set<std::string, LongestFirst> known_;
};

}  // namespace vcfgctl
