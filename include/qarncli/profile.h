/* Port profiles and switch profiles in a generation. */
#ifndef QARNCLI_PROFILE_H
#define QARNCLI_PROFILE_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

struct qarn_req;

/* Decide for this generation whether interface blocks are merged with their port profiles (g_bypass_ppm) and whether
 * the switch-profile block is printed (g_bypass_sp_qarn), and fill the global ppm_merge_input. */
QARN_EXPORT void qarn_ppm_merge_init(struct qarn_req *req, uint32_t cfg_source);

QARN_END_DECLS

#endif
