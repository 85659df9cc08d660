// What the elements of the key-string queue file under each key-string name. While the levels print, names are looked
// up in an index that is built from the queue at the first question; the exported callbacks walk the queue instead, and
// serve whenever there is no index or the walk's traces are wanted.
#pragma once

#include <glib.h>

#include "base/innermost.h"

namespace qarn {

// Lives during the level passes of one generation, while queue and store stand still. It holds no text of its own:
// names and texts are the elements'.
class ContributionIndex : public Innermost<ContributionIndex> {
  public:
    ContributionIndex() = default;
    ~ContributionIndex();

    // The index of the level passes under way; null outside of them, and while the walk's traces are wanted.
    static ContributionIndex *current();

    // The texts filed under a name, GStrings in queue order, none of them empty; null when there are none.
    const GPtrArray *find(const char *name);

  private:
    GHashTable *by_name_ = nullptr; // name -> GPtrArray of GStrings; made at the first question
};

} // namespace qarn
