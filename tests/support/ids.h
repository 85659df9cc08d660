// Sets of VLAN or VSAN ids in tests.
#pragma once

#include <qarncli/id_mask.h>

#include <vector>

namespace test {

using Ids = std::vector<int>;

inline qarn_id_mask mask_of(const Ids &ids) {
    qarn_id_mask mask = {};
    for (const int id : ids)
        mask.bits[id / 8] = static_cast<uint8_t>(mask.bits[id / 8] | (0x80 >> id % 8));
    return mask;
}

inline Ids between(int first, int last) {
    Ids ids;
    for (int id = first; id <= last; ++id)
        ids.push_back(id);
    return ids;
}

} // namespace test
