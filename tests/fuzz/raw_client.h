// Somebody on the bus who keeps to none of its rules: packets are sent as they are.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class RawClient {
  public:
    explicit RawClient(const std::string& socketPath);
    ~RawClient() { hangUp(); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    // Connects first, when the other side has ended the connection. False when it takes nothing.
    bool send(std::string_view packet);
    // What has come, without waiting.
    std::optional<std::string> receive();
    // Sends no more, and still receives.
    void finish();
    void hangUp();

  private:
    bool connect();

    std::string path_;
    int socket_ = -1;
};
