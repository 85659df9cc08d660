/* A program in C as others write it: every installed header, one request, one call through the library's own type. */
#include <qarncli/qarncli.h>

#include <string.h>

int main(void) {
    struct qarn_req req;
    memset(&req, 0, sizeof req);
    uint32_t (*entry_point)(struct qarn_req *) = qarn_cli_run_cfg_gen;
    return entry_point != NULL && qarn_sap_list_find(saps, num_saps, 7) == -1 && req.valid == 0 ? 0 : 1;
}
