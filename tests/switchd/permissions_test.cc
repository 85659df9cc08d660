// What the users of a switch may do on its NATS server, with the configuration that switchd writes.
#include <gtest/gtest.h>
#include <qarncli/message.h>

#include <fstream>

#include "nats/connection.h"
#include "nats/registry.h"
#include "switchd/certificates.h"
#include "switchd/configuration.h"
#include "switchd/engine.h"

namespace {

using switchd::Proof;

constexpr uint32_t kOspf = 20, kBgp = 30;
constexpr char kOspfUser[] = "sap-20", kBgpUser[] = "sap-30", kOtherShell[] = "other";
const nats::Place kPlace = {"leaf 1.2", "1"};

nats::Registration registration(uint32_t sap) {
    return {.place = kPlace, .opcode = QARN_OPC_REQUEST, .sap = sap, .name = "a", .host = "a", .pid = 1, .since = 1};
}

class Permissions : public testing::TestWithParam<Proof> {
  protected:
    Permissions() {
        users_.push_back({.name = kOtherShell, .permissions = nats::permissions_of_shell(kOtherShell)});
        users_.back().password = users_.front().password;
        if (GetParam() == Proof::kCertificate)
            switchd::provide_certificates(folder_, {"127.0.0.1"},
                                          {switchd::kOwnUser, switchd::kShellUser, kOtherShell, kOspfUser, kBgpUser});
        switchd::write_credentials(folder_, users_);
        folder_.write(switchd::kConfiguration,
                      switchd::configuration_of({"127.0.0.1"}, folder_.path(), users_, GetParam()));
        engine_.emplace(folder_);
    }

    nats::Connection connect(const std::string &user) const {
        const std::string scheme = GetParam() == Proof::kCertificate ? "tls" : "nats";
        return nats::connect({.url = scheme + "://127.0.0.1:" + std::to_string(engine_->port()),
                              .credentials = folder_.path_of(switchd::credentials_of(user)),
                              .client_name = user},
                             nats::Reconnects::kNo);
    }

    static nats::Subscription subscribe(const nats::Connection &connection, const std::string &subject) {
        auto subscription = nats::made<nats::Subscription>("subscription", natsConnection_SubscribeSync,
                                                           connection.get(), subject.c_str());
        natsConnection_Flush(connection.get());
        return subscription;
    }

    static void publish(const nats::Connection &connection, const std::string &subject, const char *key = nullptr,
                        const char *value = nullptr) {
        natsMsg *message = nullptr;
        nats::check(natsMsg_Create(&message, subject.c_str(), nullptr, "x", 1), "message");
        const nats::Message owner(message);
        if (key != nullptr) natsMsgHeader_Set(message, key, value);
        nats::check(natsConnection_PublishMsg(connection.get(), message), "publish");
        natsConnection_Flush(connection.get());
    }

    // The subject of the next message that the server has sent before it answers this. Empty: there is none.
    static std::string next(const nats::Connection &connection, const nats::Subscription &subscription) {
        natsConnection_Flush(connection.get());
        natsMsg *message = nullptr;
        const natsStatus status = natsSubscription_NextMsg(&message, subscription.get(), 1);
        const nats::Message owner(message);
        return status == NATS_OK ? natsMsg_GetSubject(message) : "";
    }

    switchd::Folder folder_{std::nullopt};
    std::vector<switchd::User> users_ =
        switchd::users_of(kPlace.switch_name, {{.sap = kOspf}, {.sap = kBgp}}, GetParam());
    std::optional<switchd::Engine> engine_;
};

INSTANTIATE_TEST_SUITE_P(ByPassword, Permissions, testing::Values(Proof::kPassword));
INSTANTIATE_TEST_SUITE_P(ByCertificate, Permissions, testing::Values(Proof::kCertificate));

TEST_P(Permissions, LetAServiceAnswerUnderItsOwnSapOnly) {
    const nats::Connection shell = connect(switchd::kShellUser), ospf = connect(kOspfUser), bgp = connect(kBgpUser);
    const std::string reply = nats::new_reply_subject(kPlace, switchd::kShellUser);
    const nats::Subscription answers = subscribe(shell, nats::all_answers(reply));
    const std::string asked[] = {nats::opcode_subject(kPlace, QARN_OPC_REQUEST), nats::sap_subject(kPlace, kOspf)};
    for (const std::string &subject : asked) {
        const nats::Subscription requests = subscribe(ospf, subject),
                                 others = subscribe(bgp, nats::sap_subject(kPlace, kOspf));
        publish(shell, subject);
        EXPECT_EQ(next(ospf, requests), subject);
        EXPECT_EQ(next(bgp, others), "");
        publish(ospf, nats::answer_subject(reply, kBgp));
        publish(ospf, nats::answer_subject(reply, kOspf));
        EXPECT_EQ(next(shell, answers), nats::answer_subject(reply, kOspf));
        EXPECT_EQ(next(shell, answers), "");
    }
}

TEST_P(Permissions, LetAServiceRegisterUnderItsOwnSapOnly) {
    const nats::Connection shell = connect(switchd::kShellUser), ospf = connect(kOspfUser), bgp = connect(kBgpUser);
    nats::Registry own(ospf.get(), nats::Registry::Missing::kIsMade),
        other(bgp.get(), nats::Registry::Missing::kIsMade);
    nats::Registry seen(shell.get(), nats::Registry::Missing::kIsEmpty);
    nats::Registration first = registration(kOspf), second = registration(kBgp);
    EXPECT_FALSE(own.claim(first) || other.claim(second));
    EXPECT_TRUE(own.claim(first)); // as a second process
    EXPECT_EQ(seen.list(kPlace).size(), 2u);

    for (const char *bucket : {nats::kBucket, nats::kRoster}) {
        const std::string prefix = "$KV." + std::string(bucket) + '.';
        publish(ospf, prefix + nats::key(kPlace, QARN_OPC_REQUEST, kBgp), "KV-Operation", "DEL");
        publish(ospf, prefix + nats::key(kPlace, QARN_OPC_REQUEST, 40));
        publish(ospf, prefix + nats::key(kPlace, QARN_OPC_REQUEST, kOspf), "Nats-Rollup", "all");
        publish(shell, prefix + nats::key(kPlace, QARN_OPC_REQUEST, kBgp), "KV-Operation", "DEL");
    }
    EXPECT_TRUE(other.renew(second));
    EXPECT_EQ(seen.list(kPlace).size(), 2u);

    other.expire(second); // it died
    EXPECT_EQ(seen.list_registered(kPlace).size(), 1u);
    EXPECT_EQ(seen.list(kPlace).size(), 2u);
    EXPECT_FALSE(seen.list(kPlace)[1].is_registered);
    EXPECT_FALSE(other.claim(second));
    EXPECT_TRUE(seen.list(kPlace)[1].is_registered);

    own.remove(registration(kOspf));
    EXPECT_FALSE(own.claim(first));
    EXPECT_TRUE(own.renew(first));
    own.remove(first);
    EXPECT_EQ(seen.list(kPlace).size(), 1u);
}

TEST_P(Permissions, LetAShellReceiveItsOwnAnswersOnly) {
    const nats::Connection shell = connect(switchd::kShellUser), ospf = connect(kOspfUser),
                           other = connect(kOtherShell);
    const std::string reply = nats::new_reply_subject(kPlace, kOtherShell), answer = nats::answer_subject(reply, kOspf);
    const nats::Subscription answers = subscribe(other, nats::all_answers(reply));
    for (const char *subject : {">", "qarn.>", "qarn.*.*.reply.*.*.*", "qarn.*.*.reply.other.>", "_INBOX.other.>",
                                "qarn.*.*.sap.20", "qarn.*.*.opcode.7663"}) {
        const nats::Subscription spy = subscribe(shell, subject);
        publish(ospf, answer);
        publish(other, nats::sap_subject(kPlace, kOspf));
        EXPECT_EQ(next(other, answers), answer);
        EXPECT_EQ(next(shell, spy), "") << subject;
    }
    publish(shell, answer); // in the name of a service
    EXPECT_EQ(next(other, answers), "");
}

// The example for a site's own server. Its head is a comment.
TEST(PermissionsExample, IsWhatSwitchdWrites) {
    std::ifstream file(EXAMPLE);
    std::string text;
    for (std::string line; std::getline(file, line);)
        if (!line.starts_with('#')) text += line + '\n';
    EXPECT_EQ(text,
              switchd::configuration_of({"0.0.0.0", 4222}, "/var/lib/qarn/engine",
                                        switchd::users_of("leaf", {{.sap = kOspf}, {.sap = kBgp}}, Proof::kCertificate),
                                        Proof::kCertificate));
}

} // namespace
