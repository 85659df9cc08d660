// Parsing of a command line into a library call: the entry point and its request.
#pragma once

#include <qarncli/qarncli.h>

#include <cstdint>
#include <deque>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "sim/cmdshell.h"
#include "sim/switch.h"

namespace shell {

// what() is one line that names the offending word.
class CommandError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};
// No command has this form. The shell prints the list of commands after the message.
class UnknownCommand : public CommandError {
  public:
    using CommandError::CommandError;
};

// The library's request, together with everything that it points to.
class Request {
  public:
    explicit Request(std::string_view line);
    ~Request() = default;
    Request(const Request &) = delete;
    Request &operator=(const Request &) = delete;

    qarn_req req = {};
    sim::ShellOptions options; // in effect while the command runs

    void add_token(uint32_t id);
    void add_name(const std::string &name);
    void add_sap(uint32_t sap);
    void add_ranges(const std::vector<std::pair<uint32_t, uint32_t>> &ranges, uint32_t type = 0);

  private:
    struct Token {
        qarn_req_token token;
        std::vector<uint32_t> words;
        std::string text;
    };
    Token &add(uint32_t type);

    std::deque<Token> tokens_; // req points to the elements, which a deque never moves
};

using EntryPoint = uint32_t (*)(qarn_req *);

// `copy running-config startup-config` as an entry point: save the running configuration and report that. Returns 0, or
// 1 after a message on standard error.
uint32_t copy_running_to_startup(qarn_req *req);

// Fill the request from a command line and choose its entry point. Throws CommandError.
EntryPoint parse_command(std::string_view line, const sim::Switch &sw, Request &request);

std::vector<std::string_view> words_of(std::string_view line);

// Help text: commands and forms, one per line.
std::string list_of_commands();

} // namespace shell
