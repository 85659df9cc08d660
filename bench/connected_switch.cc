#include "bench/connected_switch.h"

#include <fstream>
#include <sstream>

namespace bench {
namespace {

Words words_of(const std::string &line) {
    std::istringstream in(line);
    Words words;
    for (std::string word; in >> word;)
        words.push_back(word);
    return words;
}

Words with_command(Words words, const std::string &command) {
    words.insert(words.end(), {"-c", command});
    return words;
}

} // namespace

ConnectedSwitch::ConnectedSwitch(const std::string &build, const std::string &description)
    : shell_(build + "/shell/vsh"),
      description_(description),
      server_({build + "/shell/switchd", "-s", description}),
      connect_(words_of(server_.next_line())) {
    connect_.front() = shell_;
}

Words ConnectedSwitch::connected(const std::string &command) const {
    return with_command(connect_, command);
}

Words ConnectedSwitch::in_process(const std::string &command) const {
    return with_command({shell_, "-s", description_}, command);
}

std::string text_of(const std::string &path) {
    std::ifstream in(path);
    std::string text;
    for (std::string line; std::getline(in, line);)
        if (!line.starts_with("!Time: ")) text += line + '\n';
    return text;
}

std::string printed_by(const Words &words) {
    const TemporaryFile output;
    run(words, output.path());
    return text_of(output.path());
}

} // namespace bench
