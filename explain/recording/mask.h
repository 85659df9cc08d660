// Replaces the letters and digits of texts by others, so that a recording can be given away. Lengths stay, and so does
// all that orders the elements: numbers, interface names, names of services.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "explain/recording/recording.h"
#include "sim/switch.h"

namespace explain::recording {

class Mask {
  public:
    // A text that nothing refers to: "x" for every letter, "X" for a capital one, "0" for a digit.
    static void hide(char *text, std::size_t size);
    static std::string hidden(std::string_view text);

    // A text that has to differ from others, or to be equal to them, as it did before.
    std::string name(std::string_view text);

    // All of a recording but the description.
    void apply(const sim::Switch &sw, Recording &recording);

  private:
    void hide_request(const sim::Switch &sw, std::string &payload);
    void hide_replies(std::vector<Event> &events);
    void hide_reply(std::string &reply);
    void hide_fact(Event &event) const;
    std::string with_names(const sim::Switch &sw, std::string_view line);

    std::unordered_map<std::string, std::string> names_;
    std::unordered_map<std::string, uint64_t> used_; // by what is the same of all names of a form
};

} // namespace explain::recording
