// What a hook writes to its standard error: the last line is kept, however many pieces it comes in.
#pragma once

#include <string>
#include <string_view>

namespace vcfg::vcmd {

class Complaint {
  public:
    void take(std::string_view piece);
    // The last line that says something, on one line and of a length that fits the log; empty when there is none.
    const std::string& line() const { return open_.find_first_not_of(' ') != open_.npos ? open_ : last_; }

  private:
    void add(std::string_view part);
    void endLine();

    std::string last_;
    std::string open_;  // has no end yet
};

}  // namespace vcfg::vcmd
