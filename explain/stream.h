// What a reply says, read byte by byte. The library and the builder of replies have readers and writers of their own;
// this one keeps everything, also what the library leaves out, and what is wrong.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace explain {

// As the library identifies elements: the low 16 bits of UUID and id.
struct Key {
    uint16_t uuid = 0, id = 0;
    auto operator<=>(const Key &) const = default;
};

Key key_of(uint32_t uuid, uint32_t id);
std::string text_of(Key key); // "(21,4)"

// One TLV with its follow-ups. Texts and messages lie in the reply that was read.
struct Item {
    enum class Kind : uint8_t {
        kAfter,            // uuid, id: printed after that one
        kOnlyIf,           // uuid, id: only if that one has text
        kOtherDependency,  // uuid, id, and its kind in `index`
        kText,             // text
        kInterfaceText,    // index, text
        kInterfaceCommand, // index, text: a command message
        kCommand,          // text: a command message for the debug display
        kKeyString,        // name, text
        kKey,              // index, map in text, name
        kUnknown           // tag in `index`, value in `text`
    };
    Kind kind;
    std::size_t at; // of the TLV in the reply
    uint32_t uuid = 0, id = 0, index = 0;
    std::string_view name = {}, text = {};
    bool is_stray = false; // of no element: before the first one, or after one that cannot be read
};

struct StreamElement {
    uint32_t uuid, id, level, property, val_type;
    std::size_t at;
};

struct Fault {
    std::size_t at; // in the reply
    std::string what;
    bool is_stray = false; // of no element, but of the array as a whole or of a stray item
};

// Takes what is read, in its order.
class StreamSink {
  public:
    StreamSink() = default;
    virtual ~StreamSink() = default;
    StreamSink(const StreamSink &) = delete;
    StreamSink &operator=(const StreamSink &) = delete;

    virtual void element(const StreamElement &element) = 0;
    virtual void item(const Item &) {} // of the last element, unless it is stray
    virtual void fault(Fault) {}       // the last one may be where reading ends
};

struct StreamHeader {
    uint32_t status = 0;
    uint32_t announced = 0, counted = 0; // TLVs, follow-ups included
};

// Never fails: what is wrong goes to the sink.
StreamHeader read_stream(std::string_view reply, StreamSink &sink);

} // namespace explain
