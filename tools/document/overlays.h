// Several files read as one document: each is laid over those before it.
//
// In maps the later value of a name counts, also deeper down; the lists that are sections get the
// entries of all. The lines of a file are counted on from those of the files before, so that a
// fault needs no more than a number; `PlaceOf` tells the file again.
#pragma once

#include <string>
#include <vector>

#include "tools/document/yaml_reader.h"

namespace document {

/// A line of one of several files.
struct Place {
    std::size_t file;
    int line;
};

/// The document that the texts are together; a fault for each that is none.
Node ReadLaidOver(const std::vector<std::string>& texts, Faults& faults);

/// Where the line of a fault is; line 0 when it is about none.
Place PlaceOf(const std::vector<std::string>& texts, int line);

}  // namespace document
