// The dependencies as a picture, drawn by Graphviz where it is installed.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "explain/elements.h"
#include "explain/names.h"

namespace explain {

struct PictureBounds {
    std::size_t elements = 400, dependencies = 2000; // more are a tangle
    std::chrono::milliseconds time{10000};
    const char *program = "dot"; // found by PATH
};

struct Picture {
    std::string svg;     // empty: there is none
    std::string absence; // why
};

Picture draw(const Elements &elements, const Names &names, const PictureBounds &bounds = {});

} // namespace explain
