// The block of a line is what the library has printed before it: the line of an interface, a group of VLANs or a key.
// In an element's own text, it is the last line without indentation; such a line is in no block itself.
#include "explain/check/shared_lines.h"

#include <map>
#include <string>
#include <string_view>
#include <tuple>

#include "explain/lines.h"
#include "sim/check/report.h"

namespace explain {
namespace {

struct Owner {
    Key element;
    uint32_t senders;
    bool operator==(const Owner &) const = default;
};

bool is_indented(std::string_view line) {
    return line.starts_with(' ') || line.starts_with('\t');
}

class SharedLines {
  public:
    SharedLines(const Subject &subject, const CheckRule &rule) : subject_(subject), rule_(rule) {}

    void take(std::string_view line, const Piece &piece) {
        if (piece.rule == Rule::kOwnText || piece.rule == Rule::kConvertedText) return take_own(line, piece);
        close_head();
        block_.clear();
        if (!piece.has_element || !is_text(piece.rule)) return;
        note({"", piece.context, line}, piece);
    }

    std::vector<Finding> finish() {
        close_head();
        return std::move(findings_);
    }

  private:
    using Place = std::tuple<std::string, uint32_t, std::string_view>; // head of an own block, context, line

    static bool is_text(Rule rule) {
        return rule == Rule::kInterfaceText || rule == Rule::kKeyString || rule == Rule::kVlanText;
    }

    // Several elements may open one block; a line without a block that comes twice is printed twice.
    void take_own(std::string_view line, const Piece &piece) {
        if (is_indented(line)) {
            has_head_ = false;
            return note({block_, 0, line}, piece);
        }
        close_head();
        block_ = line;
        head_ = line;
        head_piece_ = piece;
        has_head_ = true;
    }

    void close_head() {
        if (std::exchange(has_head_, false)) note({"", 0, head_}, head_piece_);
    }

    void note(const Place &place, const Piece &piece) {
        const std::string_view line = std::get<2>(place);
        if (!piece.has_element || line.find_first_not_of(" \t\r!^") == std::string_view::npos) return;
        const Owner owner = {piece.element, piece.senders};
        const auto [first, is_new] = owners_.emplace(place, owner);
        if (is_new || first->second == owner) return;
        findings_.push_back({&rule_, subject_.names.of_senders(piece.element), piece.element, 0,
                             sim::shown(line) + " is also printed by " +
                                 subject_.names.of_element(first->second.element) + " in the same block"});
    }

    const Subject &subject_;
    const CheckRule &rule_;
    std::map<Place, Owner> owners_;
    std::vector<Finding> findings_;
    std::string block_;
    bool has_head_ = false; // a line without indentation whose block may still come
    std::string_view head_;
    Piece head_piece_ = {};
};

} // namespace

std::vector<Finding> find_shared_lines(const Subject &subject, const Origins &origins, const CheckRule &rule) {
    SharedLines lines(subject, rule);
    for_each_line(subject.observation, origins,
                  [&](std::string_view line, const Piece &piece) { lines.take(line, piece); });
    return lines.finish();
}

} // namespace explain
