// The path-recording table of a request: each path is inserted once.
#pragma once

#include "core/log.h"
#include "zell_map_path.h"

namespace zell::map {

enum class Recording {
    Insert,      // recorded (or the table is full): insert what is left of the copy
    Covered,     // already recorded, or cannot be recorded: insert nothing
    NothingLeft, // recorded, but without its last component nothing remains
};

// Records the path held in the writable copy in the request's table. When
// the request's xpath_mode is not 2, the copy is cut before its last
// component, so that only what precedes it is inserted. A full table logs
// ERR "Path table full, '%s' not recorded" and the path is inserted as
// recording would have left it.
Recording record_path(const Log &log, zell_map_request &request, char *copy) noexcept;

} // namespace zell::map
