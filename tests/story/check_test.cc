// The check of what several services send of one element, which a switch description cannot say.
#include "explain/check/arrival_order.h"
#include "explain/check/joint_rules.h"
#include "support/globals.h"
#include "support/story.h"

namespace {

class Check : public test::Story {
  protected:
    std::string display() {
        explain::Observation again;
        observe(again);
        return again.text();
    }
    void observe(explain::Observation &observation) {
        sw.view.hides_header = true;
        sw.observers.push_back(&observation);
        run();
        sw.observers.pop_back();
    }

    // What is found, a line for each.
    std::string findings() {
        explain::OtherOrders orders(sw, 20, [this](sim::Switch &) { return display(); });
        explain::Observation observation;
        observe(observation);
        const explain::Subject subject(observation, sw);
        const explain::Origins origins = explain::find_origins(subject);
        std::string lines;
        const explain::AttributedText first(subject, origins);
        for (const auto &found : {check_replies(subject, origins), orders.check(observation, first)})
            for (const explain::Finding &finding : found)
                lines += finding.service + " " + finding.rule->name + ": " + finding.text + "\n";
        return lines;
    }
};

TEST_F(Check, FindsWhatTwoServicesSayOfOneElement) {
    sw.service("a", 20, 21).element(1, 3).text = "one\n";
    sw.service("b", 22, 21).element(1, 4).text = "two\n";
    EXPECT_EQ(
        findings(),
        "b level-differs: level 4, and level 3 from a\n"
        "a+b arrival-order: line 2, \"one\", has another place or text when the replies arrive in another order\n");
}

TEST_F(Check, FindsNothingInTextsThatAreInOrder) {
    sw.service("a", 20, 21).element(1, 3).text = "one\n";
    sw.service("b", 22, 23).element(1, 3).text = std::string(20000, 'x') + "\n";
    EXPECT_EQ(findings(), "");
}

} // namespace
