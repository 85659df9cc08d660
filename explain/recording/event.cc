#include "explain/recording/event.h"

namespace explain::recording {

Event event_of(const sim::Fact &fact) {
    return {.kind = Kind::kFact,
            .sap = fact.second,
            .opcode = static_cast<uint32_t>(fact.kind),
            .value = fact.value,
            .data = fact.text};
}

sim::Fact fact_of(const Event &event) {
    return {static_cast<sim::FactKind>(event.opcode), event.value, event.sap, event.data};
}

void Digest::add(std::string_view text) {
    size_ += text.size();
    for (const char c : text)
        sum_ = (sum_ ^ static_cast<unsigned char>(c)) * 0x100000001b3;
}

Digest Digest::of(uint64_t size, uint64_t sum) {
    Digest digest;
    digest.size_ = size;
    digest.sum_ = sum;
    return digest;
}

} // namespace explain::recording
