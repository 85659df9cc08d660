#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "explain/lines.h"
#include "explain/origins.h"
#include "shell/exit_code.h"
#include "shell/explain/explanations.h"
#include "shell/json.h"

namespace shell {
namespace {

constexpr char kNobody[] = "-", kPlatform[] = "(platform)";

// The origin of a piece in words.
class Words {
  public:
    Words(const explain::Origins &origins, const explain::Names &names) : origins_(origins), names_(names) {
        for (const auto &saps : origins.senders)
            services_.push_back(joined(saps));
    }

    std::string_view services_of(const explain::Piece &piece) const {
        if (piece.rule == explain::Rule::kMerge || piece.rule == explain::Rule::kSwitchProfile) return kPlatform;
        return piece.senders != 0 ? std::string_view(services_[piece.senders]) : kNobody;
    }
    static std::string element_of(const explain::Piece &piece) {
        return piece.has_element ? explain::text_of(piece.element) : kNobody;
    }
    static std::string level_of(const explain::Piece &piece) {
        return piece.has_element ? std::to_string(piece.level) : kNobody;
    }
    std::vector<std::string> names_of(const explain::Piece &piece) const {
        std::vector<std::string> names;
        for (const uint32_t sap : origins_.senders[piece.senders])
            names.push_back(json_text(names_.of_service(sap)));
        return names;
    }
    const std::string &context_of(const explain::Piece &piece) const { return origins_.contexts[piece.context]; }

  private:
    std::string joined(const std::vector<uint32_t> &saps) const {
        std::string all;
        for (const uint32_t sap : saps)
            all.append(all.empty() ? "" : "+").append(names_.of_service(sap));
        return all;
    }

    const explain::Origins &origins_;
    const explain::Names &names_;
    std::vector<std::string> services_; // for each of the origins' senders
};

struct Widths {
    std::size_t services = 0, element = 0, rule = 0;
};

Widths widths_of(const explain::Origins &origins, const Words &words) {
    Widths widths;
    for (const explain::Piece &piece : origins.pieces) {
        widths.services = std::max(widths.services, words.services_of(piece).size());
        widths.element = std::max(widths.element, Words::element_of(piece).size());
        widths.rule = std::max(widths.rule, std::string_view(explain::name_of(piece.rule)).size());
    }
    return widths;
}

void append_padded(std::string &row, std::string_view text, std::size_t width) {
    row.append(text).append(width - std::min(width, text.size()), ' ').append("  ");
}

void write(const std::string &row) {
    std::fwrite(row.data(), 1, row.size(), stdout);
}

std::string row_of(std::string_view begin, std::string_view line) {
    return std::string(begin).append(line.empty() ? "|" : "| ").append(line).append("\n");
}

constexpr char kVdcLine[] = "VDC line";

} // namespace

std::string row_between_vdcs(std::string_view line) {
    std::string begin;
    for (const char *column : {kNobody, kNobody, kNobody, kVdcLine})
        append_padded(begin, column, 0);
    return row_of(begin, line);
}

std::string row_between_vdcs_as_json(std::string_view line) {
    return "{\"text\": " + json_text(line) + ", \"rule\": " + json_text(kVdcLine) + "}\n";
}

int show_origins(const explain::Subject &subject) {
    constexpr std::size_t kLevelWidth = 2;
    const explain::Origins origins = explain::find_origins(subject);
    const Words words(origins, subject.names);
    const Widths widths = widths_of(origins, words);
    explain::for_each_line(subject.observation, origins, [&](std::string_view line, const explain::Piece &piece) {
        std::string row;
        append_padded(row, words.services_of(piece), widths.services);
        append_padded(row, Words::element_of(piece), widths.element);
        append_padded(row, Words::level_of(piece), kLevelWidth);
        append_padded(row, explain::name_of(piece.rule), widths.rule);
        write(row_of(row, line));
    });
    return kExitComplete;
}

int show_origins_as_json(const explain::Subject &subject) {
    const explain::Origins origins = explain::find_origins(subject);
    const Words words(origins, subject.names);
    explain::for_each_line(subject.observation, origins, [&](std::string_view line, const explain::Piece &piece) {
        std::string row = "{\"text\": " + json_text(line) + ", \"rule\": " + json_text(explain::name_of(piece.rule));
        if (piece.has_element) {
            row += ", \"services\": [";
            for (const std::string &name : words.names_of(piece))
                row.append(row.back() == '[' ? "" : ", ").append(name);
            row += "], \"uuid\": " + std::to_string(piece.element.uuid) +
                   ", \"element\": " + std::to_string(piece.element.id) + ", \"level\": " + std::to_string(piece.level);
        }
        if (piece.context != 0) row += ", \"under\": " + json_text(words.context_of(piece));
        write(row + "}\n");
    });
    return kExitComplete;
}

} // namespace shell
