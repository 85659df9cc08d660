// Recordings as files of packets in the format of libpcap, which the programs of network engineers open.
#pragma once

#include <cstdio>

#include "explain/recording/recording.h"

namespace explain::recording {

// Each packet begins with this header, in network byte order.
enum HeaderAt : uint32_t {
    kMagicAt = 0,
    kVersionAt = 4,
    kKindAt = 5,
    kDirectionAt = 6,
    kFlagsAt = 7,
    kSapAt = 8,
    kOpcodeAt = 12,
    kValueAt = 16,
    kLengthAt = 20, // of the data in this packet
    kHeaderSize = 24
};
inline constexpr uint32_t kMagic = 0x7161726e; // "qarn"
inline constexpr uint8_t kVersion = 1;
// The event goes on in the next packet; the integers in messages have the most significant byte first.
inline constexpr uint8_t kGoesOn = 1, kBigEndian = 2;
inline constexpr std::size_t kLargestPacket = 262144; // of the programs that open such files

// Write all; the descriptor stays open. Throws std::runtime_error with the reason.
void write_recording(const Recording &recording, int descriptor);

// Takes the stream and closes it. Throws Error.
Recording read_recording(std::FILE *file);
// Throws Error, also if the file cannot be opened.
Recording read_recording(const std::string &path);

} // namespace explain::recording
