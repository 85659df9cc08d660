// Secret elements of which nothing is hidden.
#include "sim/check/subjects.h"
#include "sim/secret.h"

namespace sim {
namespace {

bool hides_something(const Element &element) {
    const Element masked = without_secrets(element);
    bool is_equal = masked.text == element.text && masked.intf_texts == element.intf_texts;
    for (std::size_t i = 0; i < element.key_strings.size(); ++i)
        is_equal = is_equal && masked.key_strings[i].text == element.key_strings[i].text;
    return !is_equal;
}

} // namespace

void check_secrets(const Switch &sw, Report &report) {
    for (const Service &service : sw.services) {
        for (const Element &element : service.elements) {
            if (!element.secret || hides_something(element)) continue;
            report.warn("secret-not-hidden", element.line,
                        "nothing of " + name_of(service, element) + " is hidden: no line of its texts has more than " +
                            std::to_string(*element.secret) + (*element.secret == 1 ? " word" : " words"),
                        "give secret the number of words before the secret");
        }
    }
}

} // namespace sim
