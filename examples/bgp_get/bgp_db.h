/* The example's system database: the BGP tables in SQLite, opened
 * read-only from a file or built in memory from the bundled scripts, read
 * row by row with every value checked. A row that breaks the schema's rules
 * is reported on standard error with its table and key and skipped. */
#ifndef BGP_DB_H
#define BGP_DB_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct bgp_db bgp_db;

typedef struct bgp_global_row {
    uint32_t as_number;
    const char *router_id;
} bgp_global_row;

/* Optional columns: the has_ flag is 0 when the column is NULL. Texts are
 * valid until the callback returns. */
typedef struct bgp_neighbor_row {
    const char *neighbor_address;
    uint32_t peer_as;
    const char *description; /* NULL when NULL */
    int enabled;
    const char *session_state;
    int has_last_established;
    uint32_t last_established;
    int has_link_bandwidth;
    uint32_t link_bandwidth_kbps;
} bgp_neighbor_row;

typedef struct bgp_afi_safi_row {
    const char *afi_safi_name;
    int enabled;
    uint32_t prefixes_received;
} bgp_afi_safi_row;

/* A row callback returns 0 to go on, anything else to stop the read with
 * that value. */
typedef int (*bgp_neighbor_fn)(void *user, const bgp_neighbor_row *row);
typedef int (*bgp_afi_safi_fn)(void *user, const bgp_afi_safi_row *row);

/*
 * Opens the database at @p path read-only, or with @p path NULL an
 * in-memory database loaded from the bundled schema and sample scripts,
 * and checks that its tables have the expected columns.
 * Returns 0 and *@p out, or -1 with a one-line cause in @p err (missing or
 * unreadable file, not a database, schema mismatch, locked).
 */
int bgp_db_open(const char *path, bgp_db **out, char *err, size_t err_size);
void bgp_db_close(bgp_db *db);

/* The global row; returns 1 when there is none or it is corrupt (reported),
 * 0 with *row filled, -1 on a database error (cause in bgp_db_error). */
int bgp_db_global(bgp_db *db, bgp_global_row *row, char *router_id, size_t router_id_size);

/* Calls @p fn per neighbor row in rowid order, or for the row of
 * @p address only when it is not NULL. Returns 0, the callback's nonzero
 * value, or -1 on a database error. */
int bgp_db_each_neighbor(bgp_db *db, const char *address, bgp_neighbor_fn fn, void *user);

/* Calls @p fn per address-family row of neighbor @p address, in rowid order. */
int bgp_db_each_afi_safi(bgp_db *db, const char *address, bgp_afi_safi_fn fn, void *user);

/* The cause of the last -1. */
const char *bgp_db_error(const bgp_db *db);

/*
 * Writes a new database at @p path (which must not exist) holding the
 * bundled schema and a deterministic device of @p neighbors neighbors,
 * two address families each. Returns 0, or -1 with the cause in @p err.
 */
int bgp_db_make(const char *path, unsigned long neighbors, char *err, size_t err_size);

/* The bundled scripts, embedded at build time. */
extern const char bgp_schema_sql[];
extern const char bgp_sample_sql[];

#ifdef __cplusplus
}
#endif

#endif
