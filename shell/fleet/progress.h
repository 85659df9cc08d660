// One line on a terminal about switches that are being shown.
#pragma once

#include <cstddef>

namespace shell {

// Shown on standard error, if that is a terminal, as long as the object lives.
class Progress {
  public:
    explicit Progress(std::size_t count);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void show(std::size_t done, std::size_t incomplete) const;
    void erase() const; // before anything else is shown

  private:
    std::size_t count_;
    bool is_visible_;
};

} // namespace shell
