/* VDC manager: the virtual device contexts of the switch. */
#ifndef QARN_PLATFORM_VDC_H
#define QARN_PLATFORM_VDC_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

enum { VDC_MAP_ENTRIES = 5, VDC_DEFAULT_ID = 1 };

struct vdc_map_entry {
    uint16_t id; /* 0 = empty */
    char name[33];
} QARN_PACKED;
QARN_AT(struct vdc_map_entry, name, 2);
QARN_SIZE(struct vdc_map_entry, 35);

/* Returns 0 and stores the five entries, which the manager owns, or returns an error code. */
uint32_t vdc_map_get(struct vdc_map_entry **map);
uint32_t vdc_is_active(uint32_t id, uint32_t *active);
uint32_t vdc_get_type(void); /* 2: no port-profile merge */

QARN_END_DECLS

#endif
