// -AT and -IT: templates read from a class library text (as -ET writes it)
// and added to the open project, one for each class inside the library's
// class ObjectTemplate. A class whose model file the project already holds
// is skipped as a duplicate.
#pragma once

#include <string>
#include <vector>

#include "config/config_reader.h"
#include "project/vorlan.h"

// Asks for confirmation, reads `fileName` with `reader`, removes every
// template and object first unless `keepExisting`, and adds the library's
// templates with ids counted on from the highest id in use. Returns the
// result of saveProject when templates were added, 0 when none was (nothing
// is saved), 1 when declined or the library does not fit, and the reader's
// status when the text cannot be read. On any failure nothing is saved.
int importTemplates(Vorlan& project, Tovisk& reader, const char* fileName, bool keepExisting);

// Fills the member of `t` that `entry` names (the names of the library's
// keys, ASCII case ignored). Returns true when the entry was taken; false
// with `problem` left empty for a name that is no key, and false with
// `problem` set when the entry has the wrong shape for its key (a short
// array, a class where a value belongs, ...).
bool fillTemplateEntry(rap_entry* entry, PewObjectTemplate* t, std::string* problem);

// The entries of a class as the import sees them: those of its base classes
// come first, as if written before its own, and an own entry replaces an
// inherited one of the same name (ASCII case ignored). In file order.
std::vector<rap_entry*> classEntries(rap_entry* cls);
