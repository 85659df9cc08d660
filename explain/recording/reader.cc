// Nothing in a file can be relied on. Every event is kept as it is until the whole file has turned out to be a
// recording.
#include <pcap/pcap.h>
#include <qarncli/message.h>

#include <bit>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>

#include "explain/recording/file.h"

namespace explain::recording {
namespace {

constexpr uint64_t kNanoseconds = 1000000000;

uint32_t load(const unsigned char *at) {
    return uint32_t{at[0]} << 24 | uint32_t{at[1]} << 16 | uint32_t{at[2]} << 8 | at[3];
}

uint64_t load_long(std::string_view bytes, std::size_t at) {
    const auto *begin = reinterpret_cast<const unsigned char *>(bytes.data()) + at;
    return uint64_t{load(begin)} << 32 | load(begin + 4);
}

struct Packet {
    Event event;
    bool goes_on;
};

class Packets {
  public:
    explicit Packets(std::FILE *file) : pcap_(nullptr, pcap_close) {
        char error[PCAP_ERRBUF_SIZE] = "";
        pcap_.reset(pcap_fopen_offline_with_tstamp_precision(file, PCAP_TSTAMP_PRECISION_NANO, error));
        if (!pcap_) std::fclose(file);
        if (!pcap_) throw Error("it is no file of packets: " + std::string(error));
        if (pcap_datalink(pcap_.get()) != DLT_USER0) throw Error("it is a file of other packets, not a recording");
    }

    std::optional<Packet> next() {
        pcap_pkthdr *header = nullptr;
        const u_char *bytes = nullptr;
        const int result = pcap_next_ex(pcap_.get(), &header, &bytes);
        if (result == PCAP_ERROR_BREAK) return {};
        if (result != 1) throw Error("it is cut or damaged: " + std::string(pcap_geterr(pcap_.get())));
        ++count_;
        return packet_in(*header, bytes);
    }
    uint64_t count() const { return count_; }

  private:
    [[noreturn]] void fail(const std::string &what) const {
        throw Error("packet " + std::to_string(count_) + " " + what);
    }

    Packet packet_in(const pcap_pkthdr &header, const unsigned char *bytes) const {
        if (header.caplen < kHeaderSize || load(bytes + kMagicAt) != kMagic) fail("is none of a recording");
        if (bytes[kVersionAt] != kVersion)
            fail("is of version " + std::to_string(bytes[kVersionAt]) + "; this shell reads version " +
                 std::to_string(kVersion));
        const uint8_t order = std::endian::native == std::endian::big ? kBigEndian : 0;
        if ((bytes[kFlagsAt] & kBigEndian) != order) fail("is of a machine with another byte order");
        const uint32_t length = load(bytes + kLengthAt);
        if (length != header.caplen - kHeaderSize || header.caplen != header.len) fail("is not as long as it says");
        const uint64_t time =
            static_cast<uint64_t>(header.ts.tv_sec) * kNanoseconds + static_cast<uint64_t>(header.ts.tv_usec);
        return {{.kind = static_cast<Kind>(bytes[kKindAt]),
                 .direction = static_cast<Direction>(bytes[kDirectionAt]),
                 .sap = load(bytes + kSapAt),
                 .opcode = load(bytes + kOpcodeAt),
                 .value = load(bytes + kValueAt),
                 .time = time,
                 .data = {reinterpret_cast<const char *>(bytes) + kHeaderSize, length}},
                (bytes[kFlagsAt] & kGoesOn) != 0};
    }

    std::unique_ptr<pcap_t, void (*)(pcap_t *)> pcap_;
    uint64_t count_ = 0;
};

// What the transport guarantees to the library.
void check_message(const Event &event) {
    qarn_cfg_frag header;
    const bool has_header = event.data.size() >= sizeof header;
    if (has_header) std::memcpy(&header, event.data.data(), sizeof header);
    if (!has_header || header.len != event.data.size() - sizeof header)
        throw Error("it has a message that is not as long as it says");
}

bool is_known(Kind kind) {
    return kind >= Kind::kCommand && kind <= Kind::kEnd;
}

// The next event with all its packets.
std::optional<Event> next_event(Packets &packets) {
    auto packet = packets.next();
    if (!packet) return {};
    if (!is_known(packet->event.kind)) throw Error("it has an event of an unknown kind");
    while (packet->goes_on) {
        auto more = packets.next();
        if (!more) throw Error("it is cut within an event");
        if (more->event.kind != packet->event.kind) throw Error("it has an event that does not go on");
        packet->event.data += more->event.data;
        packet->goes_on = more->goes_on;
    }
    return std::move(packet->event);
}

void read_end(const Event &event, uint64_t packets_before, Recording &recording) {
    constexpr std::size_t kWithoutDigest = 8, kWithDigest = 24;
    const std::size_t size = event.data.size();
    if (size != kWithoutDigest && size != kWithDigest) throw Error("its end is damaged");
    if (load_long(event.data, 0) != packets_before) throw Error("packets are missing");
    recording.exit_code = event.value;
    if (size == kWithDigest) recording.digest = Digest::of(load_long(event.data, 8), load_long(event.data, 16));
}

std::string data_of(Packets &packets, Kind kind, const char *missing) {
    auto event = next_event(packets);
    if (!event || event->kind != kind) throw Error(missing);
    return std::move(event->data);
}

} // namespace

Recording read_recording(std::FILE *file) {
    Packets packets(file);
    Recording recording;
    recording.command = command_in(data_of(packets, Kind::kCommand, "it does not begin with a command"));
    recording.description = data_of(packets, Kind::kDescription, "it does not describe the switch");
    for (;;) {
        const uint64_t before = packets.count();
        auto event = next_event(packets);
        if (!event) throw Error("it is cut: the end of the command is missing");
        if (event->kind == Kind::kEnd) {
            read_end(*event, before, recording);
            break;
        }
        if (event->kind < Kind::kRequest) throw Error("it has a second command");
        if (event->kind == Kind::kMessage) check_message(*event);
        recording.events.push_back(std::move(*event));
    }
    if (packets.next()) throw Error("it goes on after the end of the command");
    return recording;
}

Recording read_recording(const std::string &path) {
    std::error_code error;
    if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error))
        throw Error("it is not a regular file");
    std::FILE *const file = std::fopen(path.c_str(), "rbe");
    if (file == nullptr) throw Error(std::strerror(errno));
    return read_recording(file);
}

} // namespace explain::recording
