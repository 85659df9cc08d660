// The commands of the shell as one tree of words, and the filters as another. Parsing, abbreviations, completion, help
// and the manual are all made from it.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace shell {

struct Form;
struct Narrowing;
struct Line;
class Session;

// What takes the place of a word: the argument of a command.
enum class Slot : uint8_t {
    kNone, // the word itself
    kVlans,
    kVsans,
    kInterfaces,
    kPortProfile,
    kService,
    kFeature,
    kVdc,
    kFile,
    kRegex, // the rest of the line, or what is in quotation marks
    kNumber,
    kConfiguration, // running, startup, or the file of a recording
    kRules          // of the command "check", with commas
};

// What a filter does with the text of a command.
enum class FilterKind : uint8_t {
    kNone,
    kInclude,
    kExclude,
    kBegin,
    kSection,
    kCount,
    kHead,
    kJson,
    kHtml,
    kNoMore,
    kSave
};

// Which configuration a display shows.
struct Display {
    bool is_startup;
    uint32_t generic_option;
};

// The text of the shell's own that a command shows; filters can follow it as they can follow a configuration.
enum class OwnText : uint8_t { kNone, kLines, kTable };

// Carries out a line and returns its exit code.
using Action = int (*)(Session &session, const Line &line);

struct Node {
    std::string_view word; // of a slot: its name in the help, such as RANGE
    const char *help;      // one line
    Slot slot = Slot::kNone;
    bool repeats = false;                  // one or more words
    bool is_hidden = false;                // not in the help, and never abbreviated
    Action action = nullptr;               // of a line that ends here; null: the line must go on
    FilterKind filter = FilterKind::kNone; // the same of a filter
    const Display *display = nullptr;
    const Form *form = nullptr;
    const Narrowing *narrowing = nullptr; // of the form before this word
    std::span<const Node> next = {};
    // The narrowings that may follow. The library shows interfaces and port profiles only together with the service
    // that has the blocks of the interfaces; and it takes the first token of all VLANs for a range, whatever it says.
    bool has_services = false;   // "service" and "feature"
    bool has_defaults = false;   // "all"
    bool is_of_store = false;    // exists only in the startup configuration
    bool is_of_running = false;  // exists only in the running configuration
    bool is_explanation = false; // the display is explained, or checked
    OwnText own_text = OwnText::kNone;
};

std::span<const Node> commands();
std::span<const Node> narrowings(); // what may follow a form with one
std::span<const Node> filters();    // what may come after a bar

// Whether the node exists below this display; the templates, for example, exist only in the startup configuration.
bool exists(const Node &node, const Display *display);

} // namespace shell
