// What the mail helper is asked to send, and the mail that it becomes.

#include "mail/message.h"
#include "mail/request.h"
#include "target.h"

namespace {

constexpr size_t kLongestLine = 998;

bool isHeader(std::string_view line) {
    for (const std::string_view known : {"Date: ", "From: ", "To: ", "Subject: ", "Message-ID: ", "MIME-Version: ",
                                         "Content-Type: ", "Content-Transfer-Encoding: ", " ", "\t"}) {
        if (line.substr(0, known.size()) == known) {
            return true;
        }
    }
    return false;
}

// Nothing that was asked for may add a header, end a line where none ends, or make one too long to be carried.
bool isSound(std::string_view mail) {
    bool inHeaders = true;
    while (!mail.empty()) {
        const size_t end = mail.find("\r\n");
        const std::string_view line = mail.substr(0, end);
        inHeaders = inHeaders && !line.empty();
        if (end == std::string_view::npos || line.size() > kLongestLine ||
            line.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos ||
            (inHeaders && !isHeader(line))) {
            return false;
        }
        mail.remove_prefix(end + 2);
    }
    return true;
}

}  // namespace

void handleInput(std::string_view bytes) {
    mail::Request request;
    if (mail::parse(bytes, request).empty() && !isSound(mail::compose(request, 1'700'000'000, "1.2"))) {
        finding("the mail is not the one that was asked for");
    }
}
