// qarn-tlv: the replies of services as YAML, and YAML as replies, for the authors of services; and what is wrong with a
// reply.
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "explain/check/stream_rules.h"
#include "sim/notation.h"
#include "tools/qarn-tlv/decode.h"
#include "tools/qarn-tlv/encode.h"
#include "tools/qarn-tlv/files.h"
#include "tools/qarn-tlv/messages.h"
#include "tools/qarn-tlv/report.h"

namespace {

constexpr int kFine = 0, kFindings = 1, kTrouble = 2;
constexpr uint32_t kMostData = 1 << 30; // bytes of a fragment

struct Options {
    std::string file, output = "-";
    uint32_t fragment_size = 0;  // 0: the reply itself
    std::optional<uint32_t> sap; // of the messages
    bool reads_messages = false; // instead of a reply
    bool as_json = false;
    std::vector<std::string> except;
};

// The parser takes whatever follows an option as its argument.
std::string text_given(const std::string &text) {
    return text.empty() || (text.starts_with('-') && text != "-") ? "needs a value" : "";
}

void add_files(CLI::App &command, Options &options, const std::string &what) {
    command.add_option("FILE", options.file, what + "; - is standard input")->required()->type_name("");
    command.add_option("-o,--output", options.output, "write this file instead of standard output")
        ->type_name("FILE")
        ->check(text_given);
}

void add_messages(CLI::App &command, Options &options) {
    command.add_flag("--messages", options.reads_messages, "FILE has the messages that carry a reply");
    command.add_option("--sap", options.sap, "the service whose messages are joined")->type_name("N");
}

CLI::App *declare_encode(CLI::App &app, Options &options) {
    CLI::App *command = app.add_subcommand("encode", "make a reply from YAML");
    add_files(*command, options, "YAML of elements");
    CLI::Option *size = command
                            ->add_option("--fragments", options.fragment_size,
                                         "write messages of at most SIZE bytes of data instead of the reply")
                            ->type_name("SIZE")
                            ->check(CLI::Range(1u, kMostData).description(""));
    CLI::Option *sap = command->add_option("--sap", options.sap, "the service that sends the messages")->type_name("N");
    size->needs(sap);
    sap->needs(size);
    return command;
}

CLI::App *declare_decode(CLI::App &app, Options &options) {
    CLI::App *command = app.add_subcommand("decode", "write a reply as YAML");
    add_files(*command, options, "a reply");
    add_messages(*command, options);
    return command;
}

CLI::App *declare_check(CLI::App &app, Options &options) {
    CLI::App *command = app.add_subcommand("check", "report what is wrong with a reply");
    command->add_option("FILE", options.file, "a reply; - is standard input")->required()->type_name("");
    add_messages(*command, options);
    command->add_flag("--json", options.as_json, "print one JSON object");
    command->add_option("--except", options.except, "leave these rules out")->type_name("RULE,...")->delimiter(',');
    command->add_flag_callback(
        "--list-rules",
        [] {
            tlv::print_rules();
            throw CLI::Success();
        },
        "print the rules and exit");
    command->footer("Exit status: 0 if nothing is wrong, 1 if something is, 2 if the check is not possible.");
    return command;
}

std::string read_reply(const Options &options) {
    std::string bytes = tlv::read_file(options.file);
    if (!options.reads_messages) return bytes;
    try {
        return tlv::from_messages(bytes, options.sap);
    } catch (const std::runtime_error &error) {
        throw std::runtime_error(sim::printable(tlv::shown_name(options.file)) + ": " + error.what());
    }
}

int encode(const Options &options) {
    if (options.output == "-" && isatty(STDOUT_FILENO) != 0)
        throw std::runtime_error("a reply is binary: name a file with -o, or redirect standard output");
    const auto reply = tlv::encode(tlv::shown_name(options.file), tlv::read_file(options.file));
    tlv::write_file(options.output, options.sap ? tlv::to_messages(reply, *options.sap, options.fragment_size) : reply);
    return kFine;
}

int decode(const Options &options) {
    tlv::write_file(options.output, tlv::decode(read_reply(options)));
    return kFine;
}

void check_exceptions(const Options &options) {
    for (const std::string &name : options.except)
        if (std::ranges::find(explain::stream_rules(), name, &explain::CheckRule::name) ==
            explain::stream_rules().end())
            throw std::runtime_error("--except: unknown rule " + sim::quoted(name) + "; --list-rules prints them");
}

int check(const Options &options) {
    check_exceptions(options);
    auto findings = explain::check_stream(read_reply(options));
    std::erase_if(findings, [&](const explain::Finding &finding) {
        return std::ranges::find(options.except, finding.rule->name) != options.except.end();
    });
    options.as_json ? tlv::print_json(options.file, findings)
                    : tlv::print_lines(tlv::shown_name(options.file), findings);
    tlv::flush_output();
    return findings.empty() ? kFine : kFindings;
}

int parse_and_run(int argc, char **argv) {
    CLI::App app("Turns replies of services into YAML and back, and checks them.", "qarn-tlv");
    app.set_version_flag("--version", "qarn-tlv " QARN_TLV_VERSION, "print the version and exit");
    app.require_subcommand(1);
    Options options;
    const CLI::App *encodes = declare_encode(app, options), *decodes = declare_decode(app, options);
    declare_check(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &asked) { // --help, --version, --list-rules
        return app.exit(asked);
    } catch (const CLI::ParseError &error) {
        std::fprintf(stderr, "qarn-tlv: %s\nqarn-tlv: --help describes the options\n",
                     sim::printable(error.what()).c_str());
        return kTrouble;
    }
    return encodes->parsed() ? encode(options) : decodes->parsed() ? decode(options) : check(options);
}

} // namespace

int main(int argc, char **argv) {
    try {
        return parse_and_run(argc, argv);
    } catch (const std::bad_alloc &) {
        std::fputs("qarn-tlv: no memory\n", stderr);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "qarn-tlv: %s\n", error.what());
    }
    return kTrouble;
}
