// Values grouped by a key.
#pragma once

#include <glib.h>

namespace qarn {

// Values are added in any order, each with its key, and keep that order within the key's group. GLib's functions
// compare the keys, which belong to the caller. The nodes are allocated in blocks, because there may be millions.
template <typename T>
class Groups {
    struct Node {
        T value;
        Node *next;
    };

  public:
    class Group {
      public:
        class Iterator {
          public:
            explicit Iterator(const Node *node) : node_(node) {}
            const T &operator*() const { return node_->value; }
            Iterator &operator++() {
                node_ = node_->next;
                return *this;
            }
            bool operator==(const Iterator &) const = default;

          private:
            const Node *node_;
        };

        Iterator begin() const { return Iterator(first_); }
        Iterator end() const { return Iterator(nullptr); }

      private:
        friend Groups;
        Node *first_ = nullptr, *last_ = nullptr;
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
        Node *node = new_node();
        *node = {value, nullptr};
        (group.last_ != nullptr ? group.last_->next : group.first_) = node;
        group.last_ = node;
    }

    // Null when the key has no group.
    const Group *find(const void *key) const { return static_cast<const Group *>(g_hash_table_lookup(groups_, key)); }

  private:
    static constexpr gsize kNodesPerBlock = 4096;

    Node *new_node() {
        if (blocks_->len == 0 || used_of_block_ == kNodesPerBlock) {
            g_ptr_array_add(blocks_, g_new(Node, kNodesPerBlock));
            used_of_block_ = 0;
        }
        return static_cast<Node *>(g_ptr_array_index(blocks_, blocks_->len - 1)) + used_of_block_++;
    }

    GHashTable *groups_;
    GPtrArray *blocks_;
    gsize used_of_block_ = 0;
};

} // namespace qarn
