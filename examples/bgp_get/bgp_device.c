#include "bgp_device.h"

#include <stdio.h>
#include <stdlib.h>

static const char *const session_states[] = {"ESTABLISHED", "ACTIVE", "IDLE"};

int bgp_device_init(bgp_device *device, size_t n_neighbors) {
    device->as = 65000;
    snprintf(device->router_id, sizeof device->router_id, "192.0.2.1");
    device->n_neighbors = 0;
    device->neighbors = calloc(n_neighbors ? n_neighbors : 1, sizeof *device->neighbors);
    if (device->neighbors == NULL)
        return -1;
    for (size_t i = 0; i < n_neighbors; ++i) {
        bgp_neighbor *n = &device->neighbors[i];
        snprintf(n->address, sizeof n->address, "10.%u.%u.%u", (unsigned)(i / 62500 % 256),
                 (unsigned)(i / 250 % 250), (unsigned)(i % 250 + 1));
        n->peer_as = 65001 + (uint32_t)i;
        snprintf(n->description, sizeof n->description, "peer-%zu", i + 1);
        n->enabled = 1;
        n->session_state = session_states[i % 3];
        n->established_secs = 1700000000u + (uint32_t)i * 3600u;
        n->bandwidth_kbps = 10000000u; /* 10 Gbit/s */
        n->afi_safis[0] = (bgp_afi_safi){"IPV4_UNICAST", 1, 1000u + (uint32_t)i};
        n->afi_safis[1] = (bgp_afi_safi){"IPV6_UNICAST", (int)(i % 2 == 0), 10u * (uint32_t)i};
    }
    device->n_neighbors = n_neighbors;
    return 0;
}

void bgp_device_free(bgp_device *device) {
    free(device->neighbors);
    device->neighbors = NULL;
    device->n_neighbors = 0;
}
