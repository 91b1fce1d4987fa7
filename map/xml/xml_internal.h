// What the reader and the writer of the XML module share.
#pragma once

#include "zell_map_xml.h"

namespace zell::map::xml {

// "{uri}local" for an attribute in a namespace, "local" for one in none;
// platform memory, nullptr when it fails.
char *qualified_name(const char *uri, const char *local) noexcept;

// Moves child (left an initialised record) to the end of parent's children.
zell_map_status append_child(zell_datatree &parent, zell_datatree &child) noexcept;

// Initialises libxml2 once per process, whichever thread comes first.
void init_libxml2() noexcept;

// Fills a caller's error record (NULL: nothing) with one line of message.
void report(zell_map_xml_error *error, int line, const char *message) noexcept;

} // namespace zell::map::xml
