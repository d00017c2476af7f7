// Printing a decoded record by walking its type description: an indented
// tree with the wire position of every item, or one JSON object.
//
// The record is one that the library itself decoded (or that is about to be
// encoded); nothing here reads wire bytes. Positions come from the engine's
// length rules, so a tree started at a body's first member offset lines up
// with a hex dump of the same body.
#pragma once

#include <stdint.h>

#include <string>

#include "wire/engine.h"

namespace ivtool {

// The name of member f of d, from the tools' names table.
const char *memberName(const iv::TypeDesc &d, const iv::Field &f);

// Appends the members of `rec` (of type d), one per line, each indented by
// `indent` spaces: name, member number, wire offset of its first item (hex),
// value.
// Texts are quoted; a counted array shows its count and only the elements
// that travel; a fixed table shows all its elements; nested records follow
// their header line, indented two more. `at` is the offset of the record's
// first item; the offset just past the record is returned.
uint32_t printTree(std::string &out, const iv::TypeDesc &d, const void *rec, uint32_t at,
                   int indent = 0);

// Appends `rec` as one JSON object keyed by member name. A counted array
// becomes its count member (named <array>Count) and a JSON array of the
// elements that travel; a fixed table a JSON array of all its elements.
void printJson(std::string &out, const iv::TypeDesc &d, const void *rec);

// Appends one tree line that is not a member of a record (a frame item of a
// message body): name, item number (always shown), offset, then `value`.
void printItem(std::string &out, int indent, const char *name, unsigned tag, uint32_t at,
               const std::string &value);

// The member's form as a reader would write it: u8, i16, char[18], RadioDef,
// assocDevDescr[100] counted by a u32, BSDDevices[200].
std::string formName(const iv::Field &f);

// Appends `len` bytes as hex, 16 to a line, each line indented and led by the
// offset of its first byte counted from `at`.
void hexDump(std::string &out, const uint8_t *bytes, uint32_t len, int indent = 0,
             uint32_t at = 0);

// Appends the n bytes of s quoted: as a JSON string when json, else C-style.
void quote(std::string &out, const char *s, size_t n, bool json);

}  // namespace ivtool
