// The names on NATS: subjects of messages, the buckets of the registry and their keys.
//
//   qarn.SWITCH.VDC.opcode.OPCODE      everybody who consumes the opcode
//   qarn.SWITCH.VDC.sap.SAP            one service
//   qarn.SWITCH.VDC.reply.USER.TOKEN   where the answers to one command go; the request carries it as its reply subject
//   qarn.SWITCH.VDC.reply.USER.TOKEN.SAP    the answer of one service
//   SWITCH.VDC.OPCODE.SAP              key of a registration
//
//   _INBOX.USER.>                      what the server answers to a user
//
// SWITCH, VDC and USER are escaped. USER is who asks, so that the server can keep users from receiving the answers to
// others.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace nats {

inline constexpr char kBucket[] = "qarn-services"; // who is registered
inline constexpr char kRoster[] = "qarn-roster";   // who should be, with the same keys

// Whose messages and registrations.
struct Place {
    std::string switch_name = {}, vdc = {};
    auto operator<=>(const Place &) const = default; // NOLINT(modernize-use-nullptr): a fault of the check
};

// One word of a subject or a key: every byte except letters, digits, '-' and '_' becomes '=' and two hexadecimal
// digits, and an empty name becomes '='.
std::string escaped(std::string_view name);
// None if no name has this word.
std::optional<std::string> unescaped(std::string_view word);

// Why the name of a `kind` ("switch", "user") is too long for subjects; none: it is not.
std::optional<std::string> why_too_long(std::string_view kind, std::string_view name);

std::string opcode_subject(const Place &place, uint32_t opcode);
std::string sap_subject(const Place &place, uint32_t sap);

// A reply subject that no other command has.
std::string new_reply_subject(const Place &place, std::string_view user);
// Whether it is one of the place. A request could carry any subject, such as the key of a registration.
bool is_reply_subject(std::string_view subject, const Place &place);
std::string answer_subject(std::string_view reply_subject, uint32_t sap);
std::string all_answers(std::string_view reply_subject);

std::string key(const Place &place, uint32_t opcode, uint32_t sap);
std::string all_keys(const Place &place);
struct Key {
    Place place = {};
    uint32_t opcode = 0, sap = 0;
};
std::optional<Key> key_in(std::string_view text); // none if it is no key

std::string inbox_prefix(std::string_view user);

// The number after the last dot of a subject; none if there is none.
std::optional<uint32_t> last_number(std::string_view subject);

} // namespace nats
