// From a command line to a library call: which entry point, and the request it takes.
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
// There is no such command at all: the user wants to see those that there are.
class UnknownCommand : public CommandError {
  public:
    using CommandError::CommandError;
};

// The library's request with everything that it points to. It stays where it was made.
class Request {
  public:
    explicit Request(std::string_view line);
    Request(const Request &) = delete;
    Request &operator=(const Request &) = delete;

    qarn_req req = {};
    sim::ShellOptions options; // for the time of the command

    void add_token(std::uint32_t id);
    void add_name(const std::string &name);
    void add_sap(std::uint32_t sap);
    void add_ranges(const std::vector<std::pair<std::uint32_t, std::uint32_t>> &ranges, std::uint32_t type = 0);

  private:
    struct Token {
        qarn_req_token token;
        std::vector<std::uint32_t> words;
        std::string text;
    };
    Token &add(std::uint32_t type);

    std::deque<Token> tokens_; // keeps its elements in place
};

using EntryPoint = std::uint32_t (*)(qarn_req *);

// `copy running-config startup-config` as an entry point: saves what the switch runs, and says so. 0, or 1 after a
// message on standard error.
std::uint32_t copy_running_to_startup(qarn_req *req);

// Fill the request from a command line and choose its entry point. Throws CommandError.
EntryPoint parse_command(std::string_view line, const sim::Switch &sw, Request &request);

std::vector<std::string_view> words_of(std::string_view line);

// Every command form, one per line.
std::string list_of_commands();

} // namespace shell
