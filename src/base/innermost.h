// Objects that serve the generation under way. A generation may run within another, from a function of the platform
// that the other one called; the inner one's objects then serve until it ends.
#pragma once

namespace qarn {

// Base of a class T of which one object serves at a time: the one made last of those that live.
template <typename T>
class Innermost {
  public:
    Innermost(const Innermost &) = delete;
    Innermost &operator=(const Innermost &) = delete;

  protected:
    Innermost() : outer_(innermost_) { innermost_ = static_cast<T *>(this); }
    ~Innermost() { innermost_ = outer_; }

    // Null when none lives.
    static T *innermost() { return innermost_; }

  private:
    T *outer_;
    static inline T *innermost_ = nullptr;
};

} // namespace qarn
