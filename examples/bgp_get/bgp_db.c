#include "bgp_db.h"

#include <sqlite3.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zell_map_values.h"

struct bgp_db {
    sqlite3 *sql;
    sqlite3_stmt *all_neighbors;
    sqlite3_stmt *one_neighbor;
    sqlite3_stmt *afi_safis;
    char error[256];
};

/* Columns of each table, in order, as the backend reads them. */
static const char *const global_columns[] = {"as_number", "router_id", NULL};
static const char *const neighbor_columns[] = {"neighbor_address", "peer_as", "description", "enabled",
                                               "session_state", "last_established", "link_bandwidth_kbps",
                                               NULL};
static const char *const afi_safi_columns[] = {"neighbor_address", "afi_safi_name", "enabled",
                                               "prefixes_received", NULL};
static const struct {
    const char *table;
    const char *const *columns;
} tables[] = {{"bgp_global", global_columns},
              {"bgp_neighbor", neighbor_columns},
              {"bgp_afi_safi", afi_safi_columns}};

static const char *const session_states[] = {"IDLE",     "CONNECT",     "ACTIVE",
                                             "OPENSENT", "OPENCONFIRM", "ESTABLISHED"};

#define NEIGHBOR_SELECT                                                                                    \
    "SELECT neighbor_address, peer_as, description, enabled, session_state, last_established, "           \
    "link_bandwidth_kbps FROM bgp_neighbor"

static void say(char *err, size_t size, const char *format, ...) {
    va_list args;
    va_start(args, format);
    vsnprintf(err, size, format, args);
    va_end(args);
}

static int fail_db(bgp_db *db, const char *what) {
    say(db->error, sizeof db->error, "%s: %s", what, sqlite3_errmsg(db->sql));
    return -1;
}

static int check_schema(bgp_db *db) {
    sqlite3_stmt *info = NULL;
    if (sqlite3_prepare_v2(db->sql, "SELECT name FROM pragma_table_info(?1) ORDER BY cid", -1, &info, NULL) !=
        SQLITE_OK)
        return fail_db(db, "cannot read the schema");
    int status = 0;
    for (size_t t = 0; status == 0 && t < sizeof tables / sizeof tables[0]; ++t) {
        sqlite3_reset(info);
        sqlite3_bind_text(info, 1, tables[t].table, -1, SQLITE_STATIC);
        const char *const *column = tables[t].columns;
        int rc;
        while (status == 0 && (rc = sqlite3_step(info)) == SQLITE_ROW) {
            const char *name = (const char *)sqlite3_column_text(info, 0);
            if (*column == NULL || strcmp(name, *column) != 0) {
                say(db->error, sizeof db->error, "schema mismatch: table %s has column %s where %s was expected",
                    tables[t].table, name, *column != NULL ? *column : "none");
                status = -1;
            } else {
                ++column;
            }
        }
        if (status == 0 && rc != SQLITE_DONE)
            status = fail_db(db, "cannot read the schema");
        else if (status == 0 && column == tables[t].columns)
            say(db->error, sizeof db->error, "schema mismatch: no table %s", tables[t].table), status = -1;
        else if (status == 0 && *column != NULL)
            say(db->error, sizeof db->error, "schema mismatch: table %s lacks column %s", tables[t].table,
                *column),
                status = -1;
    }
    sqlite3_finalize(info);
    return status;
}

static int prepare(bgp_db *db) {
    static const char afi_sql[] = "SELECT afi_safi_name, enabled, prefixes_received FROM bgp_afi_safi "
                                  "WHERE neighbor_address = ?1 ORDER BY rowid";
    if (sqlite3_prepare_v2(db->sql, NEIGHBOR_SELECT " ORDER BY rowid", -1, &db->all_neighbors, NULL) != SQLITE_OK ||
        sqlite3_prepare_v2(db->sql, NEIGHBOR_SELECT " WHERE neighbor_address = ?1", -1, &db->one_neighbor,
                           NULL) != SQLITE_OK ||
        sqlite3_prepare_v2(db->sql, afi_sql, -1, &db->afi_safis, NULL) != SQLITE_OK)
        return fail_db(db, "cannot prepare the queries");
    return 0;
}

void bgp_db_close(bgp_db *db) {
    if (db == NULL)
        return;
    sqlite3_finalize(db->all_neighbors);
    sqlite3_finalize(db->one_neighbor);
    sqlite3_finalize(db->afi_safis);
    sqlite3_close(db->sql);
    free(db);
}

int bgp_db_open(const char *path, bgp_db **out, char *err, size_t err_size) {
    *out = NULL;
    bgp_db *db = calloc(1, sizeof *db);
    if (db == NULL) {
        say(err, err_size, "out of memory");
        return -1;
    }
    int rc = path != NULL ? sqlite3_open_v2(path, &db->sql, SQLITE_OPEN_READONLY, NULL)
                          : sqlite3_open_v2(":memory:", &db->sql, SQLITE_OPEN_READWRITE, NULL);
    if (rc != SQLITE_OK) {
        say(err, err_size, "cannot open database %s: %s", path, db->sql ? sqlite3_errmsg(db->sql) : "out of memory");
        bgp_db_close(db);
        return -1;
    }
    /* A writer holding the database gets a short grace, then the read fails as locked. */
    sqlite3_busy_timeout(db->sql, 100);
    int status = 0;
    if (path == NULL && (sqlite3_exec(db->sql, bgp_schema_sql, NULL, NULL, NULL) != SQLITE_OK ||
                         sqlite3_exec(db->sql, bgp_sample_sql, NULL, NULL, NULL) != SQLITE_OK))
        status = fail_db(db, "cannot load the bundled database");
    if (status == 0)
        status = check_schema(db);
    if (status == 0)
        status = prepare(db);
    if (status != 0) {
        if (path != NULL)
            say(err, err_size, "database %s: %s", path, db->error);
        else
            say(err, err_size, "%s", db->error);
        bgp_db_close(db);
        return -1;
    }
    *out = db;
    return 0;
}

const char *bgp_db_error(const bgp_db *db) { return db->error; }

/* ---- checked column reads ------------------------------------------------ */

/* A bad row: reported with its table and key, then skipped. */
static void report_row(const char *table, const char *key, const char *column, const char *problem) {
    fprintf(stderr, "%s %s: %s %s, row skipped\n", table, key != NULL ? key : "(no key)", column, problem);
}

typedef struct row_check {
    sqlite3_stmt *stmt;
    const char *table;
    const char *key;
    int ok;
} row_check;

static void bad(row_check *r, int col, const char *problem) {
    if (r->ok)
        report_row(r->table, r->key, sqlite3_column_name(r->stmt, col), problem);
    r->ok = 0;
}

static const char *text_column(row_check *r, int col, int nullable) {
    const int type = sqlite3_column_type(r->stmt, col);
    if (type == SQLITE_NULL) {
        if (!nullable)
            bad(r, col, "is NULL");
        return NULL;
    }
    if (type != SQLITE_TEXT) {
        bad(r, col, "is not text");
        return NULL;
    }
    return (const char *)sqlite3_column_text(r->stmt, col);
}

/* An unsigned 32-bit integer; *present is 0 for a NULL in a nullable column. */
static uint32_t u32_column(row_check *r, int col, int nullable, int *present) {
    const int type = sqlite3_column_type(r->stmt, col);
    if (present != NULL)
        *present = type != SQLITE_NULL;
    if (type == SQLITE_NULL) {
        if (!nullable)
            bad(r, col, "is NULL");
        return 0;
    }
    if (type != SQLITE_INTEGER) {
        bad(r, col, "is not an integer");
        return 0;
    }
    const sqlite3_int64 v = sqlite3_column_int64(r->stmt, col);
    if (v < 0 || v > 4294967295LL) {
        bad(r, col, "is out of range");
        return 0;
    }
    return (uint32_t)v;
}

static int bool_column(row_check *r, int col) {
    const uint32_t v = u32_column(r, col, 0, NULL);
    if (r->ok && v > 1)
        bad(r, col, "is neither 0 nor 1");
    return v == 1;
}

static void ipv4_check(row_check *r, int col, const char *text) {
    if (text != NULL && !zell_map_is_valid_ipv4_addr(text))
        bad(r, col, "is not an IPv4 address");
}

/* ---- reads ---------------------------------------------------------------- */

static int step_error(bgp_db *db, sqlite3_stmt *stmt, int rc) {
    sqlite3_reset(stmt);
    if (rc == SQLITE_BUSY || rc == SQLITE_LOCKED)
        say(db->error, sizeof db->error, "database is locked by another process");
    else
        say(db->error, sizeof db->error, "cannot read the database: %s", sqlite3_errstr(rc));
    return -1;
}

int bgp_db_global(bgp_db *db, bgp_global_row *row, char *router_id, size_t router_id_size) {
    sqlite3_stmt *stmt = NULL;
    if (sqlite3_prepare_v2(db->sql, "SELECT as_number, router_id FROM bgp_global ORDER BY rowid LIMIT 1", -1,
                           &stmt, NULL) != SQLITE_OK)
        return fail_db(db, "cannot read bgp_global");
    const int rc = sqlite3_step(stmt);
    int status = 1;
    if (rc == SQLITE_ROW) {
        row_check r = {stmt, "bgp_global", "row 1", 1};
        row->as_number = u32_column(&r, 0, 0, NULL);
        const char *id = text_column(&r, 1, 0);
        ipv4_check(&r, 1, id);
        if (r.ok) {
            snprintf(router_id, router_id_size, "%s", id);
            row->router_id = router_id;
            status = 0;
        }
    } else if (rc != SQLITE_DONE) {
        status = step_error(db, stmt, rc);
    }
    sqlite3_finalize(stmt);
    return status;
}

/* Steps stmt to its end, handing each row to on_row; a nonzero answer from
 * on_row stops the read and is returned. */
static int each_row(bgp_db *db, sqlite3_stmt *stmt, int (*on_row)(sqlite3_stmt *, void *), void *state) {
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        const int stop = on_row(stmt, state);
        if (stop != 0) {
            sqlite3_reset(stmt);
            return stop;
        }
    }
    if (rc != SQLITE_DONE)
        return step_error(db, stmt, rc);
    sqlite3_reset(stmt);
    return 0;
}

typedef struct neighbor_reader {
    bgp_neighbor_fn fn;
    void *user;
} neighbor_reader;

static int read_neighbor(sqlite3_stmt *stmt, void *state) {
    const neighbor_reader *reader = state;
    const int key_type = sqlite3_column_type(stmt, 0);
    row_check r = {stmt, "bgp_neighbor", key_type == SQLITE_TEXT ? (const char *)sqlite3_column_text(stmt, 0) : NULL,
                   1};
    bgp_neighbor_row row;
    row.neighbor_address = text_column(&r, 0, 0);
    ipv4_check(&r, 0, row.neighbor_address);
    row.peer_as = u32_column(&r, 1, 0, NULL);
    row.description = text_column(&r, 2, 1);
    row.enabled = bool_column(&r, 3);
    row.session_state = text_column(&r, 4, 0);
    if (row.session_state != NULL) {
        int known = 0;
        for (size_t i = 0; i < sizeof session_states / sizeof session_states[0]; ++i)
            known |= strcmp(row.session_state, session_states[i]) == 0;
        if (!known)
            bad(&r, 4, "is not a session state");
    }
    row.last_established = u32_column(&r, 5, 1, &row.has_last_established);
    row.link_bandwidth_kbps = u32_column(&r, 6, 1, &row.has_link_bandwidth);
    return r.ok ? reader->fn(reader->user, &row) : 0;
}

int bgp_db_each_neighbor(bgp_db *db, const char *address, bgp_neighbor_fn fn, void *user) {
    sqlite3_stmt *stmt = address != NULL ? db->one_neighbor : db->all_neighbors;
    if (address != NULL)
        sqlite3_bind_text(stmt, 1, address, -1, SQLITE_TRANSIENT);
    neighbor_reader reader = {fn, user};
    return each_row(db, stmt, read_neighbor, &reader);
}

typedef struct afi_safi_reader {
    bgp_afi_safi_fn fn;
    void *user;
    const char *address;
} afi_safi_reader;

static int read_afi_safi(sqlite3_stmt *stmt, void *state) {
    const afi_safi_reader *reader = state;
    char key[96];
    const char *name =
        sqlite3_column_type(stmt, 0) == SQLITE_TEXT ? (const char *)sqlite3_column_text(stmt, 0) : "(no name)";
    snprintf(key, sizeof key, "%s/%s", reader->address, name);
    row_check r = {stmt, "bgp_afi_safi", key, 1};
    bgp_afi_safi_row row;
    row.afi_safi_name = text_column(&r, 0, 0);
    row.enabled = bool_column(&r, 1);
    row.prefixes_received = u32_column(&r, 2, 0, NULL);
    return r.ok ? reader->fn(reader->user, &row) : 0;
}

int bgp_db_each_afi_safi(bgp_db *db, const char *address, bgp_afi_safi_fn fn, void *user) {
    sqlite3_bind_text(db->afi_safis, 1, address, -1, SQLITE_TRANSIENT);
    afi_safi_reader reader = {fn, user, address};
    return each_row(db, db->afi_safis, read_afi_safi, &reader);
}

/* ---- generator ------------------------------------------------------------ */

int bgp_db_make(const char *path, unsigned long neighbors, char *err, size_t err_size) {
    FILE *exists = fopen(path, "rb");
    if (exists != NULL) {
        fclose(exists);
        say(err, err_size, "%s exists; the generator writes a new database only", path);
        return -1;
    }
    if (neighbors > 16777215ul) {
        say(err, err_size, "at most 16777215 neighbors (one per address of 10.0.0.0/8)");
        return -1;
    }
    sqlite3 *sql = NULL;
    if (sqlite3_open_v2(path, &sql, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, NULL) != SQLITE_OK) {
        say(err, err_size, "cannot create %s: %s", path, sql ? sqlite3_errmsg(sql) : "out of memory");
        sqlite3_close(sql);
        return -1;
    }
    static const char *const states[] = {"ESTABLISHED", "ESTABLISHED", "ACTIVE", "IDLE", "CONNECT", "OPENSENT"};
    sqlite3_stmt *neighbor = NULL, *afi = NULL;
    int ok = sqlite3_exec(sql, bgp_schema_sql, NULL, NULL, NULL) == SQLITE_OK &&
             sqlite3_exec(sql, "BEGIN; INSERT INTO bgp_global VALUES (65000, '192.0.2.1');", NULL, NULL, NULL) ==
                 SQLITE_OK &&
             sqlite3_prepare_v2(sql, "INSERT INTO bgp_neighbor VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)", -1, &neighbor,
                                NULL) == SQLITE_OK &&
             sqlite3_prepare_v2(sql, "INSERT INTO bgp_afi_safi VALUES (?1, ?2, ?3, ?4)", -1, &afi, NULL) ==
                 SQLITE_OK;
    for (unsigned long i = 1; ok && i <= neighbors; ++i) {
        char address[16], description[32];
        snprintf(address, sizeof address, "10.%lu.%lu.%lu", (i >> 16) & 255, (i >> 8) & 255, i & 255);
        snprintf(description, sizeof description, "peer-%lu", i);
        sqlite3_bind_text(neighbor, 1, address, -1, SQLITE_TRANSIENT);
        sqlite3_bind_int64(neighbor, 2, 64512 + (sqlite3_int64)(i % 1000));
        if (i % 7 == 0)
            sqlite3_bind_null(neighbor, 3);
        else
            sqlite3_bind_text(neighbor, 3, description, -1, SQLITE_TRANSIENT);
        sqlite3_bind_int(neighbor, 4, i % 5 != 0);
        sqlite3_bind_text(neighbor, 5, states[i % 6], -1, SQLITE_STATIC);
        if (i % 6 == 3)
            sqlite3_bind_null(neighbor, 6);
        else
            sqlite3_bind_int64(neighbor, 6, 1700000000 + (sqlite3_int64)i * 60);
        if (i % 11 == 0)
            sqlite3_bind_null(neighbor, 7);
        else
            sqlite3_bind_int64(neighbor, 7, (sqlite3_int64)(i % 3 == 0 ? 1000000 : 10000000));
        ok = sqlite3_step(neighbor) == SQLITE_DONE && sqlite3_reset(neighbor) == SQLITE_OK;
        static const char *const families[] = {"IPV4_UNICAST", "IPV6_UNICAST"};
        for (int f = 0; ok && f < 2; ++f) {
            sqlite3_bind_text(afi, 1, address, -1, SQLITE_TRANSIENT);
            sqlite3_bind_text(afi, 2, families[f], -1, SQLITE_STATIC);
            sqlite3_bind_int(afi, 3, f == 0 || i % 2 == 0);
            sqlite3_bind_int64(afi, 4, (sqlite3_int64)((i * 37 + (unsigned long)f * 11) % 100000));
            ok = sqlite3_step(afi) == SQLITE_DONE && sqlite3_reset(afi) == SQLITE_OK;
        }
    }
    if (ok)
        ok = sqlite3_exec(sql, "COMMIT", NULL, NULL, NULL) == SQLITE_OK;
    if (!ok)
        say(err, err_size, "cannot write %s: %s", path, sqlite3_errmsg(sql));
    sqlite3_finalize(neighbor);
    sqlite3_finalize(afi);
    sqlite3_close(sql);
    if (!ok)
        remove(path);
    return ok ? 0 : -1;
}
