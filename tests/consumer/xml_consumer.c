/* Reads, filters and writes XML through the installed XML library. */
#include <stdio.h>
#include <string.h>

#include "zell_host.h"
#include "zell_map_common.h"
#include "zell_map_xml.h"

int main(void) {
    static const char data[] = "<data><a xmlns='urn:x'><b>1</b><c>2</c></a></data>";
    static const char filter[] = "<filter><a xmlns='urn:x'><c/></a></filter>";
    zell_datatree data_root = {0}, filter_root = {0};
    char *text = NULL;
    int ok = zell_map_xml_read_memory(NULL, "data", data, sizeof data - 1, &data_root, NULL) == ZELL_MAP_OK &&
             zell_map_xml_read_memory(NULL, "filter", filter, sizeof filter - 1, &filter_root, NULL) == ZELL_MAP_OK &&
             zell_map_filter_subtree(NULL, &filter_root.subtrees[0], &data_root.subtrees[0]) == ZELL_MAP_OK &&
             zell_map_xml_write_memory(NULL, &data_root.subtrees[0], 0, &text, NULL) == ZELL_MAP_OK &&
             strcmp(text, "<data><a xmlns=\"urn:x\"><c>2</c></a></data>") == 0;
    rask_named_free(text);
    mova_zell_datatree_free_ext(&data_root, zell_gpb_free, 0, 0);
    mova_zell_datatree_free_ext(&filter_root, zell_gpb_free, 0, 0);
    ok = ok && zell_host_live_allocations() == 0;
    puts(ok ? "xml consumer ok" : "xml consumer FAILED");
    return ok ? 0 : 1;
}
