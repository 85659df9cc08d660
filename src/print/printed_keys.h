// The names on key_list, which grows for as long as the library is loaded, as a set.
#pragma once

#include <glib.h>

#include "base/innermost.h"

struct feature_key_entry;

namespace qarn {

// Lives during the level passes of one generation. Names are added to the list in front; the set takes them over
// whenever it is asked.
class PrintedKeys : public Innermost<PrintedKeys> {
  public:
    PrintedKeys();
    ~PrintedKeys();

    // The set of the level passes under way; null outside of them.
    static PrintedKeys *current();

    bool contains(const char *name);

  private:
    void take_over_new_names();
    bool holds_newest() const;

    GHashTable *names_; // the entries' own texts
    const feature_key_entry *newest_ = nullptr;
};

} // namespace qarn
