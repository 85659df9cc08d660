// A request, and what the library needs for the answer to it.
#pragma once

#include <qarncli/message.h>
#include <qarnservice/request.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace service {

// The request, and what its pointers lead to.
struct Request : qarn_service_request {
    std::vector<uint32_t> all_interfaces, sorted_interfaces, all_excluded;
    std::string message; // as it came
    std::string profile, uri, command;
    qarn_id_mask vlans = {}, vsans = {};

    // Of a request that came over a connection.
    std::string reply_subject;
    std::chrono::steady_clock::time_point arrived;
    mutable std::atomic<uint64_t> bytes_sent{0}; // of the reply
};

// Throws Refusal.
std::unique_ptr<Request> read_request(const void *bytes, std::size_t size);

inline const Request &whole(const qarn_service_request *request) {
    return *static_cast<const Request *>(request);
}

} // namespace service
