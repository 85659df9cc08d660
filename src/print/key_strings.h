// The key strings of all elements, found by name.
#pragma once

#include <glib.h>

#include <memory>
#include <optional>

#include "base/groups.h"

struct queue;

namespace qarn {

// Built from an ordered queue, whose elements and their key strings no longer change. Holds no text of its own.
class KeyStrings {
  public:
    explicit KeyStrings(const queue &elements);

    // Call `visit` with each text, not empty, that the elements file under a name, in queue order.
    template <typename Visit>
    void for_each(const char *name, Visit visit) const {
        if (!by_name_) {
            for (guint i = 0; i < tables_->len; ++i) {
                auto *text = static_cast<GString *>(g_hash_table_lookup(table(i), name));
                if (text != nullptr && text->len > 0) visit(text);
            }
        } else if (const auto *texts = by_name_->find(name)) {
            for (GString *text : *texts)
                visit(text);
        }
    }

  private:
    struct Unref {
        void operator()(GPtrArray *array) const { g_ptr_array_unref(array); }
    };

    GHashTable *table(guint at) const { return static_cast<GHashTable *>(g_ptr_array_index(tables_.get(), at)); }
    void group_by_name();

    std::unique_ptr<GPtrArray, Unref> tables_; // those that are not empty
    std::optional<Groups<GString *>> by_name_; // none for a few tables, each of which is searched instead
};

} // namespace qarn
