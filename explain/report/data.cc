// Lists are arrays of numbers where there may be hundreds of thousands, in the order in which page.js names them.
#include "explain/report/data.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <utility>

#include "explain/lines.h"
#include "explain/loops.h"
#include "explain/order.h"
#include "explain/origins.h"
#include "sim/json_text.h"

namespace explain {
namespace {

using sim::json_text;

constexpr std::size_t kMostFaults = 20; // of one service

std::string base64(const std::string &bytes) {
    const std::unique_ptr<char, decltype(&g_free)> text(
        g_base64_encode(reinterpret_cast<const guchar *>(bytes.data()), bytes.size()), g_free);
    return text.get();
}

// The values of a list with commas between them.
class List {
  public:
    void add(const std::string &json) { json_.append(json_.size() > 1 ? "," : "").append(json); }
    void add(std::size_t number) { add(std::to_string(number)); }
    void add_optional(std::optional<std::size_t> number) { add(number ? std::to_string(*number) : "-1"); }
    std::string text() const { return json_ + "]"; }

  private:
    std::string json_ = "[";
};

class FaultList : public StreamSink {
  public:
    void element(const StreamElement &element) override { last_ = text_of(key_of(element.uuid, element.id)); }
    void fault(Fault fault) override {
        if (++count_ > kMostFaults) return;
        const std::string where = fault.is_stray || last_.empty() ? "" : ", element " + last_;
        list_.add(json_text("byte " + std::to_string(fault.at) + where + ": " + fault.what));
    }
    std::string text() {
        if (count_ > kMostFaults) list_.add(json_text("and " + std::to_string(count_ - kMostFaults) + " more"));
        return list_.text();
    }

  private:
    List list_;
    std::string last_;
    std::size_t count_ = 0;
};

std::string faults_of(const Answer &answer) {
    FaultList faults;
    for (const std::string &reply : answer.replies)
        read_stream(reply, faults);
    return faults.text();
}

class Data {
  public:
    Data(const Subject &subject, const ReportHead &head)
        : subject_(subject), head_(head), origins_(find_origins(subject)), places_(find_places(elements_)) {
        for (const AskedService &service : head.services)
            number_service(service.sap);
        for (const auto &[sap, answer] : subject.observation.answers())
            number_service(sap);
        for (const std::vector<uint32_t> &saps : origins_.senders)
            senders_.add(services_in(saps));
    }

    std::string text(const PictureBounds &bounds) {
        std::string json = "{\"switch\":" + json_text(subject_.sw.name) + ",\"vdc\":" + json_text(head_.vdc) +
                           ",\"command\":" + json_text(head_.command) + ",\"time\":" + json_text(head_.time);
        json += ",\"problems\":" + problems() + ",\"services\":" + services();
        json += ",\"text\":" + json_text(subject_.observation.text()) + ",\"pieces\":" + pieces();
        json += ",\"rules\":" + rules() + ",\"senders\":" + senders_.text() + ",\"contexts\":" + contexts();
        json += ",\"elements\":" + elements() + ",\"standings\":" + standings() + ",\"loops\":" + loops();
        const Picture picture = draw(elements_, subject_.names, bounds);
        json += ",\"picture\":" + (picture.svg.empty() ? "null" : '"' + base64(picture.svg) + '"');
        return json + ",\"absence\":" + json_text(picture.absence) + "}";
    }

  private:
    std::size_t number_service(uint32_t sap) {
        const auto [found, is_new] = numbers_.emplace(sap, saps_.size());
        if (is_new) saps_.push_back(sap);
        return found->second;
    }

    std::string services_in(const std::vector<uint32_t> &saps) {
        List list;
        for (const uint32_t sap : saps)
            list.add(number_service(sap));
        return list.text();
    }

    std::string problems() const {
        List list;
        for (const std::string &problem : head_.problems)
            list.add(json_text(problem));
        return list.text();
    }

    std::string problem_of(uint32_t sap) const {
        const auto found = std::ranges::find(head_.services, sap, &AskedService::sap);
        return found == head_.services.end() ? "it was not asked" : found->problem;
    }

    std::string milliseconds(Clock::time_point at) const {
        const auto since = std::chrono::duration<double, std::milli>(at - subject_.observation.begin());
        char text[32];
        std::snprintf(text, sizeof text, "%.3f", since.count());
        return text;
    }

    std::string services() const {
        const std::map<uint32_t, std::size_t> counts = subject_.senders.count_elements();
        List list;
        for (const uint32_t sap : saps_) {
            const auto count = counts.find(sap);
            std::string json = "{\"name\":" + json_text(subject_.names.of_service(sap)) +
                               ",\"sap\":" + std::to_string(sap) + ",\"problem\":" + json_text(problem_of(sap)) +
                               ",\"elements\":" + std::to_string(count != counts.end() ? count->second : 0);
            const auto answer = subject_.observation.answers().find(sap);
            if (answer != subject_.observation.answers().end()) json += members_of(answer->second);
            list.add(json + "}");
        }
        return list.text();
    }

    std::string members_of(const Answer &answer) const {
        return ",\"fragments\":" + std::to_string(answer.fragments) + ",\"bytes\":" + std::to_string(answer.bytes) +
               ",\"first\":" + milliseconds(answer.first) + ",\"last\":" + milliseconds(answer.last) +
               (answer.decoded ? ",\"decoded\":" + milliseconds(*answer.decoded) : "") +
               ",\"faults\":" + faults_of(answer);
    }

    // For each line that does not come from the piece of the one before: its number, and where it comes from.
    std::string pieces() const {
        List list;
        std::size_t line = 0;
        const Piece *last = nullptr;
        for_each_line(subject_.observation, origins_, [&](std::string_view, const Piece &piece) {
            if (&piece != std::exchange(last, &piece)) {
                list.add(line);
                list.add(static_cast<std::size_t>(piece.rule));
                list.add_optional(piece.has_element ? elements_.find(piece.element) : std::nullopt);
                list.add(piece.senders);
                list.add(piece.context);
                list.add_optional(elements_.find(piece.printed_by));
            }
            ++line;
        });
        return list.text();
    }

    static std::string rules() {
        List list;
        for (int rule = 0; rule <= static_cast<int>(kLastRule); ++rule)
            list.add(json_text(name_of(static_cast<Rule>(rule))));
        return list.text();
    }

    static std::string standings() {
        List list;
        for (int standing = 0; standing <= static_cast<int>(Standing::kOtherType); ++standing)
            list.add(json_text(text_of(static_cast<Standing>(standing))));
        return list.text();
    }

    std::string contexts() const {
        List list;
        for (const std::string &context : origins_.contexts)
            list.add(json_text(context));
        return list.text();
    }

    std::string elements() {
        List list;
        for (std::size_t at = 0; at < elements_.all().size(); ++at)
            list.add(element(at));
        return list.text();
    }

    std::string element(std::size_t at) {
        const Element &element = elements_.all()[at];
        const Place &place = places_[at];
        List list;
        for (const uint32_t number : {uint32_t{element.key.uuid}, uint32_t{element.key.id}, element.level()})
            list.add(number);
        list.add(json_text(subject_.names.of_senders(element.key)));
        list.add(element.is_placeholder() ? 1 : !elements_.takes_part(at) ? 2 : 0);
        list.add(place.sweep.value_or(0));
        list.add(place.position);
        list.add(place.count);
        list.add_optional(place.held_back_by);
        List dependencies;
        for (const Judged &judged : place.waits_for)
            dependencies.add(dependency(element, judged));
        list.add(dependencies.text());
        return list.text();
    }

    std::string dependency(const Element &element, const Judged &judged) {
        const Dependency &dependency = judged.dependency;
        List list;
        list.add(dependency.on.uuid);
        list.add(dependency.on.id);
        list.add(dependency.type);
        list.add_optional(dependency.target);
        list.add(static_cast<std::size_t>(judged.standing));
        list.add(services_in(subject_.senders.of_dependency(element.key, dependency.on)));
        return list.text();
    }

    std::string loops() {
        List list;
        for (const Loop &loop : find_loops(elements_)) {
            List cycle;
            for (const std::size_t at : loop.cycle)
                cycle.add(at);
            list.add(cycle.text());
        }
        return list.text();
    }

    const Subject &subject_;
    const ReportHead &head_;
    const Origins origins_;
    const Elements elements_;
    const std::vector<Place> places_;
    std::vector<uint32_t> saps_; // the services by number
    std::map<uint32_t, std::size_t> numbers_;
    List senders_;
};

} // namespace

std::string report_data(const Subject &subject, const ReportHead &head, const PictureBounds &bounds) {
    return Data(subject, head).text(bounds);
}

} // namespace explain
