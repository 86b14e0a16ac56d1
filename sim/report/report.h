#pragma once

#include <string>
#include <vector>

#include "sim/state/show.h"

/* The switch as a page to look at: front panel, object graph, tables, findings, explanations. */
namespace kvnsim {

/* A table for the page beside those of `show`. */
struct ReportTable {
    std::string name; /* "shared-database" */
    Listing listing;
};

/* Of bigger switches not every interface is explained on the page: those that the audit or a
 * failure names come first. */
constexpr size_t explained_at_most = 2000;

/* What the page is made from, as one JSON document. In it no '<' stands, so that no name or text
 * can end the script element around it. */
std::string report_data(const Snapshot &snapshot, const std::vector<ReportTable> &more_tables);

/* One HTML document that needs nothing else: styles, scripts and data are in it, and it asks the
 * browser to load nothing. */
std::string report_page(const Snapshot &snapshot, const std::vector<ReportTable> &more_tables);

} // namespace kvnsim
