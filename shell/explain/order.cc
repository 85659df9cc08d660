#include "explain/order.h"

#include <cstdio>
#include <string>

#include "shell/exit_code.h"
#include "shell/explain/explanations.h"
#include "shell/message.h"

namespace shell {
namespace {

using explain::Standing;

std::string reason_of(Standing standing) {
    const char *const text = explain::text_of(standing);
    return *text != '\0' ? std::string(": ") + text : "";
}

class OrderText {
  public:
    OrderText(const explain::Elements &elements, const explain::Names &names, std::size_t at)
        : elements_(elements), names_(names), at_(at), place_(explain::find_place(elements, at)) {}

    std::string text() {
        text_ = name_of(at_) + ", level " + std::to_string(element().level()) + "\n";
        add_place();
        add_condition();
        for (const explain::Judged &one : place_.waits_for)
            add_line(one.dependency.type == QARN_DEP_CONDITIONAL ? "only if " : "after ", one.dependency.on, one);
        for (const explain::Judged &one : place_.awaited_by)
            add_line("awaited by ", elements_.all()[one.element].key, one);
        return text_;
    }

  private:
    const explain::Element &element() const { return elements_.all()[at_]; }
    std::string name_of(std::size_t at) const { return names_.of_element(elements_.all()[at].key); }

    void add_place() {
        if (element().is_placeholder()) {
            text_ += "  not printed: no service has sent it, others only wait for it\n";
        } else if (!elements_.takes_part(at_)) {
            text_ += "  left out: none of the elements that it depends on has text\n";
        } else if (!place_.sweep) {
            text_ += "  not printed: it waits for a loop; see \"explain loop\"\n";
        } else {
            add_sweep();
        }
        if (element().level() >= explain::kPrintLevels)
            text_ += "  its own text is not printed: only the levels 0 to 12 are\n";
    }

    void add_sweep() {
        text_ += "  sweep " + std::to_string(*place_.sweep) + ", number " + std::to_string(place_.position) + " of " +
                 std::to_string(place_.count) + " in its level\n";
        if (!place_.held_back_by) {
            text_ += "  waits for no element of its level: its UUID and id alone decide\n";
            return;
        }
        const bool is_later = *place_.held_back_by > at_;
        text_ += "  held back by " + name_of(*place_.held_back_by) +
                 (is_later ? ", which comes later by UUID and id: one sweep more\n" : ", in the same sweep\n");
    }

    void add_condition() {
        if (!element().has_property(QARN_PROP_CONDITIONAL)) return;
        for (const explain::Judged &one : place_.waits_for)
            if (one.standing == Standing::kMet) {
                text_ += "  takes part because " + names_.of_element(one.dependency.on) + " has text\n";
                return;
            }
    }

    void add_line(const char *relation, explain::Key key, const explain::Judged &judged) {
        const auto at = elements_.find(key);
        const std::string level = at ? ", level " + std::to_string(elements_.all()[*at].level()) : "";
        text_.append("  ").append(relation).append(names_.of_element(key)).append(level);
        text_.append(reason_of(judged.standing)).append("\n");
    }

    const explain::Elements &elements_;
    const explain::Names &names_;
    std::size_t at_;
    const explain::Place place_;
    std::string text_;
};

std::string ids_of(const explain::Elements &elements, uint16_t uuid) {
    std::string ids;
    for (const explain::Element &element : elements.all())
        if (element.key.uuid == uuid) ids.append(ids.empty() ? "" : ", ").append(std::to_string(element.key.id));
    return ids;
}

} // namespace

int report_absent(const explain::Elements &elements, explain::Key key) {
    const std::string ids = ids_of(elements, key.uuid);
    print_message("no service has sent the element %s; %s%s", explain::text_of(key).c_str(),
                  ids.empty() ? "nor any other of this UUID" : "of this UUID there are ", ids.c_str());
    return kExitFailure;
}

int show_order(const explain::Subject &subject, explain::Key key) {
    const explain::Elements elements;
    const auto at = elements.find(key);
    if (!at) return report_absent(elements, key);
    const std::string text = OrderText(elements, subject.names, *at).text();
    std::fputs(text.c_str(), stdout);
    return kExitComplete;
}

} // namespace shell
