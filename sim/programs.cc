// Runs programs and functions of shared libraries, or what a test has put in their place. A program writes to the
// standard output of this process, so buffered output is flushed first. Where the platform's shell is not installed,
// Switch::shell_program runs in its place.
#include "platform/programs.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "platform/cfglib.h"
#include "sim/child.h"
#include "sim/library.h"
#include "sim/switch.h"

namespace sim {
namespace {

std::string joined(const std::vector<std::string> &words) {
    std::string text;
    for (const std::string &word : words)
        text.append(text.empty() ? "" : ", ").append(word);
    return text;
}

int32_t exit_status(int status) {
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

int32_t start_and_wait(std::vector<std::string> words) {
    std::vector<char *> argv;
    argv.reserve(words.size() + 1);
    for (std::string &word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    std::fflush(nullptr);
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child < 0) return -1;
    if (child == 0) {
        end_with_parent(parent); // the kernel keeps this for the program
        ::execv(argv[0], argv.data());
        ::_exit(127); // as a shell reports a program that cannot be started
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return -1;
    return exit_status(status);
}

constexpr char kPlatformShell[] = "/opux/bin/vsh";
constexpr char kPrintsSavedText[] = "/bin/cat";

void replace_missing_shell(const Switch &sw, std::string &program) {
    if (!sw.shell_program.empty() && ::access(kPlatformShell, X_OK) != 0) program = sw.shell_program;
}

std::string contents_of(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The program that prints the saved text, whose path is its last word. Where the output is held back, observers get the
// text, and no program runs.
int32_t show_with_program(Switch &sw, const std::vector<std::string> &words) {
    const bool is_held = sw.output == nullptr && !sw.observers.empty();
    const Fact fact = sw.learn(FactKind::kProgram, [&] {
        const int32_t result = !is_held ? start_and_wait(words) : ::access(words.back().c_str(), R_OK) == 0 ? 0 : 1;
        const bool is_told = !sw.observers.empty() && result == 0;
        return Fact{FactKind::kProgram, static_cast<uint32_t>(result), 0, is_told ? contents_of(words.back()) : ""};
    });
    for (Observer *observer : sw.observers)
        observer->program_printed(fact.text);
    if (sw.facts && !is_held) std::fwrite(fact.text.data(), 1, fact.text.size(), stdout);
    return static_cast<int32_t>(fact.value);
}

// A function may serve several rows. The library passes the row's own lib_name, so its address identifies the row.
uint32_t sap_of_row(const char *lib_name) {
    for (int32_t i = 0; i < qarn_cfg_cb_table_size; ++i)
        if (qarn_cfg_cb_table[i].lib_name == lib_name) return static_cast<uint32_t>(qarn_cfg_cb_table[i].sap);
    return 0;
}

struct Function {
    const char *library, *name;
};

// The library stays in memory because its services keep state from one command to the next.
int32_t call_function(Switch &sw, const Function &function, void *args, uint32_t *result,
                      void (*handler)(void *func, void *args, uint32_t *result)) {
    void *library = open_library(function.library, sw.description_folder, RTLD_NODELETE).handle;
    if (library == nullptr) return -1;
    sw.invoked_sap = sap_of_row(function.library);
    void *symbol = ::dlsym(library, function.name);
    if (symbol != nullptr) handler(symbol, args, result);
    ::dlclose(library);
    return symbol != nullptr ? 0 : -1;
}

} // namespace

extern "C" {

int32_t execute_program_and_wait(const char *path, ...) {
    std::vector<std::string> words = {path};
    va_list args;
    va_start(args, path);
    while (const char *word = va_arg(args, const char *))
        words.emplace_back(word);
    va_end(args);

    Switch &sw = current();
    if (const auto outcome = sw.enter("execute_program_and_wait", "%s", joined(words).c_str()))
        return static_cast<int32_t>(outcome->result);
    if (sw.run_program) return sw.run_program(words);
    if (words[0] == kPrintsSavedText && sw.hides_secrets) {
        sw.has_refused_a_text = true;
        return 1;
    }
    if (words[0] != kPlatformShell) return show_with_program(sw, words);
    replace_missing_shell(sw, words[0]);
    const std::string vdc = words.size() > 2 ? words[2] : ""; // after -i
    const int32_t result = start_and_wait(std::move(words));
    sw.shell_results.push_back({vdc, result});
    return result;
}

int32_t dlwrap_invoke_func(const char *lib, const char *func, void *args, uint32_t *result,
                           void (*handler)(void *func, void *args, uint32_t *result)) {
    Switch &sw = current();
    if (const auto outcome = sw.enter("dlwrap_invoke_func", "%s, %s", lib, func))
        return static_cast<int32_t>(outcome->result);
    if (const auto hook = sw.library_functions.find(func); hook != sw.library_functions.end()) {
        hook->second(static_cast<qarn_cb_args *>(args));
        return 0;
    }
    const Fact fact = sw.learn(FactKind::kFunction, [&] {
        const int32_t failure = call_function(sw, {lib, func}, args, result, handler);
        return Fact{FactKind::kFunction, static_cast<uint32_t>(failure), *result};
    });
    *result = fact.second;
    return static_cast<int32_t>(fact.value);
}

} // extern "C"

} // namespace sim
