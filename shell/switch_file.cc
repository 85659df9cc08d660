#include "shell/switch_file.h"

#include "nats/names.h"

namespace shell {
namespace {

constexpr char kPlain[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_";

} // namespace

std::string file_of_switch(const std::string &folder, const std::string &name, const char *ending) {
    const bool is_plain = !name.empty() && name[0] != '.' && name.find_first_not_of(kPlain) == std::string::npos;
    return folder + '/' + (is_plain ? name : nats::escaped(name)) + ending;
}

} // namespace shell
