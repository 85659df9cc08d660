// A page that explains a display in a browser: one file, which loads nothing.
#pragma once

#include <string>
#include <vector>

#include "explain/report/picture.h"
#include "explain/subject.h"

namespace explain {

// What became of a service that the display asked.
struct AskedService {
    uint32_t sap;
    std::string problem; // empty: its configuration is all there
};

// What is not in the subject.
struct ReportHead {
    std::string command, time, vdc;
    std::vector<AskedService> services;
    std::vector<std::string> problems; // those of no service
};

// To be called after the command, in its process.
std::string report_page(const Subject &subject, const ReportHead &head, const PictureBounds &bounds = {});

} // namespace explain
