// What the page of a display shows, as the JSON object that its script reads.
#pragma once

#include <string>

#include "explain/report/page.h"

namespace explain {

std::string report_data(const Subject &subject, const ReportHead &head, const PictureBounds &bounds);

} // namespace explain
