/* Builds a two-node tree through the installed headers and checks it. */
#include <stdio.h>

#include "zell_host.h"
#include "zell_map_common.h"
#include "zell_map_data_conv.h"

int main(void) {
    zell_map_request request = {0};
    zell_map_ctx ctx = {0};
    ctx.request = &request;
    zell_datatree root = {0};
    zell_datatree *leaf = NULL;
    char *bps = NULL;
    int ok = zell_map_datatree_add_path_common(&ctx, &root, "a/b", "urn:x", "1", NULL, &leaf, 0) == ZELL_MAP_OK &&
             leaf != NULL && zell_map_data_conv(0, "5", &bps) == ZELL_MAP_OK;
    rask_named_free(bps);
    mova_zell_datatree_free_ext(&root, zell_gpb_free, 0, 0);
    ok = ok && zell_host_live_allocations() == 0;
    puts(ok ? "consumer ok" : "consumer FAILED");
    return ok ? 0 : 1;
}
