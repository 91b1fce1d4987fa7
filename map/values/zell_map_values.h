/*
 * zell_map_common, values: IPv4 address checks and splitting, and (through
 * zell_map_data_conv.h) conversion of raw backend values into YANG text.
 */
#ifndef ZELL_MAP_VALUES_H
#define ZELL_MAP_VALUES_H

#include "zell_map_types.h"
#include "zell_map_data_conv.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* IPv4 address helpers                                                     */
/* ======================================================================== */

/**
 * 1 when the whole of @p address is a dotted-quad IPv4 address (octets 0 to
 * 255 without leading zeros), optionally followed by "%" and letters or
 * digits (a zone); 0 otherwise, also for NULL or a text with a newline.
 * Safe to call from several threads.
 */
ZELL_MAP_API int zell_map_is_valid_ipv4_addr(const char *address) ZELL_MAP_NOEXCEPT;
/**
 * Cuts @p prefix in place at the first "/" after the address (leading
 * slashes are skipped) and returns the address, or NULL when there is none.
 * Take the length part (zell_map_get_ip_address_len_info) first.
 */
ZELL_MAP_API char *zell_map_get_ip_address_info(char *prefix) ZELL_MAP_NOEXCEPT;
/** Points just after the first "/" of @p prefix, or NULL when it has none (or is NULL). */
ZELL_MAP_API const char *zell_map_get_ip_address_len_info(const char *prefix) ZELL_MAP_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* ZELL_MAP_VALUES_H */
