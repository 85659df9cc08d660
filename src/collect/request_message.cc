// The request message that every service of a generation receives. It is built in two steps, because an interface
// display without interfaces ends between them.
#include "collect/request_message.h"

#include <qarncli/globals.h>
#include <qarncli/id_filter.h>
#include <qarncli/if_index_list.h>
#include <qarncli/request.h>

#include <algorithm>
#include <iterator>

#include "base/bytes.h"
#include "base/tokens.h"
#include "platform/mts.h"

namespace qarn {
namespace {

constexpr uint32_t kFlagNoExtraToken = 0x100;
constexpr uint32_t kCommandWithOwnToken = 109;

bool has_no_extra_token(const qarn_req &req) {
    return cmd_token_id == 0 || (req.cmd_code == kCommandWithOwnToken && cmd_token_id == QARN_TOKEN_COMMAND_109);
}

} // namespace

RequestMessage begin_request_message(qarn_req *req, uint32_t cfg_source, uint32_t target) {
    RequestMessage message;
    message.size = static_cast<uint32_t>(sizeof(qarn_cfg_req_msg) + sizeof(uint32_t) * if_index_list_p->count);
    message.bytes = allocate<qarn_cfg_req_msg>(message.size);
    if (!message.bytes) return message;

    qarn_cfg_req_msg *msg = message.bytes.get();
    std::memset(msg, 0, message.size);
    msg->src_sap = mts_sap_get(req->mts_handle);
    qarn_vsan_mask_populate(req, &msg->vsan_mask);
    qarn_vlan_mask_populate(req, &msg->vlan_mask);
    msg->cfg_source = cfg_source;
    msg->display_type = cfg_display_type;
    msg->display = cfg_display;
    msg->extra_opt = (req->info_flags & QARN_INFO_EXTRA_OPT) != 0 ? 1 : 0;
    msg->target = target;
    copy_text(msg->cmd_line, sizeof msg->cmd_line - 1, req->cmd_line);
    const bool forwarded = cmd_token_id >= QARN_TOKEN_FORWARDED_FIRST && cmd_token_id <= QARN_TOKEN_FORWARDED_LAST;
    msg->token_id = forwarded ? cmd_token_id : 0;
    const auto excluded =
        static_cast<uint32_t>(std::clamp(num_saps_exclude, 0, static_cast<int32_t>(std::size(saps_exclude))));
    std::copy_n(saps_exclude, excluded, msg->excl_saps);
    msg->num_excl_saps = excluded;
    return message;
}

void complete_request_message(qarn_cfg_req_msg *msg, const qarn_req &req, const char *startup_uri) {
    msg->num_ifindex = if_index_list_p->count;
    msg->flags = req.svc_flags;
    if (has_no_extra_token(req)) msg->flags |= kFlagNoExtraToken;
    if (msg->display == QARN_DISPLAY_PROFILE) {
        if (const void *name = token_value(req, 0); name != nullptr) {
            copy_text(msg->profile_name, sizeof msg->profile_name, static_cast<const char *>(name));
        }
    }
    copy_text(msg->startup_uri, sizeof msg->startup_uri, startup_uri);
    std::copy_n(if_index_list_p->ifindexes, msg->num_ifindex, msg->ifindex_list);
}

} // namespace qarn
