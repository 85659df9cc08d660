#include <pcap/pcap.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <memory>

#include "explain/recording/file.h"

namespace explain::recording {
namespace {

constexpr std::size_t kMostData = kLargestPacket - kHeaderSize;
constexpr uint64_t kNanoseconds = 1000000000;

void store(unsigned char *at, uint32_t word) {
    for (int shift = 24; shift >= 0; shift -= 8)
        *at++ = static_cast<unsigned char>(word >> shift);
}

std::string bytes_of(uint64_t number) {
    unsigned char bytes[8];
    store(bytes, static_cast<uint32_t>(number >> 32));
    store(bytes + 4, static_cast<uint32_t>(number));
    return {reinterpret_cast<const char *>(bytes), sizeof bytes};
}

class Writer {
  public:
    // libpcap closes the file that it writes to.
    explicit Writer(int descriptor)
        : pcap_(pcap_open_dead_with_tstamp_precision(DLT_USER0, kLargestPacket, PCAP_TSTAMP_PRECISION_NANO),
                pcap_close),
          packet_(kLargestPacket) {
        std::FILE *const own = ::fdopen(::dup(descriptor), "wb");
        if (pcap_ == nullptr || own == nullptr) throw std::runtime_error(std::strerror(errno));
        std::setvbuf(own, nullptr, _IOFBF, std::size_t{1} << 18);
        dumper_ = pcap_dump_fopen(pcap_.get(), own);
        if (dumper_ == nullptr) throw std::runtime_error(pcap_geterr(pcap_.get()));
    }
    ~Writer() { pcap_dump_close(dumper_); }
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;

    void write(const Event &event) {
        std::string_view rest = event.data;
        do {
            const std::string_view part = rest.substr(0, kMostData);
            rest.remove_prefix(part.size());
            write(event, part, rest.empty());
        } while (!rest.empty());
    }
    void flush() {
        if (pcap_dump_flush(dumper_) != 0 || std::ferror(pcap_dump_file(dumper_)) != 0)
            throw std::runtime_error(std::strerror(errno));
    }
    uint64_t num_packets() const { return num_packets_; }

  private:
    void write(const Event &event, std::string_view part, bool is_last) {
        constexpr uint8_t order = std::endian::native == std::endian::big ? kBigEndian : 0;
        unsigned char *const packet = packet_.data();
        store(packet + kMagicAt, kMagic);
        packet[kVersionAt] = kVersion;
        packet[kKindAt] = static_cast<uint8_t>(event.kind);
        packet[kDirectionAt] = static_cast<uint8_t>(event.direction);
        packet[kFlagsAt] = static_cast<uint8_t>(order | (is_last ? 0 : kGoesOn));
        store(packet + kSapAt, event.sap);
        store(packet + kOpcodeAt, event.opcode);
        store(packet + kValueAt, event.value);
        store(packet + kLengthAt, static_cast<uint32_t>(part.size()));
        std::copy(part.begin(), part.end(), packet + kHeaderSize);
        dump(event.time, kHeaderSize + part.size());
    }
    void dump(uint64_t time, std::size_t size) {
        pcap_pkthdr header = {};
        header.ts.tv_sec = static_cast<time_t>(time / kNanoseconds);
        header.ts.tv_usec = static_cast<suseconds_t>(time % kNanoseconds); // nanoseconds in such a file
        header.caplen = header.len = static_cast<bpf_u_int32>(size);
        pcap_dump(reinterpret_cast<u_char *>(dumper_), &header, packet_.data());
        ++num_packets_;
    }

    std::unique_ptr<pcap_t, void (*)(pcap_t *)> pcap_;
    std::vector<unsigned char> packet_;
    pcap_dumper_t *dumper_ = nullptr;
    uint64_t num_packets_ = 0;
};

} // namespace

void write_recording(const Recording &recording, int descriptor) {
    Writer writer(descriptor);
    const uint64_t begin = recording.events.empty() ? 0 : recording.events.front().time;
    const uint64_t end = recording.events.empty() ? 0 : recording.events.back().time;
    writer.write({.kind = Kind::kCommand, .time = begin, .data = text_of(recording.command)});
    writer.write({.kind = Kind::kDescription, .time = begin, .data = recording.description});
    for (const Event &event : recording.events)
        writer.write(event);
    std::string data = bytes_of(writer.num_packets());
    if (recording.digest) data += bytes_of(recording.digest->size()) + bytes_of(recording.digest->sum());
    writer.write({.kind = Kind::kEnd, .value = recording.exit_code, .time = end, .data = data});
    writer.flush();
}

} // namespace explain::recording
