#include "shell/json.h"

namespace shell {

std::string json_time(std::time_t at) {
    std::tm utc = {};
    char text[32];
    std::strftime(text, sizeof text, "\"%FT%TZ\"", gmtime_r(&at, &utc));
    return text;
}

std::string json_array(const std::vector<std::string> &values) {
    std::string json = "[";
    for (const std::string &value : values)
        json.append(json.size() > 1 ? ",\n  " : "\n  ").append(value);
    return json + (values.empty() ? "]" : "\n ]");
}

} // namespace shell
