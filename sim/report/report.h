#pragma once

#include <string>
#include <vector>

#include "sim/state/show.h"

/* The switch as an HTML page: front panel, object graph, tables, findings, explanations. */
namespace kvnsim {

/* A table for the page beside those of `show`. */
struct ReportTable {
    std::string name; /* "shared-database" */
    Listing listing;
};

/* On larger switches not every interface is explained: those with a finding or failure come
 * first. */
constexpr size_t explained_at_most = 2000;

/* The page's data as one JSON document. It contains no '<', so that no text can end the script
 * element around it. */
std::string report_data(const Snapshot &snapshot, const std::vector<ReportTable> &more_tables);

/* One self-contained HTML document: styles, scripts and data are embedded; nothing is loaded. */
std::string report_page(const Snapshot &snapshot, const std::vector<ReportTable> &more_tables);

} // namespace kvnsim
