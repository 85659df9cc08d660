// What a command learns from outside of the simulated switch besides messages: from the disk, from programs and from
// shared libraries. A switch without these things can be given what an earlier command has learned.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace sim {

enum class FactKind : uint32_t {
    kTextFolder = 1,   // of the saved text; value: a PresenceOfText, text: the line with the time of saving
    kElementFolder,    // of the saved elements; value: 1 if there is one
    kStoreLock,        // value: status, text: the response
    kProgram,          // value: exit status, text: what it has printed
    kFunction,         // of a shared library; value: 0 if it was called, second: its result
    kConversionOpened, // value: 1 if the library is there, text: else why not
    kConversionBegun,  // value: status
    kConverted,        // value: status, second: number of texts that it has printed, text: these texts
    kConversionEnded,  // value: status
    kStoreProblem      // text: what is wrong with the saved configuration
};
constexpr uint32_t kLastFactKind = static_cast<uint32_t>(FactKind::kStoreProblem);

enum PresenceOfText : uint32_t { kNoFolder, kFolderWithoutText, kFolderWithText };

struct Fact {
    FactKind kind;
    uint32_t value = 0, second = 0;
    std::string text = {};
};

// What an earlier command has learned.
class Facts {
  public:
    Facts() = default;
    virtual ~Facts() = default;
    Facts(const Facts &) = delete;
    Facts &operator=(const Facts &) = delete;

    // The next one of this kind; a fact with nothing in it if there is none.
    virtual Fact next(FactKind kind) = 0;
    // A folder with the saved text, as far as it is known.
    virtual std::string text_folder() const = 0;
    // The time of the command; none if it did not look at the clock.
    virtual std::optional<std::time_t> time() const = 0;
};

} // namespace sim
