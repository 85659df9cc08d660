#include "shell/explanation.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>

#include "explain/lines.h"
#include "explain/origins.h"
#include "shell/json.h"

namespace shell {
namespace {

constexpr char kNobody[] = "-", kPlatform[] = "(platform)";

// The names of the services of a command.
class Names {
  public:
    explicit Names(const sim::Switch &sw) {
        for (const sim::Service &service : sw.services)
            by_sap_.emplace(service.sap, service.name);
    }
    std::string of(uint32_t sap) const {
        const auto found = by_sap_.find(sap);
        return found != by_sap_.end() ? found->second : "SAP " + std::to_string(sap);
    }

  private:
    std::map<uint32_t, std::string> by_sap_;
};

// The origins of a text in the words of a user.
class Words {
  public:
    Words(const explain::Origins &origins, const sim::Switch &sw) : origins_(origins), names_(sw) {
        for (const auto &saps : origins.senders)
            services_.push_back(joined(saps));
    }

    const std::string &services_of(const explain::Piece &piece) const {
        static const std::string platform = kPlatform, nobody = kNobody;
        if (piece.rule == explain::Rule::kMerge || piece.rule == explain::Rule::kSwitchProfile) return platform;
        return piece.senders != 0 ? services_[piece.senders] : nobody;
    }
    std::string element_of(const explain::Piece &piece) const {
        return piece.has_element ? explain::text_of(piece.element) : kNobody;
    }
    std::string level_of(const explain::Piece &piece) const {
        return piece.has_element ? std::to_string(piece.level) : kNobody;
    }
    std::vector<std::string> names_of(const explain::Piece &piece) const {
        std::vector<std::string> names;
        for (const uint32_t sap : origins_.senders[piece.senders])
            names.push_back(json_text(names_.of(sap)));
        return names;
    }
    const std::string &context_of(const explain::Piece &piece) const { return origins_.contexts[piece.context]; }

  private:
    std::string joined(const std::vector<uint32_t> &saps) const {
        std::string all;
        for (const uint32_t sap : saps)
            all.append(all.empty() ? "" : "+").append(names_.of(sap));
        return all;
    }

    const explain::Origins &origins_;
    Names names_;
    std::vector<std::string> services_; // for each of the origins' senders
};

struct Widths {
    std::size_t services = 0, element = 0, rule = 0;
};

Widths widths_of(const explain::Origins &origins, const Words &words) {
    Widths widths;
    for (const explain::Piece &piece : origins.pieces) {
        widths.services = std::max(widths.services, words.services_of(piece).size());
        widths.element = std::max(widths.element, words.element_of(piece).size());
        widths.rule = std::max(widths.rule, std::string_view(explain::name_of(piece.rule)).size());
    }
    return widths;
}

void write_columns(const explain::Observation &observation, const explain::Origins &origins, const sim::Switch &sw) {
    const Words words(origins, sw);
    const Widths widths = widths_of(origins, words);
    const auto pad = [](const std::string &text, std::size_t width) {
        return text + std::string(width - std::min(width, text.size()), ' ');
    };
    explain::for_each_line(observation, origins, [&](std::string_view line, const explain::Piece &piece) {
        std::string row = pad(words.services_of(piece), widths.services) + "  " +
                          pad(words.element_of(piece), widths.element) + "  " + pad(words.level_of(piece), 2) + "  " +
                          pad(explain::name_of(piece.rule), widths.rule) + " |";
        if (!line.empty()) row.append(" ").append(line);
        row += '\n';
        std::fwrite(row.data(), 1, row.size(), stdout);
    });
}

void write_json(const explain::Observation &observation, const explain::Origins &origins, const sim::Switch &sw) {
    const Words words(origins, sw);
    explain::for_each_line(observation, origins, [&](std::string_view line, const explain::Piece &piece) {
        std::string row = "{\"text\": " + json_text(line) + ", \"rule\": " + json_text(explain::name_of(piece.rule));
        if (piece.has_element)
            row += ", \"services\": " + json_array(words.names_of(piece)) +
                   ", \"uuid\": " + std::to_string(piece.element.uuid) +
                   ", \"element\": " + std::to_string(piece.element.id) + ", \"level\": " + std::to_string(piece.level);
        if (piece.context != 0) row += ", \"under\": " + json_text(words.context_of(piece));
        row += "}\n";
        std::fwrite(row.data(), 1, row.size(), stdout);
    });
}

} // namespace

uint32_t run_explained(sim::Switch &sw, EntryPoint entry, Request &request) {
    explain::Observation observation;
    std::FILE *const output = std::exchange(sw.output, nullptr); // the text comes with its origins
    sw.observer = &observation;
    const uint32_t status = entry(&request.req);
    sw.observer = nullptr;
    sw.output = output;
    const explain::Origins origins = explain::find_origins(observation, sw);
    (request.explanation == Explanation::kJson ? write_json : write_columns)(observation, origins, sw);
    return status;
}

} // namespace shell
