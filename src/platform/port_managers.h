/* Port-channel, port-profile and platform managers. */
#ifndef QARN_PLATFORM_PORT_MANAGERS_H
#define QARN_PLATFORM_PORT_MANAGERS_H

#include <qarncli/abi.h>
#include <qarncli/managers.h>

QARN_BEGIN_DECLS

/* Element id of the interface block of the port channels. */
enum { PCM_BLOCK_ELEM_ID = 20 };

/* Fill the member entries of info->pc_if_index; 0 or an error code. */
uint32_t pcm_get_pc_info(struct pc_info *info);
/* A new string with the interface body merged with its port profile, which the caller frees; or null. */
GString *ppm_intf_shrun_merge(uint32_t handle, uint32_t if_index, GString *text, struct ppm_merge_input input);
uint32_t pfm_get_sw_card_id_from_module(void); /* low 16 bits: software card id of this module */

QARN_END_DECLS

#endif
