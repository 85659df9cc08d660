#include "tools/qarn-tlv/messages.h"

#include <qarncli/message.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

#include "service/cut.h"

namespace tlv {
namespace {

// Joins the messages of one service.
class Join {
  public:
    explicit Join(std::optional<uint32_t> sap) : sap_(sap), takes_any_(!sap) {}

    void take(std::string_view &messages) {
        qarn_cfg_frag header = {};
        if (messages.size() < sizeof header) fail("the file ends within the header of a message");
        std::memcpy(&header, messages.data(), sizeof header);
        messages.remove_prefix(sizeof header);
        if (header.len > messages.size())
            fail("a message has " + std::to_string(header.len) + " bytes, and the file only " +
                 std::to_string(messages.size()) + " more");
        const std::string_view data = messages.substr(0, header.len);
        messages.remove_prefix(header.len);
        if (!sap_) sap_ = header.sap;
        if (header.sap == *sap_) return add(header, data);
        if (takes_any_)
            fail("there are messages of SAP " + std::to_string(*sap_) + " and SAP " + std::to_string(header.sap) +
                 "; name one with --sap");
    }

    service::Bytes finish() {
        if (!total_) fail("there is no message" + of_service());
        if (!is_complete_) fail("the last message" + of_service() + " is missing");
        if (reply_.size() != *total_)
            fail("the messages" + of_service() + " have " + std::to_string(reply_.size()) + " bytes of a reply of " +
                 std::to_string(*total_));
        return std::move(reply_);
    }

  private:
    [[noreturn]] static void fail(const std::string &reason) { throw std::runtime_error(reason); }
    std::string of_service() const { return sap_ ? " of SAP " + std::to_string(*sap_) : ""; }

    void add(const qarn_cfg_frag &header, std::string_view data) {
        if (is_complete_) fail("a message follows the last one" + of_service());
        if (!total_) total_ = header.total_len;
        reply_ += data;
        is_complete_ = header.last != 0;
    }

    std::optional<uint32_t> sap_;
    const bool takes_any_;
    std::optional<uint32_t> total_; // bytes of the reply, as the first message has it
    bool is_complete_ = false;
    service::Bytes reply_;
};

} // namespace

service::Bytes to_messages(std::string_view reply, uint32_t sap, std::size_t max_data) {
    service::Bytes messages;
    service::cut(reply, sap, max_data, static_cast<uint32_t>(reply.size()), [&](const service::Bytes &message) {
        messages += message;
        return true;
    });
    return messages;
}

service::Bytes from_messages(std::string_view messages, std::optional<uint32_t> sap) {
    Join join(sap);
    while (!messages.empty())
        join.take(messages);
    return join.finish();
}

} // namespace tlv
