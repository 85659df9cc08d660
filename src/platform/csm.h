/* Configuration-sync manager: the output routine of every command, and the switch profile. */
#ifndef QARN_PLATFORM_CSM_H
#define QARN_PLATFORM_CSM_H

#include <qarncli/abi.h>
#include <qarncli/managers.h>

QARN_BEGIN_DECLS

/* Writes the command's output, like printf. */
int32_t csm_qarn_sp_print(const char *format, ...) __attribute__((format(printf, 1, 2)));
void csm_qarn_sp_init(uint32_t token);
/* Null, or a record that the caller frees. */
struct qarn_sp_result *csm_get_switch_profile_qarn(uint32_t handle, struct ppm_merge_input input);

QARN_END_DECLS

#endif
