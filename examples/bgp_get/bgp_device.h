/* The device's BGP state as the backend reads it from the system database,
 * held in memory for the example. Values are raw: rates in kilobits per
 * second, times in seconds since the epoch. */
#ifndef BGP_DEVICE_H
#define BGP_DEVICE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct bgp_afi_safi {
    const char *name;
    int enabled;
    uint32_t prefixes_received;
} bgp_afi_safi;

typedef struct bgp_neighbor {
    char address[16];
    uint32_t peer_as;
    char description[32];
    int enabled;
    const char *session_state;
    uint32_t established_secs; /* seconds since the epoch */
    uint32_t bandwidth_kbps;   /* link bandwidth in kilobits per second */
    bgp_afi_safi afi_safis[2];
} bgp_neighbor;

typedef struct bgp_device {
    uint32_t as;
    char router_id[16];
    size_t n_neighbors;
    bgp_neighbor *neighbors;
} bgp_device;

/* Fills @p device with a deterministic state of @p n_neighbors neighbors
 * (10.0.0.1, 10.0.0.2, ...). Returns 0, or -1 when memory is exhausted. */
int bgp_device_init(bgp_device *device, size_t n_neighbors);
void bgp_device_free(bgp_device *device);

#ifdef __cplusplus
}
#endif

#endif
