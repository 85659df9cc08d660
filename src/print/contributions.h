// What the elements of the key-string queue file under each key-string name. While the levels print, names are looked
// up in an index that is built from the queue at the first question; the exported callbacks walk the queue instead, and
// serve whenever there is no index or the walk's traces are wanted.
#pragma once

#include <glib.h>

#include <optional>

#include "base/innermost.h"
#include "print/groups.h"

struct qarn_elem;

namespace qarn {

// Texts of elements: GStrings that stay theirs.
using Texts = Groups<GString *>::Group;

// Lives during the level passes of one generation, while queue and store stand still. It holds no text of its own:
// names and texts are the elements'.
class ContributionIndex : public Innermost<ContributionIndex> {
  public:
    // The index of the level passes under way; null outside of them, and while the walk's traces are wanted.
    static ContributionIndex *current();

    // The texts filed under a name, in queue order, none of them empty; null when there are none.
    const Texts *find(const char *name);

  private:
    void build();
    void add_texts(const qarn_elem *elem);

    std::optional<Groups<GString *>> texts_; // by name; made at the first question
};

} // namespace qarn
