/* Lines that name a set of VLANs or VSANs as ranges. */
#ifndef QARNCLI_ID_RANGE_H
#define QARNCLI_ID_RANGE_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

struct qarn_id_mask;

/* Print one line that names the set as ranges, such as "vlan 1-5,7,10-12"; an empty set gives the line without a
 * range. Each function calls the output routine exactly once, whatever the length of the text. */
QARN_EXPORT void qarn_vlan_mask_print(const struct qarn_id_mask *mask);
QARN_EXPORT void qarn_vlan_config_mask_print(const struct qarn_id_mask *mask);
QARN_EXPORT void qarn_vsan_mask_print(const struct qarn_id_mask *mask);

QARN_END_DECLS

#endif
