// The view of a request: what the library sent, and requests whose bytes are damaged.
#include <qarnservice/request.h>

#include <cstring>
#include <memory>

#include "support/story.h"

namespace {

using sim::Bytes;
using Request = std::unique_ptr<qarn_service_request, decltype(&qarn_service_request_free)>;

// A copy of exactly the bytes, so that a sanitizer sees what is read beyond them.
Request read(const Bytes &bytes, qarn_service_error *error = nullptr) {
    const auto exact = std::make_unique<char[]>(bytes.size());
    std::memcpy(exact.get(), bytes.data(), bytes.size());
    qarn_service_request *request = nullptr;
    qarn_service_request_new(exact.get(), bytes.size(), &request, error);
    return {request, qarn_service_request_free};
}

class ServiceRequest : public test::Story {
  protected:
    const Bytes &ask(EntryPoint entry_point = qarn_cli_run_cfg_gen) {
        sw.service("a", 20, 1);
        run(entry_point);
        return sw.transport.sent.at(0).payload;
    }
};

TEST_F(ServiceRequest, HasWhatTheLibrarySent) {
    for (const uint32_t index : {9u, 7u})
        add_interface(index, "if", 3);
    num_saps_exclude = 1;
    saps_exclude[0] = 1348;
    add_token(QARN_TOKEN_EXTRA_RUNNING);
    req.cmd_line[0] = '\0';
    std::strcat(req.cmd_line, std::string(300, 'c').c_str());
    const Request request = read(ask());
    ASSERT_NE(request, nullptr);
    EXPECT_EQ(std::vector(request->interfaces, request->interfaces + request->num_interfaces),
              (std::vector<uint32_t>{9, 7}));
    EXPECT_EQ(std::vector(request->excluded, request->excluded + request->num_excluded), std::vector<uint32_t>{1348});
    EXPECT_EQ(request->src_sap, 4000u);
    EXPECT_EQ(request->source, uint32_t{QARN_SERVICE_RUNNING});
    EXPECT_EQ(request->with_defaults, 1u);
    EXPECT_STREQ(request->startup_uri, QARN_DEFAULT_STARTUP_URI);
    EXPECT_EQ(request->command_line, std::string(255, 'c'));
    EXPECT_EQ(qarn_service_request_has_interface(request.get(), 7), 1);
    EXPECT_EQ(qarn_service_request_has_interface(request.get(), 8), 0);
    EXPECT_EQ(qarn_service_request_has_vlan(request.get(), 4095), 1);
    EXPECT_EQ(qarn_service_request_has_vsan(request.get(), 4096), 0);
}

TEST_F(ServiceRequest, EndsAProfileNameThatFillsItsField) {
    add_text_token(std::string(130, 'p'));
    const Request request = read(ask(qarn_cli_run_profile_cfg_gen));
    EXPECT_EQ(request->display, uint32_t{QARN_SERVICE_DISPLAY_PROFILE});
    EXPECT_EQ(request->profile_name, std::string(128, 'p'));
}

TEST_F(ServiceRequest, IsRefusedWhenItsBytesAreNone) {
    add_interface(7, "if", 3);
    const Bytes good = ask();
    const auto with = [&](std::size_t at, uint32_t word) {
        return Bytes(good).replace(at, sizeof word, reinterpret_cast<const char *>(&word), sizeof word);
    };
    const struct {
        Bytes bytes;
        const char *error;
    } cases[] = {
        {good, ""},
        {"", "the request has 0 bytes, and needs at least 2740"},
        {good.substr(0, 2739), "the request has 2739 bytes, and needs at least 2740"},
        {good.substr(0, 2743), "the request announces 1 interfaces, and has 0"},
        {with(1064, ~0u), "the request announces 4294967295 interfaces, and has 1"},
        {with(2096, 257), "the request excludes 257 services; at most 256 are possible"},
        {with(1044, 3), "the request's source 3 is neither running (1) nor startup (2)"},
    };
    for (const auto &[bytes, expected] : cases) {
        qarn_service_error error = {};
        EXPECT_EQ(read(bytes, &error) != nullptr, *expected == '\0') << expected;
        EXPECT_STREQ(error.text, expected);
    }
}

} // namespace
