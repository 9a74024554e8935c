// Walks a JSON object in a text without building anything in memory, so that what nobody knows costs its reading only.
#pragma once

#include <string>
#include <string_view>

#include "json.h"

namespace vcfg::store {

class Members {
  public:
    explicit Members(std::string_view object);

    // The next member and the text of its value. False at the object's end, and where the text is none.
    bool next(std::string* name, std::string_view* value);
    // Whether the walk has come to the object's end, with nothing behind it.
    bool isWhole() const { return ended_ && rest_.empty(); }

  private:
    bool take(char wanted);
    std::string_view takeValue();

    std::string_view rest_;
    bool first_ = true;
    bool open_ = false;
    bool ended_ = false;
};

// A value that is neither object nor array; null for those, for null, and for what is no JSON.
JsonPtr parseScalar(std::string_view text);

}  // namespace vcfg::store
