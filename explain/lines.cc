#include "explain/lines.h"

namespace explain {

void for_each_line(const Observation &observation, const Origins &origins,
                   const std::function<void(std::string_view line, const Piece &piece)> &visit) {
    const std::string_view text = observation.text();
    std::size_t piece = 0, end_of_piece = origins.pieces.empty() ? 0 : origins.pieces[0].size;
    for (std::size_t begin = 0; begin < text.size();) {
        while (begin >= end_of_piece && piece + 1 < origins.pieces.size())
            end_of_piece += origins.pieces[++piece].size;
        const std::size_t newline = text.find('\n', begin);
        const std::size_t end = newline != std::string_view::npos ? newline : text.size();
        visit(text.substr(begin, end - begin), origins.pieces[piece]);
        begin = end + 1;
    }
}

} // namespace explain
