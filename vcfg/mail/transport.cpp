#include "transport.h"

#include <curl/curl.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

namespace mail {
namespace {

constexpr size_t longestReason = 300;

struct CleanUp {
    void operator()(CURL* transfer) const { curl_easy_cleanup(transfer); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using Transfer = std::unique_ptr<CURL, CleanUp>;
using List = std::unique_ptr<curl_slist, CleanUp>;

size_t readMessage(char* buffer, size_t size, size_t count, void* rest) {
    auto& message = *static_cast<std::string_view*>(rest);
    const size_t part = std::min(size * count, message.size());
    memcpy(buffer, message.data(), part);
    message.remove_prefix(part);
    return part;
}

bool isRefusal(std::string_view answer) {
    return answer.size() > 3 && (answer[0] == '4' || answer[0] == '5');
}

// Keeps the server's last refusal, which says why; what follows is only the farewell.
size_t keepRefusal(char* text, size_t size, size_t count, void* kept) {
    const std::string_view answer(text, size * count);
    if (isRefusal(answer)) {
        static_cast<std::string*>(kept)->assign(answer.substr(0, longestReason));
    }
    return answer.size();
}

std::string oneLine(std::string text) {
    text.resize(std::min(text.size(), longestReason));
    text.erase(
        std::find_if(text.begin(), text.end(), [](char character) { return character == '\r' || character == '\n'; }),
        text.end());
    for (char& character : text) {
        if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F) {
            character = '?';
        }
    }
    return text;
}

std::string place(const Request& request) {
    const bool bare = request.server.find(':') == std::string::npos;
    return (bare ? request.server : "[" + request.server + "]") + ":" + std::to_string(request.port);
}

List recipients(const Request& request) {
    List list;
    for (const std::string& address : request.to) {
        curl_slist* longer = curl_slist_append(list.get(), address.c_str());
        if (longer == nullptr) {
            return nullptr;
        }
        [[maybe_unused]] curl_slist* before = list.release();
        list.reset(longer);
    }
    return list;
}

void setConnection(CURL* transfer, const Request& request, const Limits& limits) {
    const bool tls = request.security == Security::tls;
    curl_easy_setopt(transfer, CURLOPT_URL, ((tls ? "smtps://" : "smtp://") + place(request)).c_str());
    curl_easy_setopt(transfer, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
    curl_easy_setopt(transfer, CURLOPT_USE_SSL,
                     request.security == Security::none ? long{CURLUSESSL_NONE} : long{CURLUSESSL_ALL});
    curl_easy_setopt(transfer, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(transfer, CURLOPT_SSL_VERIFYHOST, 2L);
    if (!limits.caFile.empty()) {
        curl_easy_setopt(transfer, CURLOPT_CAINFO, limits.caFile.c_str());
    }
    curl_easy_setopt(transfer, CURLOPT_PROXY, "");
    curl_easy_setopt(transfer, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(transfer, CURLOPT_CONNECTTIMEOUT, limits.connectSeconds);
    curl_easy_setopt(transfer, CURLOPT_TIMEOUT, limits.totalSeconds);
}

void setEnvelope(CURL* transfer, const Request& request, const curl_slist* to) {
    curl_easy_setopt(transfer, CURLOPT_MAIL_FROM, request.from.c_str());
    curl_easy_setopt(transfer, CURLOPT_MAIL_RCPT, to);
    if (request.user.empty()) {
        return;
    }
    curl_easy_setopt(transfer, CURLOPT_USERNAME, request.user.c_str());
    curl_easy_setopt(transfer, CURLOPT_PASSWORD, request.password.c_str());
}

std::string reasonFor(CURLcode code, const char* detail, const std::string& refusal) {
    const std::string reason = oneLine(*detail != '\0' ? detail : curl_easy_strerror(code));
    return refusal.empty() ? reason : reason + ": " + oneLine(refusal);
}

}  // namespace

std::string deliver(const Request& request, const std::string& message, const Limits& limits) {
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
        return "the mail transport cannot start";
    }
    const Transfer transfer(curl_easy_init());
    const List to = recipients(request);
    if (!transfer || !to) {
        return "there is no memory for the mail";
    }
    std::string_view rest = message;
    std::string refusal;
    char detail[CURL_ERROR_SIZE] = "";
    setConnection(transfer.get(), request, limits);
    setEnvelope(transfer.get(), request, to.get());
    curl_easy_setopt(transfer.get(), CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(transfer.get(), CURLOPT_READFUNCTION, readMessage);
    curl_easy_setopt(transfer.get(), CURLOPT_READDATA, &rest);
    curl_easy_setopt(transfer.get(), CURLOPT_HEADERFUNCTION, keepRefusal);
    curl_easy_setopt(transfer.get(), CURLOPT_HEADERDATA, &refusal);
    curl_easy_setopt(transfer.get(), CURLOPT_ERRORBUFFER, detail);
    const CURLcode code = curl_easy_perform(transfer.get());
    return code == CURLE_OK ? std::string() : place(request) + ": " + reasonFor(code, detail, refusal);
}

}  // namespace mail
