// The two configurations that the command "diff" compares.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "explain/recording/recording.h"
#include "shell/deadline.h"
#include "shell/session.h"

namespace shell {

class Side {
  public:
    // `name` is "running", "startup" or a recording; `where` is that part of the line. Throws CommandError.
    Side(const std::string &name, std::string_view where);

    const std::string &name() const { return name_; }
    // What follows the name of the configuration in the display of a recording, such as " vlan 10"; otherwise empty.
    const std::string &form() const { return form_; }
    bool is_recording() const { return recording_ != nullptr; }

    // Let the display of this form write its text, or what it consists of, to the descriptor. Returns its exit code.
    enum class What { kText, kParts };
    int write(Session &session, const std::string &form, What what, int descriptor, const Deadline &deadline) const;

  private:
    std::string name_, display_, form_;
    std::shared_ptr<const explain::recording::Recording> recording_;
};

} // namespace shell
