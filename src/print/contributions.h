// What the elements of the key-string queue file under each key-string name. While a generation prints, names are
// looked up in an index that is built from the queue at the first question and lives as long as the level passes; the
// exported callbacks walk the queue instead, and serve whenever there is no index or the walk's traces are wanted.
#pragma once

#include <glib.h>

namespace qarn {

// The index may be used while this lives: during the level passes, while queue and store stand still.
class ContributionIndex {
  public:
    ContributionIndex();
    ~ContributionIndex();
    ContributionIndex(const ContributionIndex &) = delete;
    ContributionIndex &operator=(const ContributionIndex &) = delete;
};

// Whether contributions() may be asked.
bool has_contribution_index();

// The texts filed under a name, GStrings in queue order, none of them empty; null when there are none.
const GPtrArray *contributions(const char *name);

} // namespace qarn
