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

/* The results of a campaign of failures. */
struct FaultsPage {
    std::vector<std::string> configurations;
    std::string verdict; /* in a sentence without its full stop */
    bool pairs = false;  /* two failures at a time */
    uint64_t tried = 0, heal = 0, do_not_heal = 0;
    uint64_t most_services = 0; /* lost or wrong by one failure */
    Listing groups, failures;   /* each with a column "heals" */
};
/* The same kind of document, about failures. */
std::string faults_page(const FaultsPage &page);

} // namespace kvnsim
