#include "service/cut.h"

#include <qarncli/message.h>

namespace service {

Bytes fragment(uint32_t sap, bool last, uint32_t total_len, std::string_view data) {
    const uint32_t header[] = {last, total_len, sap, static_cast<uint32_t>(data.size())};
    static_assert(sizeof header == sizeof(qarn_cfg_frag));
    Bytes message;
    message.reserve(sizeof header + data.size());
    message.append(reinterpret_cast<const char *>(header), sizeof header);
    return message.append(data);
}

bool cut(std::string_view reply, uint32_t sap, std::size_t max_data, uint32_t total_len,
         const std::function<bool(Bytes)> &take) {
    const std::size_t size = max_data != 0 ? max_data : reply.size();
    std::size_t at = 0;
    do {
        const std::string_view data = reply.substr(at, size);
        at += data.size();
        if (!take(fragment(sap, at == reply.size(), total_len, data))) return false;
    } while (at < reply.size());
    return true;
}

} // namespace service
