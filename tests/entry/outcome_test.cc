// What a command reports about itself: its verdict, and what became of each service.
#include <iterator>

#include "sim/cfglib.h"
#include "sim/reply.h"
#include "support/story.h"

namespace {

constexpr const char *kVerdicts[] = {"nothing", "incomplete", "complete"};
constexpr const char *kStates[] = {"answered",    "silent",           "failed",         "not extractable",
                                   "cut short",   "miscounted",       "broken",         "not loaded",
                                   "call failed", "answered nothing", "answered twice", "skipped"};

class Outcome : public test::Story {
  protected:
    // "incomplete; 20 answered; 21 failed 5": the verdict, and each service with the numbers that it has.
    static std::string outcome() {
        const qarn_outcome &last = *qarn_outcome_last();
        std::string line = kVerdicts[last.verdict];
        if (last.refusal != QARN_OUTCOME_NOT_REFUSED) line += ", refusal " + std::to_string(last.refusal);
        for (uint32_t i = 0; i < last.num_services; ++i) {
            const qarn_outcome_service &service = last.services[i];
            line += "; " + std::to_string(service.sap) + " " + kStates[service.state];
            if (service.status != 0) line += " " + std::to_string(service.status);
            if (service.state == QARN_OUTCOME_CUT_SHORT || service.state == QARN_OUTCOME_MISCOUNTED) {
                line += " " + std::to_string(service.received) + "/" + std::to_string(service.expected);
            }
        }
        return line;
    }
    std::string refusal(uint32_t refused) { return "nothing, refusal " + std::to_string(refused); }
    void deliver_reply(uint32_t sap, const sim::Bytes &reply) {
        const auto length = static_cast<uint32_t>(reply.size());
        sw.transport.deliver(req.mts_handle, QARN_OPC_REPLY, sim::fragment(sap, true, length, reply));
    }
    // A function of a shared library that serves this SAP.
    void add_function(uint32_t sap, const char *name, std::function<void(const qarn_cb_args *)> function) {
        sw.service(name, sap, sap).silent();
        if (function) sw.library_functions[name] = std::move(function);
        sim::add_callback_row(sap, name, "/no/such/library.so", QARN_CB_FLAG_RUNNING);
    }
};

TEST_F(Outcome, NamesWhatBecameOfEachService) {
    sw.service("good", 20, 1).element(1, 3).text = "good\n";
    run();
    EXPECT_EQ(outcome(), "complete; 20 answered");
    sw.service("failing", 21, 2).status = 5;
    sw.service("silent", 22, 3).silent();
    sw.service("broken", 23, 4).script = [](const auto &) {
        return test::line(4, "x\n").text("lost\n").reply().substr(0, 60);
    };
    sw.service("miscounted", 24, 5).replies(sim::announce(test::line(5, "x\n"), 9));
    add_function(25, "gone", nullptr);
    add_function(26, "mute", [](const qarn_cb_args *) {});
    add_function(26, "loud", [this](const qarn_cb_args *) { deliver_reply(26, test::line(6, "x\n").reply()); });
    sw.service("newer", 27, 7).replies(test::line(7, "x\n").raw(99, "what?"));
    sw.service("high", 28, 8).replies(test::line(8, "x\n", 13));
    sw.service("sparse", 29, 9).replies(sim::Tlv());
    sw.transport.unit = std::chrono::milliseconds(0);
    run();
    EXPECT_EQ(outcome(),
              "incomplete; 20 answered; 21 failed 5; 22 silent; 23 broken; 24 miscounted 2/9; 25 not loaded; "
              "26 answered nothing; 27 skipped; 28 skipped; 29 answered");
}

TEST_F(Outcome, DistinguishesASecondReplyFromADoubledOne) {
    sw.service("late", 20, 1).element(1, 3).text = "late\n";
    sw.services.back().faults.delay = 1;
    sw.transport.unit = std::chrono::milliseconds(0);
    deliver_reply(21, test::line(2, "x\n").reply());
    deliver_reply(21, sim::Tlv().reply());
    run();
    EXPECT_EQ(outcome(), "complete; 20 answered; 21 answered");
    deliver_reply(21, test::line(2, "x\n").reply());
    deliver_reply(21, test::line(2, "x\n").reply());
    run();
    EXPECT_EQ(outcome(), "incomplete; 20 answered; 21 answered twice");
}

TEST_F(Outcome, OfADisplayWithoutInterfacesIsComplete) {
    sw.service("a", 20, 1);
    run(qarn_cli_run_intf_cfg_gen);
    EXPECT_EQ(text, "\n");
    EXPECT_EQ(outcome(), "complete");
}

TEST_F(Outcome, CountsWhatIsLeftOut) {
    for (uint32_t sap = 1000; sap < 1257; ++sap)
        sw.service("s", sap, sap).element(1, 3).text = "x\n";
    for (uint32_t i = 0; i < 20002; ++i)
        add_interface(1 + i, "Ethernet1/1", 1);
    run();
    EXPECT_EQ(qarn_outcome_last()->verdict, uint32_t{QARN_OUTCOME_INCOMPLETE});
    EXPECT_EQ(qarn_outcome_last()->consumers_left_out, 1u);
    EXPECT_EQ(qarn_outcome_last()->interfaces_left_out, 2u);
    sw.services.resize(256);
    sw.interfaces.resize(20000);
    run();
    EXPECT_EQ(qarn_outcome_last()->verdict, uint32_t{QARN_OUTCOME_COMPLETE});
}

TEST_F(Outcome, NamesTheElementsOfALoop) {
    sim::Service &service = sw.service("a", 20, 7);
    service.element(1, 3).dependencies = {{7, 2}};
    service.element(2, 3).dependencies = {{7, 3}};
    service.element(3, 4).dependencies = {{7, 2}, {9, 1}};
    for (const uint32_t debug_mask : {uint32_t{0}, uint32_t{QARN_DEBUG_GRAPH}}) {
        req.dbg_mask = debug_mask;
        run();
        const qarn_outcome &last = *qarn_outcome_last();
        EXPECT_EQ(outcome(), refusal(QARN_OUTCOME_LOOP) + "; 20 answered");
        EXPECT_EQ(last.loop_pass, uint32_t{QARN_OUTCOME_KEY_STRING_PASS});
        ASSERT_EQ(last.num_loop_elements, 2u);
        EXPECT_EQ(last.loop[0].elem_id + last.loop[1].elem_id, 5) << "the element that waits for the loop is not in it";
    }
}

TEST_F(Outcome, TellsARefusalFromAnotherCommand) {
    run();
    EXPECT_EQ(outcome(), refusal(QARN_OUTCOME_NO_SERVICES));
    sw.service("a", 20, 1).element(1, 3).text = "a\n";
    run(qarn_cli_start_cfg_gen);
    EXPECT_EQ(outcome(), refusal(QARN_OUTCOME_NO_STARTUP));
    req.valid = 0;
    run();
    EXPECT_EQ(outcome(), refusal(QARN_OUTCOME_INVALID_REQUEST));
    req.valid = 1;
    sw.final_callback = [this](qarn_req *) {
        sw.final_callback = nullptr;
        qarn_req inner = {};
        qarn_cli_run_cfg_gen(&inner);
        EXPECT_EQ(outcome(), refusal(QARN_OUTCOME_INVALID_REQUEST));
        return 0u;
    };
    run();
    EXPECT_EQ(outcome(), "complete; 20 answered") << "the outcome of the outer command";
}

} // namespace
