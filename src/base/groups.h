// Values grouped by a key.
#pragma once

#include <glib.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace qarn {

// Values are added in any order, each with its key, and keep that order within the key's group. GLib's functions
// compare the keys, which belong to the caller. There may be millions of values: those of a group lie side by side in
// runs, and the runs are allocated in blocks.
template <typename T>
class Groups {
    struct Run {
        Run *next;
        uint32_t used, room;

        T *values() { return reinterpret_cast<T *>(this + 1); }
        const T *values() const { return reinterpret_cast<const T *>(this + 1); }
    };

  public:
    class Group {
      public:
        class Iterator {
          public:
            explicit Iterator(const Run *run) : run_(run) {}
            const T &operator*() const { return run_->values()[at_]; }
            Iterator &operator++() {
                if (++at_ == run_->used) {
                    run_ = run_->next;
                    at_ = 0;
                }
                return *this;
            }
            bool operator==(const Iterator &) const = default;

          private:
            const Run *run_;
            uint32_t at_ = 0;
        };

        Iterator begin() const { return Iterator(first_); }
        Iterator end() const { return Iterator(nullptr); }

      private:
        friend Groups;
        Run *first_ = nullptr, *last_ = nullptr;
    };

    Groups(GHashFunc hash, GEqualFunc equal)
        : groups_(g_hash_table_new_full(hash, equal, nullptr, g_free)),
          blocks_(g_ptr_array_new_with_free_func(g_free)) {}
    ~Groups() {
        g_hash_table_destroy(groups_);
        g_ptr_array_unref(blocks_);
    }
    Groups(const Groups &) = delete;
    Groups &operator=(const Groups &) = delete;

    // The group of a key; an empty one if the key is new.
    Group &open(void *key) {
        auto *group = static_cast<Group *>(g_hash_table_lookup(groups_, key));
        if (group == nullptr) {
            group = g_new0(Group, 1);
            g_hash_table_insert(groups_, key, group);
        }
        return *group;
    }

    void add(Group &group, const T &value) {
        Run *last = group.last_;
        if (last == nullptr || last->used == last->room) {
            Run *run = new_run(last == nullptr ? 1 : std::min(2 * last->room, kLongestRun));
            (last != nullptr ? last->next : group.first_) = run;
            group.last_ = last = run;
        }
        last->values()[last->used++] = value;
    }

    // Null when the key has no group.
    const Group *find(const void *key) const { return static_cast<const Group *>(g_hash_table_lookup(groups_, key)); }

  private:
    static constexpr uint32_t kLongestRun = 8;
    static constexpr std::size_t kBlockSize = 65536;
    static_assert(sizeof(Run) % alignof(T) == 0 && sizeof(T) % alignof(Run) == 0);

    Run *new_run(uint32_t room) {
        const std::size_t size = sizeof(Run) + room * sizeof(T);
        if (left_of_block_ < size) {
            free_ = static_cast<char *>(g_malloc(kBlockSize));
            g_ptr_array_add(blocks_, free_);
            left_of_block_ = kBlockSize;
        }
        auto *run = reinterpret_cast<Run *>(free_);
        free_ += size;
        left_of_block_ -= size;
        *run = {nullptr, 0, room};
        return run;
    }

    GHashTable *groups_;
    GPtrArray *blocks_;
    char *free_ = nullptr; // of the last block
    std::size_t left_of_block_ = 0;
};

} // namespace qarn
