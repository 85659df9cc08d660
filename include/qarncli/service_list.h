/* The SAPs that are asked and awaited: globals saps, num_saps, saps_exclude, num_saps_exclude. An entry is removed by
 * setting it to 0; 0 means an empty slot everywhere, and scans cover empty slots too. */
#ifndef QARNCLI_SERVICE_LIST_H
#define QARNCLI_SERVICE_LIST_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

/* Write the SAPs of row `index` of show_sap_table to their slots of `saps`, add their number to num_saps (never beyond
 * 256) and store the row's key word in qarnkey. A row number above 16, or a row without a SAP, changes nothing. */
QARN_EXPORT void qarn_get_saps_from_sap_table(uint32_t index);

/* First position of `sap` among the first n entries, or -1. */
QARN_EXPORT int32_t qarn_sap_list_find(const uint32_t *list, int32_t n, uint32_t sap);

/* Set every entry equal to `sap` among the first n to 0. */
QARN_EXPORT void qarn_sap_list_delete(uint32_t *list, int32_t n, uint32_t sap);

/* Remove every excluded SAP from `saps`; num_saps does not change. */
QARN_EXPORT void qarn_exclude_saps(void);

/* Print "Pending SAPS:" and the non-zero entries as one line of the output. */
QARN_EXPORT void qarn_sap_list_pending_print(const uint32_t *list, int32_t n);

QARN_END_DECLS

#endif
