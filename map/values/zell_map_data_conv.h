/*
 * zell_map_data_conv: conversion of raw backend values (decimal text) into
 * YANG value text, through a constant table of callbacks.
 *
 * Every callback allocates its output with rask_named_calloc_ under the
 * memory tag "ZELL_CONV"; the caller owns it and releases it with
 * rask_named_free. Nothing is logged and nothing is kept between calls.
 */
#ifndef ZELL_MAP_DATA_CONV_H
#define ZELL_MAP_DATA_CONV_H

#include <stdint.h>

#include "zell_map_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** A conversion callback: @p in (of @p in_len characters) to a new *@p out. */
typedef zell_map_status (*zell_map_data_conv_fn)(const char *in, uint32_t in_len, char **out);

/** An entry of the conversion table. */
typedef struct zell_map_data_conv_entry {
    uint32_t id;
    zell_map_data_conv_fn cb;
} zell_map_data_conv_entry;

/** Conversion ids: entry n of the table carries id n. */
#define ZELL_MAP_DATA_CONV_KBS_TO_BPS 0u
#define ZELL_MAP_DATA_CONV_SECS_TO_DATE_AND_TIME 1u
#define ZELL_MAP_DATA_CONV_COUNT 2u

/** The conversion table, in id order. */
ZELL_MAP_API extern const zell_map_data_conv_entry zell_map_data_conv_cb_tab[ZELL_MAP_DATA_CONV_COUNT];

/**
 * Converts the NUL-terminated @p in with conversion @p id (the table entry
 * at that position).
 * @param[out] out receives the new text (caller frees with rask_named_free);
 *             NULL on failure.
 * @return the callback's status;
 *         ZELL_MAP_ERR_INVALID_ARG for an id beyond the table or a NULL
 *         argument.
 */
ZELL_MAP_API zell_map_status zell_map_data_conv(uint32_t id, const char *in, char **out) ZELL_MAP_NOEXCEPT;

/**
 * Kilobits per second (decimal text of an unsigned 32-bit value after
 * optional white space and '+'; larger values saturate, text without
 * leading digits reads as 0) to bits per second as the decimal text of an
 * unsigned 64-bit value, in a 20-byte buffer. @p in_len is not read.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_NO_MEMORY when the buffer cannot be allocated (*out NULL);
 *         ZELL_MAP_ERR_INVALID_ARG when @p in or @p out is NULL (*out NULL).
 */
ZELL_MAP_API zell_map_status zell_map_data_kbs_uint32_yang_bps_uint64(const char *in, uint32_t in_len,
                                                                      char **out) ZELL_MAP_NOEXCEPT;
/**
 * Seconds since the Unix epoch (unsigned 32-bit decimal text, parsed as
 * above) to a YANG date-and-time in UTC, "YYYY-MM-DDThh:mm:ssZ", in a
 * 21-byte buffer. @p in_len is not read.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_NO_MEMORY when the buffer cannot be allocated (*out NULL);
 *         ZELL_MAP_ERR_INVALID_ARG when @p in or @p out is NULL (*out NULL).
 */
ZELL_MAP_API zell_map_status zell_map_data_intf_secs_uint32_to_yang_date_and_time(const char *in, uint32_t in_len,
                                                                                  char **out) ZELL_MAP_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* ZELL_MAP_DATA_CONV_H */
